// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <map>
#include <memory>
#include <string>

#include "support/desktop_rig/rig_program.h"

namespace lumivastor {

/// A Wayland desktop for one test (Weston without a screen) and the X server for X11 programs on it (Xwayland). Its
/// sockets are in a temporary folder and it takes the next free display number, so any number of rigs can run at once.
/// Destruction ends everything. One thread.
class XwaylandRig {
  public:
    /// Returns when it is ready. Throws std::runtime_error that says what is missing.
    XwaylandRig();
    ~XwaylandRig();
    XwaylandRig(const XwaylandRig&) = delete;
    XwaylandRig& operator=(const XwaylandRig&) = delete;

    /// The X server's name for DISPLAY.
    const std::string& displayName() const { return displayName_; }
    /// The environment of a program in such a session.
    std::map<std::string, std::string> environment() const;

  private:
    void startCompositor();
    void startServer();

    std::string folder_;
    std::unique_ptr<RigProgram> compositor_;
    std::unique_ptr<RigProgram> server_;
    std::string displayName_;
};

}  // namespace lumivastor
