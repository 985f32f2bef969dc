// A page on the terminal that is drawn again and again, and left clean however that ends.
#pragma once

#include <string>

#include "tools/ctl/terminal.h"

namespace ctl {

/// While it lives, Ctrl-C and the like only make Wait return. On a terminal it takes the whole screen.
class Screen {
  public:
    explicit Screen(const Terminal& terminal);
    /// Gives the screen back; with a signal that ended it, the process ends by that signal then.
    ~Screen();
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    /// The page in place of the former one, cut at the height of the terminal.
    void Draw(const std::string& page, const Terminal& terminal);

    /// False: the user has had enough. A terminal that changes its size ends the wait early.
    static bool Wait(int milliseconds);

  private:
    bool is_drawn_on_;
};

}  // namespace ctl
