# shellcheck shell=bash
# What the scripts share; sourced, not run. Leaves the caller in the root of the checkout.

cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit

headline() {
    printf '\n== %s\n' "$*"
}

# The one line that says what went wrong and what to do about it.
fail() {
    printf '%s: %s\n' "${0##*/}" "$*" >&2
    exit 1
}

cores() {
    getconf _NPROCESSORS_ONLN
}

# build_preset PRESET [TARGET]: configures, and builds everything or the one target.
build_preset() {
    local preset=$1 target=${2:-all}
    headline "Build ($preset)"
    cmake --preset "$preset" ||
        fail "configuring failed; correct what is said above (if this checkout was moved, remove build/$preset first)"
    cmake --build --preset "$preset" --target "$target" ||
        fail "the build failed; correct the first error above"
}

# test_preset PRESET [CTEST-ARGUMENT...]: runs the tests of a preset that has been built.
test_preset() {
    local preset=$1
    shift
    headline "Test ($preset)"
    ctest --preset "$preset" --parallel "$(cores)" "$@" ||
        fail "tests failed; run one again with: ctest --preset $preset -R NAME"
}

# The version of the project, such as 1.1.0.
project_version() {
    sed -n 's/^project(.* VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt
}
