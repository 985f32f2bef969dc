# Makes a man page, for any POSIX awk:
#   awk -v name=NAME -v section=N -v version=VERSION -v page_file=FILE -f man_page.awk TEXT... PAGE
#
# TEXT is what the program itself says of its use, which gives the sections SYNOPSIS, DESCRIPTION, OPTIONS and what else it has:
#   *.help   the text of --help of a tool; after a line "## USAGE" that of one of its commands
#   *.cpp    of the daemon: its usage text, its list of option letters, and the trace words
#   others   a script, whose help is the comment at its head
# PAGE has what no --help says, as roff. Its first line is `.\" name - what it is`. For the daemon, whose usage is terse, it also
# has a paragraph for each option after a line `.\" option -X`: one that is missing or has no option ends this with status 1,
# so that usage and page can't part.

function fault(text) {
    print "man_page.awk: " name ": " text >"/dev/stderr"
    failed = 1
    exit 1
}

# Text as roff shows it: an option's hyphen is one that can be copied.
function escape(text, out, i, c, last) {
    gsub(/\\/, "\\e", text)
    for (i = 1; i <= length(text); i++) {
        c = substr(text, i, 1)
        if (c == "-" && (i == 1 || index(" [(|-/", last))) out = out "\\-"
        else out = out c
        last = c
    }
    if (out ~ /^[.']/) out = "\\&" out
    return out
}

# What is typed is bold, what stands for something else italic, brackets are neither.
function markup(text, out, word) {
    while (match(text, /[A-Za-z0-9_:+\/-]+/)) {
        word = substr(text, RSTART, RLENGTH)
        out = out substr(text, 1, RSTART - 1) (word ~ /^[A-Z][A-Z_:]*$/ ? "\\fI" : "\\fB") escape(word) "\\fR"
        text = substr(text, RSTART + RLENGTH)
    }
    return out text
}

# A line break must not part what is in brackets.
function keep_together(text, out, i, c, depth) {
    for (i = 1; i <= length(text); i++) {
        c = substr(text, i, 1)
        depth += (c == "[") - (c == "]")
        out = out (c == " " && depth > 0 ? "\\ " : c)
    }
    return out
}

function indent_of(line) {
    match(line, /^ */)
    return RLENGTH
}

function add(line) {
    body = body line "\n"
}

# A part of a command's own is no section of the page.
function heading(text) {
    if (in_command) add(".PP\n" text ":")
    else add(".SH " toupper(text))
    in_list = 0
}

# What follows belongs to one command of a tool that has several: its line of usage is the heading.
function take_command(usage) {
    if (!in_command) heading("details")
    in_command = 1
    add(".SS " keep_together(markup(usage)))
    in_list = 0
}

function take_name(line) {
    sub(/^\.\\" /, "", line)
    if (index(line, name " - ") != 1) fault("the page begins with its name and what it is, not with: " line)
    summary = substr(line, length(name) + 4)
}

# In a text of --help an item is a term at a margin of two, with what is said of it after two blanks or on the lines
# below. What stands deeper than that is a line of its own.
function take_help(line, indent, text, at, said) {
    if (line ~ /^## /) {
        take_command(substr(line, 4))
        after_blank = 0
        return
    }
    indent = indent_of(line)
    text = substr(line, indent + 1)
    if (line ~ /^usage: / || in_usage && text != "") {
        sub(/^usage: /, "", text)
        in_usage = 1
        if (index(text " ", called " ") == 1) {
            sub("^" called, name, text)
            synopsis = synopsis (synopsis == "" ? "" : ".br\n") keep_together(markup(text)) "\n"
        } else {
            synopsis = synopsis keep_together(markup(text)) "\n"
        }
    } else if (in_usage) {
        in_usage = 0
        heading("description")
    } else if (text == "") {
        after_blank = 1
        return
    } else if (indent == 0 && text ~ /^[A-Z].*:$/ && after_blank) {
        pending = text # a heading, if a list follows at once
    } else if (indent == 2) {
        if (pending != "") heading(substr(pending, 1, length(pending) - 1))
        pending = ""
        at = match(text, /   */)
        said = at ? substr(text, RSTART + RLENGTH) : ""
        column = at ? indent + RSTART + RLENGTH - 1 : 0
        add(".TP")
        add(markup(at ? substr(text, 1, at - 1) : text))
        if (at) add(escape(said))
        in_list = 1
    } else if (indent > 2) {
        if (column == 0) column = indent
        if (indent > column) add(".br")
        add(escape(text))
    } else {
        if (pending != "") add(".PP\n" escape(pending))
        pending = ""
        if (after_blank && (in_list || body !~ /\.S[HS] [^\n]*\n$/)) add(".PP")
        in_list = 0
        add(escape(text))
    }
    after_blank = 0
}

# The daemon's usage.
function take_usage(line, word) {
    if (line ~ /kOptionLetters\[\] =/) letters = line
    if (match(line, /"-D[A-Za-z]"/)) trace[substr(line, RSTART + 1, RLENGTH - 2)] = 1
    if (match(line, /\\t-[a-z] [a-z ]*/)) {
        word = substr(line, RSTART + 2, 2)
        order[++options] = word
        meaning[word] = substr(line, RSTART + 5, RLENGTH - 5)
        sub(/ +$/, "", meaning[word])
    }
}

# The tag of an option: with what it takes, for which the usage has a word and the list of letters a colon.
function tag(option) {
    if (index(letters, substr(option, 2) ":")) return "\\fB" escape(option) "\\fR \\fI" meaning[option] "\\fR"
    return "\\fB" escape(option) "\\fR"
}

function take_page(line, option) {
    if (line !~ /^\.\\" option /) {
        page = page line "\n"
        return
    }
    split(line, words, " ")
    option = words[3]
    if (option in explained) fault("two paragraphs for " option)
    explained[option] = 1
    if (option in trace) page = page ".TP\n\\fB" escape(option) "\\fR \\fI" words[4] "\\fR\n"
    else if (option in meaning) page = page ".TP\n" tag(option) "\n"
    else fault("a paragraph for " option ", which isn't in the usage")
}

function check_options(i, option) {
    for (i = 1; i <= options; i++) if (!(order[i] in explained)) fault("no paragraph for " order[i])
    for (option in trace) if (!(option in explained)) fault("no paragraph for " option)
    synopsis = "\\fB" name "\\fR"
    for (i = 1; i <= options; i++) synopsis = synopsis "\n" keep_together("[" tag(order[i]) "]")
    synopsis = synopsis "\n"
}

# The files, in their order.
FNR == 1 {
    kind = FILENAME ~ /\.help$/ ? "help" : FILENAME ~ /\.cpp$/ ? "usage" : FILENAME ~ /\.man$/ ? "page" : "script"
    called = FILENAME
    sub(/\.help$/, "", called)
    sub(/.*\//, "", called)
    if (kind == "page") take_name($0)
    if (kind == "page" || kind == "script") next
}
kind == "script" && !/^#/ { nextfile_done[FILENAME] = 1 }
kind == "script" && !(FILENAME in nextfile_done) {
    sub(/^# ?/, "")
    take_help($0)
}
kind == "help" { take_help($0) }
kind == "usage" { take_usage($0) }
kind == "page" { take_page($0) }

END {
    if (failed) exit 1
    if (options > 0) check_options()
    if (synopsis == "" || page == "" || summary == "") fault("a part is missing")
    printf ".\\\" Made from the text of --help; don't edit.\n" >page_file
    printf ".TH %s %s \"\" \"ravelin-mobile %s\" \"%s\"\n", toupper(escape(name)), section, version,
        (section == 8 ? "System Administration" : "User Commands") >page_file
    printf ".nh\n.ad l\n.SH NAME\n%s \\- %s\n.SH SYNOPSIS\n%s%s%s", escape(name), summary, synopsis, body, page >page_file
}
