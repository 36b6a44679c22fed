#!/usr/bin/env bash
# Counts which lines and branches of Common and Source the unit tests run, and lists what they do not:
# ./coverage.sh   Ends with 1 below 98 % of lines or 92 % of branches; those that only the compiler made (throwing
# calls, unreachable code) do not count.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
. Tools/setup.sh

ensure_packages build test coverage
build_preset coverage --target unit_tests
# Counts of runs before would still be there.
find build/coverage -name '*.gcda' -delete
build/coverage/bin/unit_tests --gtest_brief=1 2> /dev/null

report() {
    gcovr --root . --filter Common/ --filter Source/ --exclude-throw-branches --exclude-unreachable-branches \
        "$@" build/coverage/Common build/coverage/Source
}
report --branches
report --fail-under-line 98 --fail-under-branch 92
