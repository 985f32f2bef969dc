// What is printed for people: how wide, with or without colour, and nothing that the terminal could take for
// a command. What is measured is characters, of one column each.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ctl {

struct Terminal {
    bool is_terminal = false;
    bool can_draw = false;  // it can be drawn upon; a dumb one takes line after line only
    bool has_colour = false;
    int width = 0;   // in columns; 0: as wide as it gets, since what reads it is no terminal
    int height = 0;  // in lines; 0: not known
};

/// An environment variable; empty when there is none.
std::string Environment(const char* name);

/// Of standard output. Colour only on a terminal that knows any, and not with NO_COLOR.
Terminal StandardOutput();

enum class Colour { kNone, kGood, kWarning, kBad, kFaint, kStrong };

/// `text`, in this colour where the terminal has any.
std::string Paint(const Terminal& terminal, Colour colour, const std::string& text);

/// Text of others, for a terminal: control characters and broken UTF-8 are shown as \n, \x1B and so on.
std::string Shown(std::string_view bytes);

/// How many columns a text takes.
size_t Columns(std::string_view text);

/// The words of `text` in lines of at most `width` columns, a longer word cut; 0 is no limit.
std::vector<std::string> Wrap(std::string_view text, size_t width);

/// Rows of a label and what it says, labels aligned. On a narrow terminal the text goes on below itself; on a
/// very narrow one it stands below its label.
class Rows {
  public:
    void Add(const std::string& label, const std::string& text, Colour colour = Colour::kNone);
    /// A blank line before the next row, and a heading if there is one.
    void Begin(const std::string& heading);
    std::string Text(const Terminal& terminal) const;

  private:
    struct Row {
        std::string label;
        std::string text;
        Colour colour;
        bool is_heading;
    };
    std::vector<Row> rows_;
};

}  // namespace ctl
