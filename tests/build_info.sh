#!/bin/bash
# build_info.sh CMAKE REPOSITORY: the commit, builder and time that a build names.
set -eu
cmake=$1
repository=$2
folder=$(mktemp -d "${TMPDIR:-/tmp}/ravelin build info.XXXXXX")
trap 'rm -rf "$folder"' EXIT
export LC_ALL=C.UTF-8 TZ=Asia/Tokyo # nine hours from the time that SOURCE_DATE_EPOCH means
unset SOURCE_DATE_EPOCH GIT_DIR GIT_WORK_TREE
COMMIT=0123456789abcdef0123456789abcdef01234567

# write SOURCE_DIR [-DNAME=VALUE...]: runs the script; what it says is in $folder/said.
write() {
    "$cmake" -DSOURCE_DIR="$1" -DOUTPUT="$folder/out.cpp" "${@:2}" -P "$repository/cmake/build_info.cmake" >"$folder/said" 2>&1
}
named() {
    grep -qF "$1" "$folder/out.cpp" || {
        echo "no $1 in:" && cat "$folder/out.cpp" "$folder/said"
        exit 1
    }
}
said() {
    tr -s ' \n' ' ' <"$folder/said" | grep -q "$1" || {
        echo "expected '$1' in place of:" && cat "$folder/said"
        exit 1
    }
}

git init -q "$folder/clone"
git -C "$folder/clone" -c user.name=x -c user.email=x@x commit -q --allow-empty -m x
head=$(git -C "$folder/clone" rev-parse HEAD)

# A clone of one's own, and one of somebody else.
write "$folder/clone"
named "kBuildCommit[41] = \"$head\""
named "kBuildCommitShort[8] = \"${head:0:7}\""
named "kBuilder[] = \"$(id -un)\""
rm "$folder/out.cpp"
GIT_TEST_ASSUME_DIFFERENT_OWNER=1 write "$folder/clone"
named "\"$head\""

# An unchanged build keeps its stamp.
sed -i 's/kBuildStamp.*/kBuildStamp[13] = "199001010000";/' "$folder/out.cpp"
write "$folder/clone"
named '"199001010000"'
write "$folder/clone" -DBUILDER=somebody
named 'kBuilder[] = "somebody"'
! grep -q 199001010000 "$folder/out.cpp" || { echo "another builder, and the old stamp"; exit 1; }

# A given time counts, whenever it is built and wherever; written once.
SOURCE_DATE_EPOCH=1767225600 write "$folder/clone"
named 'kBuildStamp[13] = "202601010000"'
touch -d '1990-01-01' "$folder/out.cpp"
SOURCE_DATE_EPOCH=1767225600 write "$folder/clone"
[ "$(date -r "$folder/out.cpp" +%Y)" = 1990 ] || { echo "written again with the same content"; exit 1; }

# No repository: a warning, or the commit that is given. Nor is a folder in somebody's repository one.
mkdir "$folder/tarball" "$folder/clone/unpacked"
for place in tarball clone/unpacked; do
    write "$folder/$place"
    named '"0000000000000000000000000000000000000000"'
    said "Warning.*can't name its commit.*-DRAVELIN_COMMIT="
    write "$folder/$place" -DCOMMIT=$COMMIT
    named "kBuildCommit[41] = \"$COMMIT\""
    [ ! -s "$folder/said" ] || { cat "$folder/said"; exit 1; }
done
for wrong in 0123456 "${COMMIT}0" main; do
    ! write "$folder/tarball" -DCOMMIT=$wrong || { echo "$wrong is taken for a commit"; exit 1; }
    said "RAVELIN_COMMIT isn't the 40 digits of a commit: $wrong"
done
