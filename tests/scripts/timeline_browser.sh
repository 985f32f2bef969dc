#!/bin/bash
# timeline_browser.sh REPOSITORY BUILD: the page of ravelinctl timeline in a real browser. Skipped, with status 77, where
# there is none; scripts/setup --browser installs it.
set -u
repository=$1
tool=$2/ravelinctl
browser=$(command -v chromium || command -v chromium-browser) || {
    echo "skipped: no chromium; scripts/setup --browser installs it"
    exit 77
}
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit 1
failures=0
fail() {
    echo "FAILED: $*"
    failures=$((failures + 1))
}
options=(--headless --disable-gpu --hide-scrollbars --no-first-run --disable-extensions --user-data-dir="$folder/profile"
    --enable-logging=stderr --virtual-time-budget=60000 --window-size=1400,1000)
# As root a browser has no sandbox, as in most containers.
[ "$(id -u)" -ne 0 ] || options+=(--no-sandbox)
browse() {
    timeout 300 "$browser" "${options[@]}" "$@" 2>errors
}
browse --dump-dom about:blank >blank
grep -q '<html' blank || {
    echo "skipped: $browser doesn't run here"
    tail -n 3 errors
    exit 77
}

awk -v days=30 -f "$repository/tests/scripts/bad_month.awk" >LOG
"$tool" timeline LOG -o page.html || fail "no page"

# As it is, with its policy.
browse --dump-dom "file://$folder/page.html" >dom
grep -q '<title>Timeline of the cellular link</title>' dom || fail "the title is not the page's own"
grep -q 'id="main">' dom || fail "the script hasn't run"
grep -q 'data-nodes="[0-9]' dom || fail "nothing is drawn"
! grep -iE 'CONSOLE.*(error|refused|violat|uncaught)' errors || fail "the browser complains"

# A name of a file is as hostile as a line.
cp LOG '<img src=x onerror=document.title=1>'
"$tool" timeline '<img src=x onerror=document.title=1>' -o name.html || fail "no page of an odd name"
browse --dump-dom "file://$folder/name.html" >dom
grep -q '<title>Timeline of the cellular link</title>' dom || fail "a name became markup"
grep -q 'from &lt;img src=x' dom || fail "the name isn't shown"

# What the policy is for: a script that isn't the page's own.
sed 's|</body>|<script>document.title = "owned"</script></body>|' page.html >foreign.html
browse --dump-dom "file://$folder/foreign.html" >dom
grep -q '<title>Timeline of the cellular link</title>' dom || fail "the policy lets another script run"

# With a driver, for which the policy has to go.
{
    sed -e '/http-equiv="Content-Security-Policy"/d' -e '/^<\/body>/,$d' page.html
    echo '<script>'
    cat "$repository/tests/scripts/timeline_driver.js"
    echo '</script></body></html>'
} >driven.html
browse --dump-dom "file://$folder/driven.html" | sed -n 's/^SEEN //p' >seen
# saw NAME VALUE: the driver did
saw() {
    grep -qxF "$1=$2" seen || fail "$1 is $(sed -n "s/^$1=//p" seen), not $2"
}
for name in wheel arrow drag whole marked details hover escape jump filter dark; do saw $name true; done
saw outages 100
saw deepest '10 s'
saw hostile shown
saw markup 3
saw title 'Timeline of the cellular link'
! grep '^error' seen || fail "the driver failed"
nodes=$(sed -n 's/^nodes=//p' seen)
[ "${nodes:-9999}" -le 4000 ] || fail "$nodes nodes are drawn"

# On paper: A4 across, more than one sheet, and the picture as a whole on the first.
browse --no-pdf-header-footer --print-to-pdf=page.pdf "file://$folder/page.html"
if command -v pdfinfo >/dev/null; then
    pdfinfo page.pdf | grep -qE 'Page size: +841.* x 59[45].* \(A4\)' || fail "the paper isn't A4 across: $(pdfinfo page.pdf | grep size)"
    pdftotext -f 1 -l 1 -layout page.pdf - | grep -q 'Temperature' || fail "the picture isn't on the first sheet"
    pdftotext -f 2 -l 2 -layout page.pdf - | grep -q ' outages' || fail "the list isn't on the second sheet"
else
    echo "no pdfinfo: what is printed isn't looked at"
fi
cat seen
[ $failures -eq 0 ] || exit 1
