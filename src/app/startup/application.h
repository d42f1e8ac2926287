// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace lumivastor::app {

/// Runs the desktop application until it is quit; returns the program's exit status. The command line is that of
/// `main`: see `CommandSwitches`. Called on the main thread, before any other thread exists.
int runApplication(int argc, char** argv);

}  // namespace lumivastor::app
