#!/usr/bin/env bash
# Builds the library alone, against boundary headers in another folder, as a port does; what the platform
# defines stays undefined.
# Usage: platform-none.sh SOURCE_DIR CXX
set -euo pipefail
source=$1 cxx=$2

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp -r "$source/Platform/Include" "$work/maker"
cmake -S "$source" -B "$work/build" -G Ninja -DCMAKE_CXX_COMPILER="$cxx" -DTTML_PLATFORM=none \
    -DTTML_PLATFORM_INCLUDE_DIR="$work/maker" -DTTML_BUILD_TESTS=OFF > "$work/configure.log"
cmake --build "$work/build" --target ttmlsource > "$work/build.log" || { cat "$work/build.log" >&2; exit 1; }

undefined=$(nm -DC --undefined-only "$work/build/lib/libttmlsource.so")
for symbol in __dlog_print player_get_play_position_ex player_get_adaptive_streaming_info vconf_get_bool \
    svc_pvr_register_signal_cb_in_list aul_app_get_pkgname_bypid TVServiceAPI::CreateDataControl \
    player_get_base_time 'TTML::IFileUtil::Create()' 'TTML::ConvertTimeExpressionToMS'; do
    grep -qF "$symbol" <<< "$undefined" || { echo "$symbol is not left to the platform" >&2; exit 1; }
done
grep -rqF "$work/maker" "$work/build/build.ninja" || { echo "the maker's headers were not used" >&2; exit 1; }
if grep -qF "$source/Platform/Include" "$work/build/build.ninja"; then
    echo "our own boundary headers were used" >&2
    exit 1
fi
if [ -e "$work/build/bin/ttmlsrc" ] || [ -e "$work/build/lib/libttmlhost.so" ]; then
    echo "the Linux platform was built" >&2
    exit 1
fi
echo "the library builds against other boundary headers"
