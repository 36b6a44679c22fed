# Sourced by the scripts in the root: installs what is missing on a Debian machine, saying what and why.
# Usage: ensure_packages GROUP...   (groups: build, demo, test, abi, armhf, arm64, fuzz, coverage, tidy, bench)

# One line a package: group, package, what it is for.
PACKAGES="
build g++ compiler
build cmake build system (3.25 or newer)
build ninja-build build tool
build ccache quick rebuilds
build pkg-config finds libraries
build ca-certificates trusting HTTPS servers
build zlib1g-dev inflating compressed segments
build libcurl4-openssl-dev fetching documents over HTTP
build libavformat-dev reading media files and streams
build libavcodec-dev reading media files and streams
build libavutil-dev reading media files and streams
build libpugixml-dev reading DASH manifests
build libdvbpsi-dev reading the tables of transport streams
build libsqlite3-dev keeping settings
build libcli11-dev the client's command line
build nlohmann-json3-dev the client's JSON output
demo python3 HTTP server of the demo
test libgtest-dev unit tests
test python3 HTTP server of the end-to-end tests
test locales locale with a decimal comma for the number tests
test tzdata local time zones of the MPD time tests
test openssl certificates of the TLS tests
abi abigail-tools comparing the library's binary interface with its reference
armhf g++-arm-linux-gnueabihf compiler for 32-bit ARM
armhf qemu-user runs what was built for ARM
arm64 g++-aarch64-linux-gnu compiler for 64-bit ARM
arm64 qemu-user runs what was built for ARM
fuzz clang compiler of the fuzz targets, with libFuzzer
fuzz libclang-rt-dev the sanitizers and libFuzzer of that compiler
tidy clang-tidy static checks
tidy clang-format formatting checks
tidy git lists the files to check
coverage gcovr report of what the tests run
bench libbenchmark-dev benchmarks
bench ffmpeg reference for reading transport streams
bench libpugixml-dev reference for reading MPDs
"

ensure_packages() {
    local group name why missing=() reasons=()
    while read -r group name why; do
        [ -n "$group" ] || continue
        case " $* " in *" $group "*) ;; *) continue ;; esac
        if [ "$(dpkg-query -W -f='${db:Status-Status}' "$name" 2>/dev/null)" != installed ]; then
            missing+=("$name")
            reasons+=("  $name: $why")
        fi
    done <<< "$PACKAGES"
    [ "${#missing[@]}" -gt 0 ] || return 0

    echo "Installing with apt what is missing here:"
    printf '%s\n' "${reasons[@]}"
    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        echo "This needs root; sudo may ask for your password."
        as_root=(sudo)
    fi
    local log
    log=$(mktemp)
    if ! { "${as_root[@]}" apt-get update && "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y --no-install-recommends "${missing[@]}"; } > "$log" 2>&1; then
        tail -n 20 "$log" >&2
        rm -f "$log"
        echo "The packages above could not be installed; install them by hand and run this again." >&2
        return 1
    fi
    rm -f "$log"
}

# Puts the target's zlib, the one library that ours needs, into build/target/ARCH. The package is downloaded
# with package lists of its own and only unpacked: nothing is installed, and this machine's apt does not get to
# know the other architecture.
ensure_target_libraries() {
    local arch=$1 folder=$PWD/build/target/$1 work log
    [ ! -d "$folder" ] || return 0
    echo "Unpacking Debian's zlib for $arch into ${folder#"$PWD/"} (packages zlib1g and zlib1g-dev)"
    work=$folder.work
    log=$folder.log
    rm -rf "$work"
    mkdir -p "$work/out/include" "$work/out/lib" "$work/lists/partial" "$work/cache/archives/partial"
    local apt=(apt-get -o "APT::Architecture=$arch" -o "APT::Architectures=$arch" -o "Dir::State::lists=$work/lists"
        -o Dir::State::status=/dev/null -o "Dir::Cache=$work/cache" -o APT::Sandbox::User=)
    # A package list that cannot be had need not be the one with zlib: the download tells.
    if ! (
        "${apt[@]}" update || true
        cd "$work" && "${apt[@]}" download zlib1g zlib1g-dev &&
            for package in *.deb; do dpkg-deb -x "$package" .; done &&
            cp usr/include/*.h out/include && cp lib/*/libz.so.1 out/lib &&
            ln -s libz.so.1 out/lib/libz.so && mv out "$folder"
    ) > "$log" 2>&1; then
        tail -n 20 "$log" >&2
        echo "zlib for $arch could not be had from the Debian archive in apt's sources." >&2
        return 1
    fi
    rm -rf "$work" "$log"
}

# Configures a preset once; later calls do nothing.
configure_preset() {
    local preset=$1
    shift
    if [ ! -f "build/$preset/build.ninja" ]; then
        mkdir -p build
        cmake --preset "$preset" > "build/$preset.configure.log" 2>&1 || {
            cat "build/$preset.configure.log" >&2
            return 1
        }
    fi
}

# Configures a preset where that is still to be done, and builds it. Further arguments go to cmake --build.
build_preset() {
    configure_preset "$1"
    cmake --build --preset "$1" -j "${TTML_JOBS:-2}" "${@:2}"
}
