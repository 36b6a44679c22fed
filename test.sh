#!/usr/bin/env bash
# Builds and tests everything: ./test.sh [--quick] [--tidy] [--preset NAME]... [--target ARCH]...
#   --quick   the release build only
#   --tidy    first check formatting and run clang-tidy on everything but the tests
#   --preset  the named builds instead (release, debug, asan, tsan, fuzz)
#   --target  the library and its unit tests for armhf or arm64 instead, run by an emulator
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
. Tools/setup.sh

presets=()
tidy=no
while [ $# -gt 0 ]; do
    case $1 in
    --quick) presets=(release) ;;
    --tidy) tidy=yes ;;
    --preset | --target)
        [ $# -ge 2 ] || { echo "test.sh: $1 needs a name" >&2; exit 2; }
        case $1:$2 in
        --target:armhf | --target:arm64 | --preset:*) presets+=("$2") ;;
        *) echo "test.sh: --target takes armhf or arm64, not '$2'" >&2; exit 2 ;;
        esac
        shift
        ;;
    *)
        sed -n '2,6s/^# \{0,1\}//p' "$0" >&2
        exit 2
        ;;
    esac
    shift
done
[ "${#presets[@]}" -gt 0 ] || presets=(release asan tsan fuzz)

groups=(build test)
for preset in "${presets[@]}"; do
    case $preset in
    armhf | arm64) groups+=("$preset") ;;
    fuzz) groups+=(demo abi armhf fuzz) ;;
    *) groups+=(demo abi armhf) ;;
    esac
done
[ "$tidy" = no ] || groups+=(tidy bench)
ensure_packages "${groups[@]}"
if [ "$tidy" = yes ]; then
    # Of all presets the one with everything but the tests; it need not be built for this.
    configure_preset bench
    Tools/check-style.sh build/bench
fi

export ASAN_OPTIONS="detect_stack_use_after_return=1:strict_string_checks=1:${ASAN_OPTIONS:-}"
export LSAN_OPTIONS="suppressions=$PWD/Tests/leaks.supp:print_suppressions=0:${LSAN_OPTIONS:-}"
export UBSAN_OPTIONS="print_stacktrace=1:${UBSAN_OPTIONS:-}"
export TSAN_OPTIONS="halt_on_error=1:second_deadlock_stack=1:${TSAN_OPTIONS:-}"

for preset in "${presets[@]}"; do
    case $preset in
    armhf | arm64) ensure_target_libraries "$preset" ;;
    esac
    echo "== $preset: build"
    build_preset "$preset"
    echo "== $preset: test"
    # More at once than processors: half of the time they wait.
    ctest --preset "$preset" -j 6 --no-tests=error
done
