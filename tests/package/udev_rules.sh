#!/bin/bash
# The udev rules, by udev itself, on USB modems that umockdev makes up: the AT port has its name, no other port has, and
# ModemManager is kept off. Runs inside scripts/private-view, since udev makes the links for real.
. "$REPOSITORY/tests/package/check.bash"
rules=$REPOSITORY/packaging/udev/70-ravelin-mobile.rules
tried=/run/udev/rules.d/${rules##*/}
mkdir -p "${tried%/*}"
cp "$rules" "$tried"

# modem VENDOR PRODUCT INTERFACE: a modem with one port.
modem() {
    cat <<X
P: /devices/usb1/1-1
E: DEVTYPE=usb_device
E: SUBSYSTEM=usb
A: idVendor=$1
A: idProduct=$2

P: /devices/usb1/1-1/1-1:1.0
E: DEVTYPE=usb_interface
E: SUBSYSTEM=usb
A: bInterfaceNumber=$3

P: /devices/usb1/1-1/1-1:1.0/ttyUSB0
E: SUBSYSTEM=usb-serial

P: /devices/usb1/1-1/1-1:1.0/ttyUSB0/tty/ttyUSB0
N: ttyUSB0
E: SUBSYSTEM=tty
E: DEVNAME=/dev/ttyUSB0
E: MAJOR=188
E: MINOR=0
X
}

# plug VENDOR PRODUCT INTERFACE: sets `port` and `device`, what udev makes of the port and of the modem as a whole.
plug() {
    modem "$@" >/tmp/modem.umockdev
    port=$(umockdev-run --device=/tmp/modem.umockdev -- \
        udevadm test /sys/devices/usb1/1-1/1-1:1.0/ttyUSB0/tty/ttyUSB0 2>&1)
    device=$(umockdev-run --device=/tmp/modem.umockdev -- udevadm test /sys/devices/usb1/1-1 2>&1)
    rm -f /dev/ravelin-at
}

has_name() {
    grep -q '^DEVLINKS=.*/dev/ravelin-at' <<<"$port"
}

is_ignored() {
    grep -qx 'ID_MM_PORT_IGNORE=1' <<<"$port" && grep -qx 'ID_MM_DEVICE_IGNORE=1' <<<"$device"
}

# What udev says of a line that it can't use, whatever the fault.
complained() {
    grep "${tried##*/}:[0-9]* .*\([Ii]nvalid\|[Ii]gnoring\|[Uu]nknown\|[Ff]ailed to parse\)" <<<"$port"
}

# The file as a whole
echo 'SUBSYSTM=="tty", SYMLINK+="x"' >>"$tried"
plug 2c7c 0125 02
check "udev finds a fault that is made on purpose" complained
cp "$rules" "$tried"
plug 2c7c 0125 02
check "and none in the rules" refuses complained

check "the name isn't one that is looked for when a Cinterion modem comes back" refuses grep 'SYMLINK+="[^"]*ttyACM' "$rules"

# The families that are named, and all others: from that line to the next comment in words, or blank line.
families=$("$BUILD/modem_sim" --help | sed -n 's/^ \{22\}\([a-z0-9_]*\):.*/\1/p')
mapfile -t headings < <(sed -n 's/^# \(family [a-z0-9_]*\|any other family\)\(: .*\|$\)/\1/p' "$rules")
check "nine families and all others have their lines" test ${#headings[@]} -ge 10
check "the last of them are those of all others" test "${headings[-1]}" = "any other family"
for heading in "${headings[@]}"; do
    check "$heading: one that the simulator knows" grep -qxF "${heading#family }" <<<"$families"$'\nany other family'
    lines=$(sed -n "/^# $heading\(:\|\$\)/,/^\$/p" "$rules" | sed '1d' | sed '/^# /,$d')
    check "$heading has a rule of its port, or one to be completed" grep -q 'SYMLINK+="ravelin-at"' <<<"$lines"
done

# The lines to be completed are rules once they are.
sed 's/^#\(SUBSYSTEM\|ATTRS\)/\1/; s/=="XXXX"/=="abcd"/g; s/=="XX"/=="03"/g' "$rules" >"$tried"
check "there are some to be completed" refuses cmp "$rules" "$tried"
plug abcd abcd 03
check "completed, they give the port its name" has_name
check "and keep ModemManager off" is_ignored
check "with nothing for udev to complain about" refuses complained
cp "$rules" "$tried"

# Each rule of a port
ports=$(sed -n 's/^SUBSYSTEM=="tty".*{idVendor}=="\(....\)".*{idProduct}=="\(....\)".*INTERFACE}=="\(..\)".*/\1 \2 \3/p' "$rules")
check "there are rules of ports" test -n "$ports"
while read -r vendor product interface; do
    plug "$vendor" "$product" "$interface"
    check "$vendor:$product: its port $interface has the name" has_name
    check "$vendor:$product: ModemManager is kept off" is_ignored
    plug "$vendor" "$product" 07
    check "$vendor:$product: another port hasn't the name" refuses has_name
    check "$vendor:$product: ModemManager is kept off that one too" is_ignored
done <<<"$ports"

# Devices that are none of ours
for modem in "0403 6001" "12d1 1506" "19d2 0001"; do
    # shellcheck disable=SC2086 # vendor and product
    plug $modem 02
    check "$modem has no name of ours" refuses has_name
    check "$modem is left to ModemManager" refuses is_ignored
done
