# Sourced by the check stages: configures and builds one build folder.
#
#   build_in DIR [--target TARGET]... [--no-build] [CMAKE-OPTION]...
#
# Configures DIR (relative to the project root) from the project's sources
# with the given options (RelWithDebInfo unless an option says otherwise),
# then builds the given targets, or everything, or nothing (--no-build).  The configure output is
# shown only when it fails.  A compiler launcher such as ccache is taken from
# the environment (CMAKE_CXX_COMPILER_LAUNCHER).
: "${VORNXML_ROOT:=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)}"
: "${VORNXML_JOBS:=$(nproc)}"

build_in() {
    local dir=$VORNXML_ROOT/$1 targets=() options=() build=yes
    shift
    while [ $# -gt 0 ]; do
        case $1 in
        --target) targets+=(--target "$2"); shift 2 ;;
        --no-build) build=no; shift ;;
        *) options+=("$1"); shift ;;
        esac
    done
    mkdir -p "$dir"
    if ! cmake -S "$VORNXML_ROOT" -B "$dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo "${options[@]}" \
            >"$dir/configure.log" 2>&1; then
        cat "$dir/configure.log"
        return 1
    fi
    [ $build = no ] || cmake --build "$dir" -j "$VORNXML_JOBS" "${targets[@]}"
}
