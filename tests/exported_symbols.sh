#!/bin/sh
# exported_symbols.sh NM EXECUTABLE SYMBOL...: each symbol is data of 256 bytes in the dynamic symbol table.
nm=$1
executable=$2
shift 2
for symbol; do
    found=$("$nm" -D --defined-only --print-size "$executable" | awk -v symbol="$symbol" '$4 == symbol { print $2, $3 }')
    case $found in
        0*100" "[RD]) ;;
        *) echo "$symbol: '$found' in place of 256 bytes of data" >&2; exit 1 ;;
    esac
done
