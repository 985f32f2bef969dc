# Rules of the dialect that neither clang-format nor clang-tidy knows: file:line: rule: message. Run by scripts/lint over C++
# files, and with comment=# over scripts and files of the build.

function fault(rule, text, line) {
    printf "%s:%d: %s: %s\n", FILENAME, line ? line : FNR, rule, text
}

# Sets `code`, where nothing stands between the quotes of a text, and `note`, the comment at the end of the line.
function take_apart(rest,    at, mark, end) {
    code = note = ""
    if (raw_end != "") {
        at = index(rest, raw_end)
        if (at == 0) return
        rest = substr(rest, at + length(raw_end))
        raw_end = ""
        code = "\""
    }
    while (match(rest, /["'\/]/)) {
        at = RSTART
        mark = substr(rest, at, 1)
        if (mark == "/") {
            if (substr(rest, at, 2) == "//") {
                code = code substr(rest, 1, at - 1)
                note = substr(rest, at)
                return
            }
            code = code substr(rest, 1, at)
            rest = substr(rest, at + 1)
            continue
        }
        code = code substr(rest, 1, at)
        if (mark == "\"" && code ~ /(^|[^A-Za-z0-9_])R"$/) {
            rest = substr(rest, at + 1)
            raw_end = ")" substr(rest, 1, index(rest, "(") - 1) "\""
            end = index(rest, raw_end)
            if (end == 0) return
            rest = substr(rest, end + length(raw_end))
            raw_end = ""
            code = code "\""
            continue
        }
        if (mark == "'" && code ~ /[0-9A-Fa-f]'$/ && substr(rest, at + 1) ~ /^[0-9A-Fa-f]/) { # a long number
            rest = substr(rest, at + 1)
            continue
        }
        rest = substr(rest, at + 1)
        while (rest != "" && substr(rest, 1, 1) != mark) rest = substr(rest, substr(rest, 1, 1) == "\\" ? 3 : 2)
        code = code mark
        rest = substr(rest, 2)
    }
    code = code rest
}

function is_there(path,    line, result) {
    if (path in there) return there[path]
    result = (getline line < path) >= 0
    close(path)
    return there[path] = result
}

# A field, or the first line of one, at some depth; not a function, which has a parenthesis in front of its body.
function is_field(line) {
    sub(/ *\/\/.*/, "", line)
    if (line !~ /^ +[A-Za-z_]/ || line !~ /[;{]$/) return 0
    if (line ~ /^ +(using|enum|friend|class|struct|union|typedef|template|return|constexpr|static constexpr|namespace)[^A-Za-z0-9_]/) return 0
    while (gsub(/<[^<>;]*>/, "", line)) continue
    sub(/[={].*/, "", line)
    return line !~ /\(/ && line ~ /[A-Za-z0-9_&*] +[*&]*[A-Za-z_][A-Za-z0-9_]*(\[[^]]*\])* *;?$/
}

# Units at the end of a constant are words of their own; "per" something is none of its own.
function check_units(line,    word, stem) {
    while (match(line, /[A-Za-z_][A-Za-z0-9_]*/)) {
        word = substr(line, RSTART, RLENGTH)
        line = substr(line, RSTART + RLENGTH)
        if (word ~ /^k[A-Z0-9][A-Za-z0-9]*$/) {
            stem = word
            if (sub(/(Ms|Msec|Milliseconds|Us|Usec|Microseconds|Ns|Sec|Secs|Seconds|Minutes|Bytes|Baud|Dbm?|Celsius|Degrees|Percent)$/, "", stem) &&
                stem != "k" && (stem !~ /Per$/ || stem ~ /[a-z]BytesPer$/))
                fault("unit", word " has its unit last, after an underscore, as in kPause_seconds or kPath_bytes")
        } else if (word ~ /_(sec|secs|msec|msecs|millis|milliseconds|usec|usecs|micros|microseconds|nsec)$/ && word !~ /^t[mv]_/) {
            fault("unit", word " ends in no unit of the list: us, ms, seconds, bytes")
        }
    }
}

# An only statement that fits on the line of its condition stands there. `before` are the two lines before this one.
function check_short(line,    inner) {
    if (two !~ /^ *(if|for|while) \(.*\) \{$/ || line !~ /^ *\}$/) return 0
    inner = one
    sub(/^ +/, "", inner)
    if (inner !~ /^[^{}]*;$/ || inner ~ /\/\// || inner ~ /^(if|for|while|do|switch|case)[^A-Za-z0-9_]/) return 0
    if (inner ~ /^(EXPECT|ASSERT)_|^(FAIL|ADD_FAILURE|GTEST_SKIP)\(/) return 0 # an "if" of their own is in them
    if (gsub(/\(/, "(", two) != gsub(/\)/, ")", two)) return 0
    return length(two) - 1 + length(inner) <= 110
}

FNR == 1 {
    raw_end = one = two = ""
    is_header = FILENAME ~ /\.h$/
    has_begun = contract = short = 0
}

comment == "#" {
    if ($0 ~ /^ *# ?---/ || $0 ~ /^ *# ?===/ || $0 ~ /^ *####/) fault("ruler", "a heading is a plain comment")
    next
}

{
    in_raw_text = raw_end != ""
    take_apart($0)
    if (short && code !~ /^ *else/) fault("short-statement", "it fits on the line of its condition, without braces", short)
    short = 0

    if (length($0) > 110 && !in_raw_text) fault("line-length", length($0) " characters, more than 110")
    if (note ~ /^\/\/+ ?(---|===|\*\*\*|###|~~~)/) fault("ruler", "a heading is a plain comment")
    # The number of a row in a table, or the row above which it stands.
    if (code ~ /\/\*/ && code !~ /\/\* *[0-9]+ *\*\//) fault("block-comment", "comments begin with //")
    if (note ~ /^(\/\/\/<|\/\/!)/) fault("field-comment", "a field's comment begins with //")
    if (note ~ /^\/\/\// && code ~ /^ *$/) {
        if (!contract) contract = FNR
    } else {
        if (contract && is_field($0)) fault("field-comment", "a field's comment begins with //", contract)
        contract = 0
    }

    if (code ~ /^ *#include "/) {
        path = $0
        sub(/^ *#include "/, "", path)
        sub(/".*/, "", path)
        if (!is_there(path)) fault("include-from-root", "there is no " path " from the repository's root")
    } else {
        check_units(code)
    }
    if (is_header && !has_begun && code !~ /^ *$/) {
        has_begun = 1
        if (code !~ /^#pragma once/) fault("pragma-once", "a header begins with #pragma once")
    }
    if (is_header && code ~ /^ *using namespace /) fault("using-namespace", "whoever includes the header would get it too")
    if (code ~ /(^|[;{}] *|\) |else )[ ]*[A-Za-z_][A-Za-z0-9_.>\[\]-]*(\+\+|--);/ || code ~ /^ *for \(.*[A-Za-z0-9_\]](\+\+|--)[,)]/)
        fault("increment", "++ and -- stand in front where nobody wants the former value")
    if (check_short($0)) short = FNR - 2

    two = one
    one = $0
}

END {
    if (short) fault("short-statement", "it fits on the line of its condition, without braces", short)
}
