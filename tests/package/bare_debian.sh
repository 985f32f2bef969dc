#!/bin/bash
# usage: tests/package/bare_debian.sh FOLDER
#
# Takes the packages in FOLDER through their life on a bare Debian 12: installed with what they depend on, set up, online
# with the command line of the unit, upgraded, with a bus library of the board's own, removed, purged. As root; scripts/package
# --try calls it. The bare Debian is made once, and kept in build-packages/bare-debian.tar.
#
#   --help      this text
#   --version   name and version
set -eu
. "$(dirname "$0")/../../scripts/common.bash"
. "$(dirname "$0")/check.bash"
set -e
MIRROR=http://deb.debian.org/debian
NEXT_VERSION=2.5.2~try
PACKAGES="ravelin-mobile libbusglue ravelin-mobile-tools ravelin-guard"

[ $# -gt 0 ] || refuse "FOLDER is missing"
common_option "$1"
[ $# -eq 1 ] || refuse "unexpected argument \"$2\""
debs=("$1"/*.deb)
[ -e "${debs[0]}" ] || refuse "no packages in \"$1\""
[ "$(id -u)" -eq 0 ] || refuse "as root only"

step() {
    echo "==== $*"
}

# A Debian of its own
new_folder
bare=$folder/bare
packages=$folder/packages
mkdir "$packages"
for deb in "${debs[@]}"; do
    case $deb in
    *-dbgsym_*) ;;
    *) cp "$deb" "$packages/" ;;
    esac
done
tar=$root/build-packages/bare-debian.tar
if [ ! -e "$tar" ]; then
    step "A bare Debian 12"
    debootstrap --variant=minbase bookworm "$bare" $MIRROR >"$folder/log" 2>&1 || {
        tail "$folder/log"
        fail "debootstrap"
    }
    mkdir -p "${tar%/*}"
    tar -cf "$tar.new" -C "$bare" .
    mv "$tar.new" "$tar"
else
    mkdir "$bare"
    tar -xf "$tar" -C "$bare"
fi

# inside COMMAND...: in the bare Debian, with processes of its own that end with the command. Nothing of /run, /tmp, /dev and
# /sys stays.
inside() {
    # shellcheck disable=SC2016 # for the other shell
    unshare --mount --pid --fork --kill-child bash -c '
        set -e
        mount -t proc proc "$0/proc"
        mount -t tmpfs run "$0/run"
        mount -t tmpfs sys "$0/sys"
        mount -t devpts -o newinstance,ptmxmode=0666 devpts "$0/dev/pts"
        ln -sf pts/ptmx "$0/dev/ptmx"
        mkdir -p "$0/run/packages"
        mount --bind "$1" "$0/run/packages"
        shift
        exec chroot "$0" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive "$@"
        ' "$bare" "$packages" "$@"
}

# quietly COMMAND...: shows what it said only if it fails.
quietly() {
    "$@" >"$folder/log" 2>&1 || {
        cat "$folder/log"
        fail "$*"
    }
}

# files: everything that there is, but for what dpkg, apt and the loader keep for themselves. The group stays after a purge,
# and is looked at by itself.
files() {
    inside find / -xdev \( -path /proc -o -path /run -o -path /sys -o -path /dev -o -path /tmp -o -path /var/lib/dpkg -o \
        -path /var/lib/apt -o -path /var/cache -o -path /var/log \) -prune -o \
        ! -path '/etc/group*' ! -path '/etc/gshadow*' ! -path /etc/ld.so.cache \
        ! -path '/var/lib/systemd/deb-systemd-helper-enabled*' \
        -printf '%p %y %m %u %g %l ' \( -type f -exec cksum {} \; -o -printf '\n' \) | LC_ALL=C sort
}

is_installed() {
    [ "$(inside dpkg-query --show --showformat='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

step "What the packages ask for"
quietly inside apt-get update
mapfile -t wanted < <(inside sh -c 'apt-get install --simulate /run/packages/*.deb' | awk '$1 == "Inst" { print $2 }' |
    grep -vE "^(${PACKAGES// /|})(-dbgsym)?\$")
echo "${wanted[*]}"
# And a DHCP server for the far side of the radio, and what takes the rotation of logs.
quietly inside apt-get install -y "${wanted[@]}" udhcpd logrotate
inside apt-mark auto "${wanted[@]}" >/dev/null
files >"$folder/before"
cp "$bare/etc/group" "$folder/group"

step "Installation"
quietly inside sh -c 'apt-get install -y /run/packages/*.deb'
for package in $PACKAGES; do
    check "$package is installed" is_installed "$package"
done
check "with every file as in the package" test -z "$(inside dpkg --verify $PACKAGES)"
check "the service isn't enabled" test -z "$(find "$bare/etc/systemd/system" -name 'ravelin*')"
check "the group is there" grep -q '^ravelin:' "$bare/etc/group"
check "no file of a package is below /ubi" test ! -e "$bare/ubi"
inside ravelin-mobile -h
quietly inside logrotate --debug /etc/logrotate.d/ravelin-mobile

step "The smoke test of the package"
install -m 755 "$root/debian/tests/smoke" "$bare/tmp/smoke"
check "the smoke test" inside /tmp/smoke

step "The guard: off, on and off again"
check "it is off" test -z "$(find "$bare/etc/systemd/system" -name 'ravelin-guard*')" -a ! -e "$bare/etc/init.d/ravelin-guard"
check "and only watches" test "$(inside ravelin-guard --check 2>/dev/null)" = "It only watches: guard.conf names no INTERFACE."
cp -a "$bare/etc/ravelin/guard.conf" "$folder/guard.conf"
printf '%s\n' INTERFACE=wwan0 "TCP=192.0.2.1 443" ICMP=192.0.2.2 >>"$bare/etc/ravelin/guard.conf"
check "with settings it may act" inside ravelin-guard --check
# shellcheck disable=SC2016 # for the other shell
check "it starts, says so, and stops" inside sh -c 'init=/usr/share/ravelin-guard/init/ravelin-guard
    $init start || exit
    tries=0
    until grep -qsx State=no_status /run/ravelin-guard/state; do
        tries=$((tries + 1))
        [ $tries -lt 600 ] || exit
        sleep 0.1
    done
    $init status && $init start && $init stop && ! $init status'
check "its budget is kept" grep -qx END "$bare/var/lib/ravelin-guard/budget"
cp -a "$folder/guard.conf" "$bare/etc/ravelin/guard.conf"

step "The board is set up"
inside ravelin-board-setup || echo "(status $?: pins are a board's)"
check "the scripts are in their places" test -x "$bare/ubi/local/apps/network/if-lte" -a -x "$bare/etc/init.d/S84Reset4G.sh"

step "Online with the command line of the unit"
cp "$root/scripts/board.bash" "$root/tests/package/bare_board.sh" "$bare/tmp/"
cp -a "$bare/etc/resolv.conf" "$folder/resolv.conf" # which the DHCP client is about to write
check "online" inside unshare --net bash /tmp/bare_board.sh
cp -a "$folder/resolv.conf" "$bare/etc/resolv.conf"

step "Upgrade to $NEXT_VERSION"
mkdir "$folder/next"
for deb in "$packages"/*.deb; do
    content=$folder/content
    rm -rf "$content"
    dpkg-deb --raw-extract "$deb" "$content"
    version=$(dpkg-deb --field "$deb" Version)
    sed -i "s/^Version: .*/Version: $NEXT_VERSION/; s/(= $version)/(= $NEXT_VERSION)/" "$content/DEBIAN/control"
    if [ -d "$content/usr/share/ravelin-mobile/board" ]; then
        for script in if-lte Reset4G.sh; do
            echo "# a later version" >>"$content/usr/share/ravelin-mobile/board/$script"
        done
        echo "# a later version" >>"$content/etc/logrotate.d/ravelin-mobile"
        (cd "$content" && find . -type f ! -path './DEBIAN/*' ! -path './etc/*' -printf '%P\0' | xargs -0 md5sum >DEBIAN/md5sums)
    fi
    dpkg-deb --root-owner-group --build "$content" "$folder/next" >/dev/null
done
echo "APN=my.apn" >>"$bare/etc/ravelin/ifcfg-lte"
echo "# the board's pin" >>"$bare/ubi/local/apps/network/Reset4G.sh"
packages=$folder/next
quietly inside sh -c 'apt-get install -y /run/packages/*.deb'
check "the new version is there" test \
    "$(inside dpkg-query --show --showformat='${Version}' ravelin-mobile)" = "$NEXT_VERSION"
check "changed settings stay" grep -qx APN=my.apn "$bare/etc/ravelin/ifcfg-lte"
check "with nobody else to read them" test "$(stat -c %a "$bare/etc/ravelin/ifcfg-lte")" = 600
check "unchanged ones are new" grep -q "a later version" "$bare/etc/logrotate.d/ravelin-mobile"
inside ravelin-board-setup || true
check "an unchanged script is new" grep -q "a later version" "$bare/ubi/local/apps/network/if-lte"
check "a changed one is the board's" refuses grep -q "a later version" "$bare/ubi/local/apps/network/Reset4G.sh"

step "A bus library of the board's own"
own=$folder/own
mkdir -p "$own/DEBIAN" "$own/usr/lib"
cp "$bare"/usr/lib/*/libbusglue.so "$own/usr/lib/"
cat >"$own/DEBIAN/control" <<X
Package: board-busglue
Version: 1
Architecture: $(dpkg --print-architecture)
Maintainer: a board <board@example.com>
Provides: libbusglue
Conflicts: libbusglue
Replaces: libbusglue
Description: the closed bus library of a board
X
dpkg-deb --root-owner-group --build "$own" "$folder/next" >/dev/null
quietly inside sh -c 'apt-get install -y /run/packages/board-busglue*.deb'
check "takes the place of ours" refuses is_installed libbusglue
check "and the daemon stays" is_installed ravelin-mobile
inside ravelin-mobile -h >/dev/null
quietly inside sh -c 'apt-get install -y /run/packages/libbusglue_*.deb'
check "and back" refuses is_installed board-busglue

step "Removal"
quietly inside ravelin-board-setup --remove
check "unchanged scripts are gone" test ! -e "$bare/ubi/local/apps/network/if-lte"
check "a changed one is the board's" test -e "$bare/ubi/local/apps/network/Reset4G.sh"
rm -r "$bare/ubi"
rm -f "$bare"/tmp/{smoke,board.bash,bare_board.sh}
quietly inside apt-get remove -y $PACKAGES
check "settings stay" grep -qx APN=my.apn "$bare/etc/ravelin/ifcfg-lte"
check "the programs don't" test ! -e "$bare/usr/sbin/ravelin-mobile" -a ! -e "$bare/usr/bin/modem_sim"
step "Purge"
quietly inside apt-get purge -y $PACKAGES
files >"$folder/after"
diff "$folder/before" "$folder/after" || fail "files differ from those before the installation"
check "nothing is left" true
check "but the group" test "$(diff "$folder/group" "$bare/etc/group" | grep -c '^[<>]')" -eq 1
check "and no diversion" test -z "$(inside dpkg-divert --list '*ravelin*')"
check "and dpkg finds nothing wrong" test -z "$(inside dpkg --audit)"
echo "Installed, online, upgraded, removed and purged"
