#!/bin/bash
# test_runner.sh REPOSITORY: what scripts/test makes of a build and of the words of ctest. Nothing is built here: programs that
# play cmake and ctest stand in for them.
set -u
REPOSITORY=$1
. "$REPOSITORY/tests/scripts/scratch.bash"

SAYS=$SCRATCH/says # SAYS/PRESET is what ctest prints, SAYS/PRESET.status how it ends
mkdir "$SAYS"
printf '#!/bin/sh\necho "setup $*" >>"%s"\nexit $(cat "%s/setup.status" 2>/dev/null || echo 0)\n' "$CALLS" "$SAYS" \
    >"$COPY/scripts/setup"
# cmake -P checks a regular expression: that is the real one's work.
stub cmake "case \$1 in -D*) exec $(command -v cmake) \"\$@\" ;; esac" \
    "[ \"\$*\" != \"\$(cat '$SAYS/broken' 2>/dev/null)\" ]"
stub ctest "cat '$SAYS/'\$2" "exit \$(cat '$SAYS/'\$2.status)"

# ctest_says PRESET STATUS LINE...
ctest_says() {
    local preset=$1
    echo "$2" >"$SAYS/$preset.status"
    shift 2
    printf '%s\n' "$@" >"$SAYS/$preset"
}

# expect STATUS LAST_LINE WORD...: of scripts/test WORD...
expect() {
    local wanted=$1 last=$2
    shift 2
    : >"$CALLS"
    run scripts/test "$@"
    [ $status -eq "$wanted" ] || fail "$title: status $status, not $wanted"
    [ "${output##*$'\n'}" = "$last" ] || fail "$title: the last line is \"${output##*$'\n'}\", not \"$last\""
    ! grep -q '[[:cntrl:]]' "$SCRATCH/output" || fail "$title: the output has control characters"
}

# prints TEXT...: each is a whole line of the output, or of the complaints.
prints() {
    local text
    for text; do
        grep -qxF -- "$text" "$SCRATCH/output" "$SCRATCH/errors" || fail "$title: \"$text\" isn't printed:
$output
$errors"
    done
}

called() {
    grep -qxF -- "$1" "$CALLS" || fail "$title: not called: $1; but $(cat "$CALLS")"
}

passed_a="1/2 Test #1: unit.a ...............   Passed    0.01 sec"
passed_b="2/2 Test #2: e2e.b ................   Passed    3.00 sec"
end="100% tests passed, 0 tests failed out of 2"

title="all pass"
ctest_says release 0 "    Start 1: unit.a" "    Start 2: e2e.b" "$passed_a" "$passed_b" "" "$end"
ctest_says sanitize 0 "$passed_a" "$passed_b" "" "$end"
expect 0 "4 passed, 0 failed"
prints "release: 2 passed, 0 failed, 0 skipped"
called "setup "
called "cmake --build --preset sanitize"

title="the tests of the first build begin before the second build does"
stub cmake "case \$1 in -D*) exec $(command -v cmake) \"\$@\" ;; esac" \
    "[ \"\$*\" != '--build --preset sanitize' ] || timeout 300 sh -c 'until grep -q \"^ctest --preset release\" \"$CALLS\"; do sleep 0.1; done' || exit" \
    "[ \"\$*\" != \"\$(cat '$SAYS/broken' 2>/dev/null)\" ]"
expect 0 "4 passed, 0 failed"

title="failures of every kind, and a skipped test"
ctest_says release 8 "1/7 Test  #1: unit.a ...............***Failed    0.01 sec" "first word" "second word" "" \
    "    Start 2: e2e.b" \
    "2/7 Test  #2: e2e.b ................***Timeout 240.01 sec" \
    "3/7 Test  #3: unit.with a blank ....***Exception: SegFault  0.02 sec" \
    "4/7 Test  #4: unit.gone ............***Not Run   0.00 sec" \
    "5/7 Test  #5: unit.skipped .........***Skipped   0.00 sec" \
    "6/7 Test  #6: unit.disabled ........***Not Run (Disabled)   0.00 sec" \
    "7/7 Test  #7: unit.dies ............Subprocess aborted***Exception:   0.30 sec" \
    "" "0% tests passed, 5 tests failed out of 6"
expect 1 "2 passed, 5 failed, 2 skipped"
prints "FAILED  release  unit.a (Failed 0.01 sec)" "---- output of release  unit.a:" "    first word" "    second word" \
    "  release  unit.a (Failed 0.01 sec)" "  release  e2e.b (Timeout 240.01 sec)" \
    "  release  unit.with a blank (Exception: SegFault 0.02 sec)" "  release  unit.gone (Not Run 0.00 sec)" \
    "  release  unit.skipped (Skipped 0.00 sec)" "  release  unit.disabled (Not Run (Disabled) 0.00 sec)" \
    "  release  unit.dies (Subprocess aborted Exception: 0.30 sec)"

title="a run that is cut off"
ctest_says release 137 "$passed_a"
expect 1 "3 passed, 1 failed"
prints "  release  ctest (status 137 after 1 of 2 tests)"

title="a run that doesn't begin"
ctest_says release 1 "CMake Error: there is no such preset"
expect 1 "2 passed, 1 failed"
prints "CMake Error: there is no such preset"

title="a run that says that all is well, and ends otherwise"
ctest_says release 3 "$passed_a" "$passed_b" "" "$end"
expect 1 "4 passed, 1 failed"

title="no tests at all"
ctest_says release 1 "No tests were found!!!"
expect 1 "2 passed, 1 failed"

title="a selection that matches in one preset only"
expect 0 "2 passed, 0 failed" --level unit --level e2e --filter "^(unit|e2e)"
called "ctest --preset release --parallel $((12 * $(nproc))) --no-tests=error --tests-regex ^(unit|e2e) --label-regex ^(unit|e2e)\$"

title="a selection that matches nothing"
ctest_says sanitize 1 "No tests were found!!!"
expect 1 "0 passed, 1 failed" --filter nosuch --level docs
prints "scripts/test: no test matches --filter nosuch --level docs"

title="a filter that is no regular expression"
run scripts/test --filter "("
[ $status -eq 2 ] || fail "$title: status $status"
[ "$errors" = "scripts/test: --filter: \"(\" isn't a regular expression; see --help" ] || fail "$title: $errors"

title="a build that fails"
echo "--build --preset sanitize" >"$SAYS/broken"
expect 1 "0 passed, 1 failed"
prints "scripts/test: sanitize can't be built"

title="a build that can't be configured"
echo "--preset release" >"$SAYS/broken"
expect 1 "0 passed, 1 failed"
prints "scripts/test: release can't be configured"
rm "$SAYS/broken"

title="packages that can't be installed"
echo 100 >"$SAYS/setup.status"
expect 1 "0 passed, 1 failed"
prints "scripts/test: what is needed can't be installed"
rm "$SAYS/setup.status"

title="a board"
ctest_says arm64 0 "$passed_a" "$passed_b" "" "$end"
expect 0 "2 passed, 0 failed" --board arm64
called "setup --board arm64"
called "cmake --preset arm64"
called "cmake --build --preset arm64"

echo "$failures failures"
[ $failures -eq 0 ]
