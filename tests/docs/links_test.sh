#!/bin/sh
# Every relative link of every page leads to a file of the repository and, where it names one, to a heading of that
# page; and the index of docs/ lists every page that stands there. Run from anywhere.
set -eu
cd "$(dirname "$0")/../.."
index=docs/README.md

# The pages: those of the repository, not of build folders.
pages() {
    find . \( -name .git -o -name 'build*' \) -prune -o -name '*.md' -print | sort
}

# "LINE TARGET" of each relative link of a page; what stands in code is no link.
links_of() {
    awk '
        /^[ >]*```/ { code = !code }
        code || /^    / { next }
        {
            gsub(/`[^`]*`/, "")
            while (match($0, /\]\([^)]*\)/)) {
                print NR, substr($0, RSTART + 2, RLENGTH - 3)
                $0 = substr($0, RSTART + RLENGTH)
            }
        }' "$1" | grep -vE '^[0-9]+ (https?:|mailto:)' || true
}

# The anchors of a page: its headings in small letters, without punctuation, with "-" for blanks.
anchors_of() {
    awk '/^```/ { code = !code } !code && /^#+ / {
        sub(/^#+ */, "")
        $0 = tolower($0)
        gsub(/[^a-z0-9 _-]/, "")
        gsub(/ /, "-")
        print
    }' "$1"
}

status=0
count=0
complain() {
    echo "$*"
    status=1
}

IFS='
'
for page in $(pages); do
    folder=${page%/*}
    for link in $(links_of "$page"); do
        count=$((count + 1))
        line=${link%% *}
        target=${link#* }
        path=${target%%#*}
        file=$folder/$path
        [ -n "$path" ] || file=$page
        if [ ! -e "$file" ]; then
            complain "$page:$line: $target leads nowhere"
        elif [ "$path" != "$target" ] && ! anchors_of "$file" | grep -qxF -- "${target#*#}"; then
            complain "$page:$line: $target names no heading of $file"
        fi
    done
done
[ $count -ge 30 ] || complain "only $count links found: are they still written as this test expects?"

for page in docs/*.md; do
    name=${page#docs/}
    [ "$page" = $index ] || grep -qF "]($name)" $index || complain "$index doesn't list $name"
done

echo "$count links looked up"
exit $status
