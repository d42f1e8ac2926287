// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <iosfwd>
#include <span>
#include <string>

namespace lumivastor::cli {

/// Whether this command line (without the program's name) is one of the desktop application: nothing, or its switches.
bool startsApplication(std::span<const std::string> words);

/// Runs the program's command line. `words` are the arguments without the program's own name. Returns the exit
/// status: 0 done, 1 the job failed (the error stream ends with the error's sentence, and with --json `out` holds it
/// as a document), 2 wrong usage.
int runCommandLine(std::span<const std::string> words, std::ostream& out, std::ostream& err);

}  // namespace lumivastor::cli
