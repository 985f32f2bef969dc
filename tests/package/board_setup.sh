#!/bin/bash
# ravelin-board-setup on a board's file system of its own, with the shells that boards have: it places what is missing,
# keeps what is the board's, updates and removes what is its own, and says so.
. "$(dirname "$0")/check.bash"
source=$(cd "$(dirname "$0")/../.." && pwd)/packaging/board
new_folder
reference=$folder/reference
mkdir "$reference"
cp "$source"/{if-lte,udhcpc-lte,Reset4G.sh,S84Reset4G.sh,QFirehose} "$reference/"
sed "s,^SOURCE=.*,SOURCE=$reference," "$source/ravelin-board-setup" >"$folder/setup"
apps=ubi/local/apps/network

setup() {
    $shell "$folder/setup" --root "$board" "$@" >"$folder/output" 2>&1
}

says() {
    grep -qF -- "$1" "$folder/output"
}

for shell in "busybox sh" dash; do
    echo "==== $shell"
    board=$folder/${shell%% *}
    mkdir "$board"

    check "a rehearsal" setup --dry-run
    check "says what would be done" says "would be installed /$apps/if-lte"
    check "and does nothing" test -z "$(ls -A "$board")"

    check "the first run" setup
    for file in $apps/if-lte $apps/udhcpc-lte $apps/Reset4G.sh etc/init.d/S84Reset4G.sh; do
        check "places /$file" cmp "$board/$file" "$reference/${file##*/}"
        check "to be run" test -x "$board/$file"
        check "and says so" says "installed  /$file"
    done
    check "no firmware folder, no firmware tool" test ! -e "$board/media"

    check "the second run" setup
    check "finds everything in place" says "in place   /$apps/if-lte"

    echo "# RESET_PIN=..." >>"$board/$apps/Reset4G.sh"
    cp "$board/$apps/Reset4G.sh" "$folder/changed"
    echo "# a later version" >>"$reference/if-lte"
    echo "# a later version" >>"$reference/Reset4G.sh"
    check "a run after an upgrade" setup
    check "updates what is as we left it" cmp "$board/$apps/if-lte" "$reference/if-lte"
    check "and says so" says "updated    /$apps/if-lte"
    check "keeps what was changed" cmp "$board/$apps/Reset4G.sh" "$folder/changed"
    check "and says so" says "kept       /$apps/Reset4G.sh"

    rm "$board/$apps/udhcpc-lte"
    ln -s /nowhere "$board/$apps/udhcpc-lte"
    check "a run with a link in the way" setup
    check "keeps the link" test -L "$board/$apps/udhcpc-lte"
    rm "$board/$apps/udhcpc-lte"

    check "a rehearsal of the removal" setup --remove --dry-run
    check "removes nothing" test -e "$board/$apps/if-lte"
    check "the removal" setup --remove
    check "takes away what is ours" test ! -e "$board/$apps/if-lte" -a ! -e "$board/etc/init.d/S84Reset4G.sh"
    check "and not what was changed" cmp "$board/$apps/Reset4G.sh" "$folder/changed"

    check "a file that was there before" cp "$reference/if-lte" "$board/$apps/if-lte"
    check "isn't ours, though it is the same" setup --remove
    check "and is kept" test -e "$board/$apps/if-lte"

    firmware=media/mmcblk0p1/firmware_modules/CellularOTA
    mkdir -p "$board/$firmware"
    check "a board with a firmware folder" setup
    check "gets the wrapper of the firmware tool" cmp "$board/$firmware/QFirehose" "$reference/QFirehose"
    check "and keeps the tool itself" touch "$board/$firmware/QFirehose.real"
    check "when the wrapper goes" setup --remove
    check "alone" test "$(ls "$board/$firmware")" = QFirehose.real

    rm -r "$board"
    mkdir "$board"
    check "a board whose scripts nobody changed" setup
    check "is rid of them" setup --remove
    check "and of their folders and the record" test -z "$(find "$board" -type f)" -a ! -e "$board/ubi" -a \
        ! -e "$board/var/lib/ravelin-mobile"

    for words in "--bogus" "word" "--root" "--root /nowhere"; do
        # shellcheck disable=SC2086 # words
        $shell "$folder/setup" $words >"$folder/output" 2>&1
        check "\"$words\" is refused with 2" test $? -eq 2
        check "in one line" test "$(wc -l <"$folder/output")" -eq 1
    done
    check "--version" setup --version
    cp "$source/if-lte" "$source/Reset4G.sh" "$reference/"
done
