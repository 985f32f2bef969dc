#!/bin/sh
# hardened.sh READELF program|library FILE...: what goes to a board is hardened, and has no path of its own to look for
# libraries in but, while it stands in the build folder, the one in which it stands itself.
set -u
readelf=$1
kind=$2
shift 2
status=0

complain() {
    echo "$file: $*" >&2
    status=1
}

for file; do
    header=$("$readelf" --wide --file-header --program-headers "$file") || exit 1
    dynamic=$("$readelf" --wide --dynamic "$file") || exit 1
    calls=$("$readelf" --wide --dyn-syms "$file" | awk '$7 == "UND" { print $8 }')

    case $header in *"DYN ("*) ;; *) complain "can't be placed anywhere in memory (no PIE)" ;; esac
    [ "$kind" = library ] || case $header in *INTERP*) ;; *) complain "is no program" ;; esac
    case $header in *GNU_RELRO*) ;; *) complain "its relocations stay writable (no RELRO)" ;; esac
    case $dynamic in *BIND_NOW* | *"Flags: NOW"*) ;; *) complain "binds symbols late, so RELRO isn't full" ;; esac
    printf '%s\n' "$header" | grep -q 'GNU_STACK.* RW ' || complain "its stack can be executed"
    case $calls in *__stack_chk_fail*) ;; *) complain "no stack protector" ;; esac
    # A library may have nothing to check: that is seen by the programs.
    [ "$kind" = library ] || printf '%s\n' "$calls" | grep -q '^__v\{0,1\}s\{0,1\}n\{0,1\}printf_chk' ||
        complain "nothing of it is fortified"
    path=$(printf '%s\n' "$dynamic" | sed -n 's/.*(R[UN]*PATH).*\[\(.*\)\]$/\1/p')
    # shellcheck disable=SC2016 # the word of the loader
    case $path in '' | '$ORIGIN' | '$ORIGIN/..') ;; *) complain "looks for libraries in $path" ;; esac
done
exit $status
