// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <iosfwd>
#include <span>
#include <string>

namespace lumivastor::cli {

/// Whether this command line (without the program's name) starts the desktop application: it is empty or has the
/// application's switches.
bool startsApplication(std::span<const std::string> words);

/// Runs the program's command line. `words` are the arguments without the program's own name. Returns the exit status:
/// 0 done; 1 the job failed (its sentence is the last one on the error stream, and with --json `out` has it as a
/// document); 2 wrong usage.
int runCommandLine(std::span<const std::string> words, std::ostream& out, std::ostream& err);

}  // namespace lumivastor::cli
