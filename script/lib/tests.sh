# shellcheck shell=bash
# Sourced by the scripts of the folder above.

# Runs the tests of one preset in a network of their own: run_tests PRESET [CTEST-OPTION...]
# The offscreen platform warns about each window that it cannot give size hints to; those lines are left out.
run_tests() {
    local preset=$1
    shift
    script/isolated ctest --preset "$preset" "$@" \
        | sed --unbuffered '/This plugin does not support propagateSizeHints()/d'
}
