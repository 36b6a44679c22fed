# Sourced by the scripts in the root: installs what is missing on a Debian machine, saying what and why.
# Usage: ensure_packages GROUP...   (groups: build, demo, test, cross, tidy, bench)

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
cross g++-arm-linux-gnueabihf layout check for 32-bit targets
cross qemu-user runs the layout check
tidy clang-tidy static checks
tidy clang-format formatting checks
tidy git lists the files to check
bench libbenchmark-dev benchmarks
bench ffmpeg reference for reading transport streams
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
