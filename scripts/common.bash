# What the scripts for people share: the text of --help, the version, and what is said of a wrong command line. To be sourced
# once $0 is the script itself. The script begins with its help, as a comment behind its first line that ends before "set -eu".

# The name by which the script was called, for its messages.
script_name=${0##*/}

# show_help: the comment at the head of the script.
show_help() {
    sed -n '2,/^[^#]/s/^#\( \|$\)//p' "$0"
}

# show_version: name and version, as the product has it.
show_version() {
    local root
    root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
    echo "$script_name (ravelin-mobile) $(sed -n 's/^project(.* VERSION \([0-9.]*\).*/\1/p' "$root/CMakeLists.txt")"
}

# refuse TEXT: what is wrong with the command line, in one line; ends with status 2.
refuse() {
    echo "$script_name: $*; see --help" >&2
    exit 2
}

# common_option WORD: acts on --help and --version, which every script has, and ends then.
common_option() {
    case $1 in
    -h | --help) show_help && exit 0 ;;
    --version) show_version && exit 0 ;;
    esac
}

# value_of OPTION NUMBER_OF_WORDS [VALUE]: refuses an option that comes without its value, or with an empty one.
value_of() {
    [ "$2" -ge 2 ] || refuse "$1 wants a value"
    [ -n "${3-}" ] || refuse "$1 wants a value that isn't empty"
}
