// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <iosfwd>
#include <string>

namespace lumivastor::cli {

/// One line of a terminal that is overwritten again and again; silent if standard error is no terminal. One thread at a
/// time.
class StatusLine {
  public:
    /// Writes to `err` when standard error is a terminal.
    explicit StatusLine(std::ostream& err);
    /// Clears the line.
    ~StatusLine();
    StatusLine(const StatusLine&) = delete;
    StatusLine& operator=(const StatusLine&) = delete;

    void show(const std::string& text);
    /// Prints a permanent sentence above the line, also without a terminal.
    void say(const std::string& sentence);

  private:
    void clear();

    std::ostream& err_;
    bool isTerminal_;
};

}  // namespace lumivastor::cli
