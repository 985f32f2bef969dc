# What the checks of the package share. To be sourced.
set -u

fail() {
    echo "FAILED: $*"
    exit 1
}

# check DESCRIPTION COMMAND...
check() {
    local description=$1
    shift
    "$@" || fail "$description"
    echo "$description"
}

# refuses COMMAND...: it fails.
refuses() {
    ! "$@" >/dev/null 2>&1
}

# new_folder: sets `folder`, which goes away with the script.
new_folder() {
    folder=$(mktemp -d "${TMPDIR:-/tmp}/ravelin-package-test.XXXXXX")
    trap 'rm -rf "$folder"' EXIT
}
