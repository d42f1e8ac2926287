// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <map>
#include <memory>
#include <string>

#include "support/desktop_rig/rig_program.h"

namespace lumivastor {

/// A Wayland desktop of the test's own that nobody sees, and the X server for X11 programs on it: Weston without a
/// screen, and Xwayland. With sockets in a temporary folder and the next free display number, so that any number of
/// them run beside each other. Everything ends with the object. One thread.
class XwaylandRig {
  public:
    /// Started and ready. Throws std::runtime_error that says what is missing.
    XwaylandRig();
    ~XwaylandRig();
    XwaylandRig(const XwaylandRig&) = delete;
    XwaylandRig& operator=(const XwaylandRig&) = delete;

    /// Of the X server, as for DISPLAY.
    const std::string& displayName() const { return displayName_; }
    /// What programs of such a session find.
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
