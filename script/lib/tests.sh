# shellcheck shell=bash
# Sourced by the scripts in script/.

# Runs the tests of one preset in an isolated network: run_tests PRESET [CTEST-OPTION...]
# For each window Qt's offscreen platform prints a warning about size hints, which this function removes.
run_tests() {
    local preset=$1
    shift
    script/isolated ctest --preset "$preset" "$@" \
        | sed --unbuffered '/This plugin does not support propagateSizeHints()/d'
}
