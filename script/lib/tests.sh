# shellcheck shell=bash
# Sourced by the scripts in script/.

# Runs the tests of one preset in an isolated network: run_tests PRESET [CTEST-OPTION...]
# Removes the warnings of Qt's offscreen platform about unsupported window operations.
# The exit status is that of ctest only if the script has set pipefail.
run_tests() {
    local preset=$1
    shift
    script/isolated ctest --preset "$preset" "$@" \
        | sed --unbuffered '/This plugin does not support /d'
}
