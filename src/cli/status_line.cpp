// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/status_line.h"

#include <unistd.h>

#include <ostream>

namespace lumivastor::cli {

StatusLine::StatusLine(std::ostream& err) : err_(err), isTerminal_(isatty(STDERR_FILENO) == 1) {}

StatusLine::~StatusLine() {
    clear();
}

void StatusLine::clear() {
    if (isTerminal_) err_ << "\r\x1b[K" << std::flush;
}

void StatusLine::show(const std::string& text) {
    if (isTerminal_) err_ << "\r" << text << "\x1b[K" << std::flush;
}

void StatusLine::say(const std::string& sentence) {
    clear();
    err_ << sentence << "\n" << std::flush;
}

}  // namespace lumivastor::cli
