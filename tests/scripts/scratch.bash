# What the tests of the scripts share: a copy of the repository as it is checked out, in a folder with a blank in its path,
# in which nothing is installed, configured or built. To be sourced; $REPOSITORY is where the repository is.

SCRATCH=$(mktemp -d)
trap 'rm -rf "$SCRATCH"' EXIT
COPY="$SCRATCH/a copy"
STUBS=$SCRATCH/stubs
CALLS=$SCRATCH/calls # what the stubs were called with, one a line
mkdir "$COPY" "$STUBS"
tar -C "$REPOSITORY" --exclude=./.git --exclude='./build*' -cf - . | tar -C "$COPY" -xf -
: >"$CALLS"

# stub NAME [LINE OF SHELL]...: a program that stands in for the machine's own; it leaves a note of its call.
stub() {
    local name=$1
    shift
    printf '%s\n' "#!/bin/bash" "echo \"$name \$*\" >>'$CALLS'" "$@" >"$STUBS/$name"
    chmod +x "$STUBS/$name"
}

failures=0
fail() {
    echo "FAILED: $*"
    failures=$((failures + 1))
}

# run WORD...: in the copy, with a clean environment and the stubs; sets `status`, `output` and `errors`.
run() {
    status=0
    (cd "$COPY" && exec env -i PATH="$STUBS:$PATH" HOME="$SCRATCH" LC_ALL=C.UTF-8 "$@") \
        >"$SCRATCH/output" 2>"$SCRATCH/errors" </dev/null || status=$?
    output=$(cat "$SCRATCH/output")
    errors=$(cat "$SCRATCH/errors")
}
