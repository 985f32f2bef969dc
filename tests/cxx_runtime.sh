#!/bin/bash
# cxx_runtime.sh [EMULATOR] PROBE: without the shared C++ library all works as with it; where that would throw, the process
# ends on SIGABRT after a word on standard error.
set -u
probe=("$@")
status=0
ulimit -c 0

# ends WORD TEXT: the probe ends on SIGABRT, and says TEXT.
ends() {
    local said ended
    said=$("${probe[@]}" "$1" 2>&1)
    ended=$?
    if [ $ended -ne 134 ] || [[ $said != *"$2"* ]]; then
        echo "$1: ended with $ended and said \"$said\"" >&2
        status=1
    fi
}

[ "$("${probe[@]}")" = fine ] || status=1
ends memory "out of memory"
ends length "basic_string"
ends vector "vector"
ends position "basic_string"
ends null "basic_string"
ends pure "pure virtual call"
exit $status
