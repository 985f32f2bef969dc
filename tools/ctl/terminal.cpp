#include "tools/ctl/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "simulator/text/text.h"

namespace ctl {

namespace {

constexpr size_t kNarrow = 50;  // below it a text begins on the line after its label
constexpr size_t kTableIndent = 2;
constexpr int kUsualWidth = 80;

bool IsFirstByte(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) != 0x80;
}

/// What the first `columns` columns of `text` take, in bytes.
size_t BytesOf(std::string_view text, size_t columns) {
    size_t at = 0;
    for (size_t seen = 0; at < text.size(); ++at) {
        if (IsFirstByte(text[at]) && ++seen > columns) break;
    }
    return at;
}

/// Characters of UTF-8 that a terminal or a reader takes for more than a letter: the second set of controls,
/// marks of direction, and line ends.
bool IsSly(std::string_view character) {
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(character[i]); };
    if (character.size() == 2) return byte(0) == 0xC2 && byte(1) < 0xA0;
    // What only looks like a character: longer than it has to be, or half of a pair.
    if (character.size() == 3 && byte(0) == 0xE0 && byte(1) < 0xA0) return true;
    if (character.size() == 3 && byte(0) == 0xED && byte(1) >= 0xA0) return true;
    if (character.size() != 3 || byte(0) != 0xE2) return false;
    return (byte(1) == 0x80 && (byte(2) >= 0xA8 && byte(2) <= 0xAE)) ||
           (byte(1) == 0x80 && byte(2) <= 0x8F && byte(2) >= 0x8B) ||
           (byte(1) == 0x81 && byte(2) >= 0xA0 && byte(2) <= 0xAF);
}

}  // namespace

std::string Environment(const char* name) {
    const char* value = getenv(name);
    return value == nullptr ? "" : value;
}

Terminal StandardOutput() {
    Terminal terminal;
    terminal.is_terminal = isatty(STDOUT_FILENO) == 1;
    if (!terminal.is_terminal) return terminal;
    const std::string kind = Environment("TERM");
    terminal.can_draw = kind != "dumb" && !kind.empty();
    terminal.has_colour = terminal.can_draw && Environment("NO_COLOR").empty();
    winsize size = {};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0) {
        terminal.width = size.ws_col;
        terminal.height = size.ws_row;
    }
    if (terminal.width == 0) terminal.width = atoi(Environment("COLUMNS").c_str());
    if (terminal.width <= 0) terminal.width = kUsualWidth;
    return terminal;
}

std::string Paint(const Terminal& terminal, Colour colour, const std::string& text) {
    if (!terminal.has_colour || colour == Colour::kNone) return text;
    const char* code = "";
    switch (colour) {
        case Colour::kGood:
            code = "32";
            break;
        case Colour::kWarning:
            code = "33";
            break;
        case Colour::kBad:
            code = "31";
            break;
        case Colour::kFaint:
            code = "2";
            break;
        default:
            code = "1";
    }
    return std::string("\033[") + code + "m" + text + "\033[0m";
}

std::string Shown(std::string_view bytes) {
    const std::string escaped = simulator_text::Escape(bytes);
    std::string shown;
    for (size_t start = 0; start < escaped.size();) {
        size_t end = start + 1;
        while (end < escaped.size() && !IsFirstByte(escaped[end])) ++end;
        const std::string_view character = std::string_view(escaped).substr(start, end - start);
        if (IsSly(character)) {
            for (const char byte : character) shown += "\\x" + simulator_text::ToHex({&byte, 1});
        } else {
            shown += character;
        }
        start = end;
    }
    return shown;
}

size_t Columns(std::string_view text) {
    return static_cast<size_t>(std::count_if(text.begin(), text.end(), IsFirstByte));
}

std::vector<std::string> Wrap(std::string_view text, size_t width) {
    if (width == 0) return {std::string(text)};
    std::vector<std::string> lines;
    std::string line;
    while (!text.empty()) {
        const size_t end = std::min(text.find(' '), text.size());
        std::string_view word = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (!line.empty() && Columns(line) + 1 + Columns(word) <= width) {
            line += " " + std::string(word);
            continue;
        }
        if (!line.empty()) lines.push_back(line);
        for (; Columns(word) > width; word.remove_prefix(BytesOf(word, width))) {
            lines.emplace_back(word.substr(0, BytesOf(word, width)));
        }
        line = word;
    }
    if (!line.empty() || lines.empty()) lines.push_back(line);
    return lines;
}

void Rows::Add(const std::string& label, const std::string& text, Colour colour) {
    rows_.push_back({label, text, colour, false});
}

void Rows::Begin(const std::string& heading) {
    rows_.push_back({heading, "", Colour::kStrong, true});
}

std::string Rows::Text(const Terminal& terminal) const {
    size_t widest = 0;
    for (const Row& row : rows_) {
        if (!row.is_heading) widest = std::max(widest, Columns(row.label));
    }
    const auto width = static_cast<size_t>(terminal.width);
    const bool is_narrow = width > 0 && (width < kNarrow || width < widest + kNarrow / 2);
    const size_t column = is_narrow ? kTableIndent : widest + 2;
    const size_t room = width == 0 ? 0 : width > column ? width - column : 1;
    std::string text;
    for (const Row& row : rows_) {
        if (row.is_heading) {
            if (!text.empty()) text += "\n";
            if (!row.label.empty()) text += Paint(terminal, row.colour, row.label) + "\n";
            continue;
        }
        const std::vector<std::string> lines = Wrap(row.text, room);
        text += row.label;
        text += is_narrow ? "\n" + std::string(column, ' ') : std::string(column - Columns(row.label), ' ');
        for (size_t i = 0; i < lines.size(); ++i) {
            if (i > 0) text += std::string(column, ' ');
            text += Paint(terminal, row.colour, lines[i]) + "\n";
        }
    }
    return text;
}

}  // namespace ctl
