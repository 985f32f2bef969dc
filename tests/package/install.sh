#!/bin/bash
# usage: install.sh BUILD
#
# `cmake --install` puts everything in its place: under /usr by way of DESTDIR, component by component, and below a prefix
# with a blank, where what was installed works.
. "$(dirname "$0")/check.bash"
build=$1
source=$(cd "$(dirname "$0")/../.." && pwd)
new_folder

install() {
    cmake --install "$build" "$@" >"$folder/log" 2>&1 || {
        cat "$folder/log"
        fail "cmake --install $*"
    }
}

# files_in FOLDER: their names, without the folder that differs from machine to machine.
files_in() {
    (cd "$1" && find . ! -type d | sed 's,^\./,,' | sed 's,lib/[a-z0-9_]*-linux-[a-z]*/,lib/,' | LC_ALL=C sort)
}

has_debug_information() {
    readelf --sections --wide "$1" | grep -q '\.debug_info'
}

# Under /usr
stage=$folder/stage
DESTDIR=$stage/daemon install --prefix /usr --component daemon --strip
DESTDIR=$stage/busglue install --prefix /usr --component busglue
DESTDIR=$stage/tools install --prefix /usr --component tools
DESTDIR=$stage/guard install --prefix /usr --component guard

for file in usr/sbin/ravelin-mobile usr/sbin/ravelin-board-setup \
    usr/share/ravelin-mobile/board/{if-lte,udhcpc-lte,Reset4G.sh,S84Reset4G.sh,network.json} \
    usr/share/ravelin-mobile/board/QFirehose usr/share/ravelin-mobile/init/ravelin-mobile \
    usr/lib/ravelin-mobile/{ravelin-prepare,ravelin-supervise,QFirehose} usr/lib/systemd/system/ravelin-mobile.service \
    etc/ravelin/ifcfg-lte etc/default/ravelin-mobile etc/logrotate.d/ravelin-mobile \
    usr/share/man/man8/ravelin-{mobile,board-setup}.8 \
    usr/share/dbus-1/system.d/busglue.conf usr/lib/udev/rules.d/70-ravelin-mobile.rules; do
    check "the daemon comes with $file" test -f "$stage/daemon/$file"
done
check "nobody else reads the settings" test "$(stat -c %a "$stage/daemon/etc/ravelin/ifcfg-lte")" = 600
check "and with no library and no tool" test -z "$(find "$stage/daemon" -name '*.so' -o -name modem_sim)"
check "the bus library is a file by itself" test "$(files_in "$stage/busglue")" = usr/lib/libbusglue.so
for file in modem_sim ocpp_peer ravelinctl scenario_run ravelin_soak recovery_matrix; do
    check "$file is a tool" test -e "$stage/tools/usr/bin/$file" -a -x "$stage/tools/usr/bin/$file"
done
check "and the shell completes ravelinctl" \
    grep -q "^complete -F _ravelinctl ravelinctl" "$stage/tools/usr/share/bash-completion/completions/ravelinctl"
for file in lib/systemd/system/ravelin-metrics.{service,timer} \
    share/doc/ravelin-mobile-tools/examples/prometheus/{prometheus.yml,ravelin.rules.yml,consoles/ravelin.html}; do
    check "the tools come with $file" test -f "$stage/tools/usr/$file"
done
guards="etc/ravelin/guard.conf usr/lib/systemd/system/ravelin-guard.service usr/sbin/ravelin-guard
usr/share/man/man8/ravelin-guard.8 usr/share/ravelin-guard/init/ravelin-guard"
check "the guard comes with these files" test "$(files_in "$stage/guard" | xargs)" = "$(xargs <<<"$guards")"
check "and nobody but root writes its settings" test "$(stat -c %a "$stage/guard/etc/ravelin/guard.conf")" = 644
check "it looks for its libraries in the loader's own places" \
    refuses sh -c 'readelf --dynamic "$1" | grep -E "\((RUNPATH|RPATH)\)"' - "$stage/daemon/usr/sbin/ravelin-mobile"
check "--strip strips" refuses has_debug_information "$stage/daemon/usr/sbin/ravelin-mobile"
check "and only then" has_debug_information "$stage/tools/usr/bin/modem_sim"
check "the scripts are looked for under /usr" \
    grep -qxF 'SOURCE="/usr/share/ravelin-mobile/board"' "$stage/daemon/usr/sbin/ravelin-board-setup"

# Below a prefix with a blank
prefix="$folder/a prefix"
install --prefix "$prefix"
mkdir "$folder/board"
check "settings are there too" test -e "$prefix/etc/ravelin/ifcfg-lte"
check "and looked for there" grep -qF "$prefix/etc/ravelin/ifcfg-lte" "$prefix/lib/ravelin-mobile/ravelin-prepare"
check "ravelin-board-setup finds its scripts there" \
    "$prefix/sbin/ravelin-board-setup" --root "$folder/board"
check "and places them" cmp "$folder/board/ubi/local/apps/network/if-lte" "$source/packaging/board/if-lte"

library_folder=$(dirname "$(find "$prefix/lib" -name libbusglue.so)")
check "scenario_run finds the virtual world and the daemon" env LD_LIBRARY_PATH="$library_folder" \
    "$prefix/bin/scenario_run" --environment LD_LIBRARY_PATH="$library_folder" \
    "$prefix/share/doc/ravelin-mobile-tools/examples/scenarios/simcom_start_to_online.scenario"
