// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <iosfwd>
#include <string>

namespace lumivastor::cli {

/// One line of a terminal that is written again and again, and nothing on anything else. One thread at a time.
class StatusLine {
  public:
    /// Writes to `err` when standard error is a terminal.
    explicit StatusLine(std::ostream& err);
    /// Clears the line.
    ~StatusLine();
    StatusLine(const StatusLine&) = delete;
    StatusLine& operator=(const StatusLine&) = delete;

    void show(const std::string& text);
    /// A sentence that stays, above the line; also where there is no terminal.
    void say(const std::string& sentence);

  private:
    void clear();

    std::ostream& err_;
    bool isTerminal_;
};

}  // namespace lumivastor::cli
