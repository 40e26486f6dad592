# shellcheck shell=bash
# Sourced by the scripts in script/ and .ci/.

# If one of the arguments is --help or -h, prints the comment at the head of the script and exits.
show_help_if_asked() {
    local argument
    for argument in "$@"; do
        if [ "$argument" = --help ] || [ "$argument" = -h ]; then
            sed -n '2,${/^#/!q; s/^# \{0,1\}//; p}' "$0"
            exit 0
        fi
    done
}
