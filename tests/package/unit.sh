#!/bin/bash
# The systemd unit, by systemd itself: nothing in it is unknown or wrong, and it is as closed as docs/supervision.md says.
# Skipped where there is no systemd.
cd "$(dirname "$0")/../.." || exit
. tests/package/check.bash
command -v systemd-analyze >/dev/null || exit 77
new_folder

# Its programs needn't be installed.
sed -E 's#^(Exec[A-Za-z]*=\+?)/usr/[^ ]*#\1/bin/true#; /^Documentation/d' packaging/systemd/ravelin-mobile.service \
    >"$folder/ravelin-mobile.service"
said=$(systemd-analyze verify --man=no "$folder/ravelin-mobile.service" 2>&1) || fail "systemd refuses it: $said"
check "systemd finds no fault" test -z "$(grep ravelin-mobile <<<"$said")"

for unit in service timer; do
    sed -E 's#^(Exec[A-Za-z]*=\+?)/usr/[^ ]*#\1/bin/true#; /^Documentation/d' packaging/systemd/ravelin-metrics.$unit \
        >"$folder/ravelin-metrics.$unit"
done
said=$(systemd-analyze verify --man=no "$folder/ravelin-metrics.timer" 2>&1) || fail "systemd refuses the timer: $said"
check "nor in the timer of the metrics and its service" test -z "$(grep ravelin-metrics <<<"$said")"

sed -E 's#^(Exec[A-Za-z]*=\+?)/usr/[^ ]*#\1/bin/true#; /^Documentation/d' packaging/systemd/ravelin-guard.service \
    >"$folder/ravelin-guard.service"
said=$(systemd-analyze verify --man=no "$folder/ravelin-guard.service" 2>&1) || fail "systemd refuses the guard's: $said"
check "nor in the guard's" test -z "$(grep ravelin-guard <<<"$said")"

# The number of systemd 252, times ten; another version may count otherwise.
exposure=$(systemd-analyze security --offline=yes packaging/systemd/ravelin-mobile.service 2>/dev/null |
    sed -n 's/.*Overall exposure level.*: \([0-9.]*\) .*/\1/p')
if [ "$(systemctl --version | sed -n '1s/systemd \([0-9]*\).*/\1/p')" = 252 ]; then
    check "its exposure is the page's: $exposure" grep -q "on the unit gives $exposure (OK)" docs/supervision.md
fi
