#!/bin/sh
# small.sh READELF FILE BYTES [FILE BYTES]...: what goes to a board takes no more memory and disk than it was agreed to, and
# brings no shared C++ library into memory. Counted is what is loaded: between its parts a file may be padded to the
# largest page of its architecture.
set -u
readelf=$1
shift
status=0

while [ $# -ge 2 ]; do
    bytes=0
    for size in $("$readelf" --wide --segments "$1" | awk '$1 == "LOAD" { print $5 }'); do
        bytes=$((bytes + size))
    done
    if [ "$bytes" -eq 0 ] || [ "$bytes" -gt "$2" ]; then
        echo "$1: $bytes bytes are loaded; it may be 1 to $2" >&2
        status=1
    fi
    if "$readelf" --wide --dynamic "$1" | grep 'NEEDED.*\(libstdc++\|libgcc_s\)' >&2; then
        echo "$1: wants the compiler's shared libraries" >&2
        status=1
    fi
    shift 2
done
exit $status
