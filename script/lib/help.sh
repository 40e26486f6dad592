# shellcheck shell=bash
# Sourced by the scripts of the folder above.

# Prints the comment at the head of the script and ends it, if one of the arguments asks for help.
show_help_if_asked() {
    local argument
    for argument in "$@"; do
        if [ "$argument" = --help ] || [ "$argument" = -h ]; then
            sed -n '2,${/^#/!q; s/^# \{0,1\}//; p}' "$0"
            exit 0
        fi
    done
}
