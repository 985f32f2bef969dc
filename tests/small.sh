#!/bin/sh
# small.sh READELF STRIP FILE BYTES [FILE BYTES]...: what goes to a board is no larger than it was agreed to be, and brings
# no shared C++ library into memory.
set -u
readelf=$1
strip=$2
shift 2
status=0
stripped=$(mktemp) || exit 1
trap 'rm -f "$stripped"' EXIT

while [ $# -ge 2 ]; do
    "$strip" -o "$stripped" "$1" || exit 1
    bytes=$(wc -c <"$stripped")
    if [ "$bytes" -gt "$2" ]; then
        echo "$1: $bytes bytes when stripped, over its $2" >&2
        status=1
    fi
    if "$readelf" --wide --dynamic "$1" | grep 'NEEDED.*\(libstdc++\|libgcc_s\)' >&2; then
        echo "$1: wants the shared C++ library" >&2
        status=1
    fi
    shift 2
done
exit $status
