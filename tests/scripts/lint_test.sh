#!/bin/bash
# lint_test.sh REPOSITORY: scripts/lint finds what breaks each of its rules, in the line where it is, and nothing else. In a
# tree of its own, which holds the configuration and files that are made up.
set -u
REPOSITORY=$1
. "$REPOSITORY/tests/scripts/scratch.bash"

TREE="$SCRATCH/a tree"
mkdir -p "$TREE"/{bench,CellSubClass,cmake,network_daemon,packaging/board,platform,scripts,simulator,support,tests,tools}
cp "$REPOSITORY"/.clang-{format,tidy} "$TREE"
echo "# A build" >"$TREE/CMakeLists.txt"
cp "$REPOSITORY"/scripts/{lint,lint.awk,common.bash} "$TREE/scripts"
EXPECTED=$SCRATCH/expected
: >"$EXPECTED"

# Names that keep their spelling: none.
sed -i "/\.\(Function\|Method\)IgnoredRegexp/{n;s/'.*'/'([a-z]+_ms|none)'/}" "$TREE/.clang-tidy"

# bad FILE RULE=LINE...: a file of the tree, from standard input, and what is to be found in it.
bad() {
    local file=$1 each
    shift
    cat >"$TREE/$file"
    for each; do
        echo "$file:${each#*=}: ${each%=*}" >>"$EXPECTED"
    done
}

# lint WORD...: sets `status`, `output`, `errors`, and `rules`, which is the output without messages.
lint() {
    status=0
    (cd "$TREE" && scripts/lint "$@") >"$SCRATCH/output" 2>"$SCRATCH/errors" || status=$?
    output=$(cat "$SCRATCH/output")
    errors=$(cat "$SCRATCH/errors")
    rules=$(sed -nE 's/^([^:]+:[0-9]+: [^:]+): .+/\1/p' "$SCRATCH/output")
}

# A file as it should be, with what looks like a fault and is none.
cat >"$TREE/network_daemon/good.h" <<'END'
// What the rules let pass.
#pragma once

#include <cstdint>
#include <string>

constexpr int kPause_seconds = 5;
constexpr int kFlood_bytes_per_second = 100;
constexpr int kSecondsPerMinute = 60;
constexpr char kSeconds[] = "seconds";

/// A contract.
struct Good {
    /// Another one.
    int64_t now_ms() const { return now_ms_; }

    // Above the field.
    int first = 0;
    int second = 0;  // after it
    std::string text = "///< /* no comment */ // ---- none either";

  private:
    int64_t now_ms_ = 0;
};

template <typename Item, size_t N>
size_t CountOf(const Item (&)[N]) {
    return N;
}
END
cat >"$TREE/network_daemon/good.cpp" <<'END'
#include "network_daemon/good.h"

#include <unistd.h>

#include <cstdio>

constexpr const char* kRows[] = {
    /* 0 */ "first",
    /* 1 */ "second",
};
constexpr char kRaw[] = R"(
i++;
/* text */)";

int Count(const char* text) {  // none is a name that keeps its spelling
    int count = 0;
    if (text == nullptr) return 0;
    for (const char* at = text; *at != '\0'; ++at) {
        if (*at == '"' || *at == '\'') {
            ++count;
        } else {
            putchar(*at);
        }
    }
    while (count > 1'000'000) --count;
    const int former = count++;
    sleep(kPause_seconds);
    return former + count + kRaw[0] + kRows[0][0];
}
END
# shellcheck disable=SC2016
printf '%s\n' '#!/bin/sh' '# a heading' 'echo "$1"' >"$TREE/packaging/board/good"
lint --all
[ $status -eq 77 ] && echo "$errors" && exit 77
[ $status -eq 0 ] && [ -z "$output$errors" ] || fail "a tree without a fault: status $status, $output $errors"

# What scripts/lint.awk knows, and the layout.
bad network_daemon/rules.cpp include-from-root=2 clang-diagnostic-error=2 ruler=4 block-comment=5 unit=6 unit=7 \
    increment=11 increment=12 short-statement=13 increment=16 <<'END'
#include "network_daemon/good.h"
#include "nowhere.h"

// ---- a ruler
int first = 0; /* a block */
constexpr int kPauseSeconds = 1;
int pause_msec = 1;

int Sum(int count) {
    int sum = 0;
    sum++;
    for (int i = 0; i < count; i++) {
        if (i > first) {
            sum += i;
        }
        if (i > 1) sum--;
    }
    return sum;
}
END
bad network_daemon/header.h pragma-once=2 using-namespace=7 field-comment=11 field-comment=13 <<'END'
// A header without its first line.
#include <string>

namespace rules {
constexpr int kOne = 1;
}
using namespace rules;

/// A contract.
struct Fields {
    /// The mark of a contract.
    int above;
    int after;  ///< the same
};
END
bad network_daemon/layout.cpp layout=1 layout=4 layout=5 <<'END'
#include <cstdio>
#include <unistd.h>

int  Layout() {
  return getpid() +
        puts("");
}
END
bad network_daemon/long.cpp line-length=1 <<'END'
// https://123456789012345678901234567890123456789012345678901234567890123456789012345678901234567890123456789012345678901234567890
END
bad network_daemon/not_alone.h self-contained=1 <<'END'
#pragma once

inline std::string Text() {
    return "";
}
END
printf '# %s a ruler\nset(x 1)\n' ---- | bad cmake/ruler.cmake ruler=1 # in one piece it would be found here
# shellcheck disable=SC2016
printf '%s\n' '#!/bin/sh' 'echo $1' | bad packaging/board/quotes SC2086=2
printf '%s\n' '#!/bin/bash' 'echo "$(' | bad scripts/broken SC1073=2 SC1072=3

# What clang-tidy knows of names: each that has "wrong" in it is found, where it is declared.
bad support/names.cpp <<'END'
#define wrong_macro 1
namespace WrongSpace {}

class wrong_class {};

struct wrong_struct {};

union wrong_union {
    int first;
    char second;
};

enum wrong_enum { kOne };
enum Good { WrongOne };
enum class Scoped { kGood, wrong_two };

typedef int wrong_typedef;
using wrong_alias = int;

constexpr int wrong_constant = 1;
constexpr int kWrong_pounds = 1;
const int another_wrong_constant = 1;
const char* const wrong_pointer = "";

int WrongGlobal = 1;
char* WrongGlobalPointer;

template <typename wrong_type, int WrongValue>
int SumOf(wrong_type value) {
    static int WrongStatic = WrongValue;
    int WrongLocal = value;
    const int kWrongLocalConstant = WrongStatic;
    return WrongLocal + kWrongLocalConstant;
}

int wrong_function(int WrongParameter) {
    return WrongParameter;
}

class Members {
  public:
    int WrongPublic;
    int wrong_trailing_;
    static int WrongClassMember;
    static const int wrong_class_constant = 1;
    void wrongMethod();

  protected:
    int wrong_protected_;

  private:
    int wrong_private;
};
END
grep -noE '\w*[wW]rong\w*' "$TREE/support/names.cpp" | sort -t: -k2,2 -k1,1n | sort -t: -k2,2 -u |
    sed 's#^\([0-9]*\):.*#support/names.cpp:\1: readability-identifier-naming#' >>"$EXPECTED"

# One that keeps its spelling, and that nobody has.
sed -i "s/|none)'/|gone_name)'/" "$TREE/.clang-tidy"
sed -n "/gone_name/{=;q}" "$TREE/.clang-tidy" | sed 's/.*/.clang-tidy:&: stale-name/' >>"$EXPECTED"

# One of each group of clang-tidy's checks; only --all makes them all.
bad simulator/braces.cpp readability-braces-around-statements=2 readability-braces-around-statements=4 <<'END'
int Braces(int count) {
    if (count > 1)
        return 1;
    else
        return 2;
}
END
bad simulator/checks.cpp bugprone-integer-division=4 clang-analyzer-core.DivideZero=9 misc-unused-parameters=12 \
    performance-unnecessary-copy-initialization=17 readability-redundant-string-cstr=18 <<'END'
#include <string>

double Half(int count) {
    return count / 2;
}

int Divide(int count) {
    if (count != 0) return 1;
    return 1 / count;
}

static int Unused(int unused) {
    return 1;
}

int Copy(const std::string& text) {
    const std::string copy = text;
    const std::string again = copy.c_str();
    return static_cast<int>(again.size()) + Unused(1);
}
END
lint --all
sort -u "$EXPECTED" >"$SCRATCH/wanted"
sort -u <<<"$rules" >"$SCRATCH/rules"
[ $status -eq 1 ] || fail "a tree with faults: status $status"
[ -z "$errors" ] || fail "a tree with faults: $errors"
diff "$SCRATCH/wanted" "$SCRATCH/rules" >"$SCRATCH/difference" || fail "wanted <, found >:
$(cat "$SCRATCH/difference")"

# Without --all: names and braces, in the product and the simulator.
lint simulator/braces.cpp simulator/checks.cpp
[ $status -eq 1 ] && [ "$(grep -c . <<<"$rules")" -eq 2 ] || fail "without --all: status $status, $output"
cp "$TREE/support/names.cpp" "$TREE/tests"
lint tests/names.cpp
[ $status -eq 0 ] && [ -z "$output" ] || fail "a test without --all: status $status, $output"

# --fix.
lint --fix network_daemon/layout.cpp
[ $status -eq 0 ] && [ -z "$output" ] || fail "--fix: status $status, $output"
[ "$(head -n 3 "$TREE/network_daemon/layout.cpp")" = $'#include <unistd.h>\n\n#include <cstdio>' ] ||
    fail "--fix leaves $(cat "$TREE/network_daemon/layout.cpp")"

# A tool that isn't there is named, and so is one in another version; the rest is looked at all the same.
stub clang-format 'echo "clang-format version 99.0.0"'
stub clang-format-14 "exit 127"
run_path=$STUBS:$PATH
PATH=$run_path lint network_daemon/good.cpp
[ $status -eq 77 ] || fail "without clang-format: status $status"
[ "$errors" = "scripts/lint: not checked, since it isn't here: clang-format; scripts/setup --lint installs it" ] ||
    fail "without clang-format: $errors"
PATH=$run_path lint network_daemon/rules.cpp
[ $status -eq 1 ] || fail "faults without clang-format: status $status"

# A tool that breaks isn't one that finds nothing.
rm "$STUBS"/*
echo "Nonsense: 1" >>"$TREE/.clang-format"
lint network_daemon/good.cpp
[ $status -eq 1 ] && [[ $output == ".clang-format:1: layout: couldn't be looked at: "* ]] || fail "a broken .clang-format: $output"
cp "$REPOSITORY/.clang-format" "$TREE"
for tool in clang-tidy shellcheck; do
    stub $tool '[ "$1" != --version ] || exec '"$(command -v $tool)"' --version' 'echo "out of memory" >&2' 'exit 3'
done
PATH=$run_path lint network_daemon/good.cpp packaging/board/good
[ "$output" = "network_daemon/good.cpp:1: clang-tidy: couldn't be looked at: out of memory
packaging/board/good:1: shellcheck: couldn't be looked at: out of memory" ] || fail "broken tools: $output"

echo "$(wc -l <"$SCRATCH/wanted") faults: $failures failures"
[ $failures -eq 0 ]
