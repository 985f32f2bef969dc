# What the scripts for people share: the text of --help, the version, and what is said of a wrong command line. To be sourced
# first of all, while the current folder is still that of the caller. The script begins with its help, as a comment after its
# first line that ends before "set -eu".

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)
script_file=$(cd "$(dirname "$0")" && pwd -P)/${0##*/}

# The name of the script in its messages, from the repository's root: "scripts/test" and not "test".
script_name=${script_file#"$root/"}

# show_help: the comment at the head of the script.
show_help() {
    sed -n '2,/^[^#]/s/^#\( \|$\)//p' "$script_file"
}

# show_version: name and version, as the product has it.
show_version() {
    echo "$script_name (ravelin-mobile) $(sed -n 's/^project(.* VERSION \([0-9.]*\).*/\1/p' "$root/CMakeLists.txt")"
}

# refuse TEXT: what is wrong with the command line, in one line; ends with status 2.
refuse() {
    echo "$script_name: $*; see --help" >&2
    exit 2
}

# refuse_word WORD: one that has no meaning where it stands.
refuse_word() {
    case $1 in
    -*) refuse "unknown option $1" ;;
    *) refuse "unexpected argument \"$1\"" ;;
    esac
}

# common_option WORD: acts on --help and --version, which every script has, and ends then.
common_option() {
    case $1 in
    -h | --help) show_help && exit 0 ;;
    --version) show_version && exit 0 ;;
    esac
}

# only_common_options WORD...: for a script that has no options of its own.
only_common_options() {
    [ $# -eq 0 ] || common_option "$1"
    [ $# -eq 0 ] || refuse_word "$1"
}

# value_of OPTION NUMBER_OF_WORDS [VALUE]: refuses an option that comes without its value, or with an empty one.
value_of() {
    [ "$2" -ge 2 ] || refuse "$1 wants a value"
    [ -n "${3-}" ] || refuse "$1 wants a value that isn't empty"
}

# one_of VALUE WHAT NAME...: refuses a value that isn't one of the names.
one_of() {
    local value=$1 what=$2 name
    shift 2
    for name; do
        [ "$name" != "$value" ] || return 0
    done
    refuse "no $what is called \"$value\"; there is: $*"
}

# inside_only CALLER VARIABLE...: for a script that another one runs inside scripts/private-view. By hand it has nothing to
# work on: the variables that come with the view are missing.
inside_only() {
    local caller=$1 name
    shift
    for name in REPOSITORY BUILD "$@"; do
        [ -n "${!name-}" ] || refuse "this is a part of $caller, which starts it inside scripts/private-view"
    done
}

# boards: the architectures that there is a preset for, one a line.
boards() {
    sed -n 's/.*"name": "\(arm[a-z0-9]*\)".*/\1/p' "$root/CMakePresets.json" | sort -u
}
