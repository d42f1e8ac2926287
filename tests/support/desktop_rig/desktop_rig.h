// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "support/desktop_rig/rig_program.h"

struct xcb_connection_t;

namespace lumivastor {

struct RigMonitor {
    std::string name;
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    bool isPrimary = false;
};

/// A test's own display server, with a window manager if requested; both end with the object. It keeps one connection
/// for changes to the whole desktop. One thread.
class DesktopRig {
  public:
    struct Options {
        int width = 1280;
        int height = 800;
        bool hasWindowManager = false;
    };
    explicit DesktopRig(const Options& options);
    DesktopRig() : DesktopRig(Options{}) {}
    ~DesktopRig();
    DesktopRig(const DesktopRig&) = delete;
    DesktopRig& operator=(const DesktopRig&) = delete;

    /// The value for DISPLAY.
    const std::string& displayName() const { return displayName_; }
    xcb_connection_t* connection() const { return connection_; }
    std::uint32_t root() const { return root_; }
    pid_t serverProcess() const { return server_->id(); }

    /// Splits the screen into these monitors; the first of them takes the place of the screen's own.
    void setMonitors(const std::vector<RigMonitor>& monitors);
    void removeMonitor(const std::string& name);
    /// Gives a monitor another place or size, without a moment in which the desktop lacks it. Not for the first one.
    void moveMonitor(const RigMonitor& monitor);
    /// Sets Xft.dpi in the resource database, as desktops do.
    void setDotsPerInch(int dotsPerInch);
    /// Changes the size of the screen, as a change of resolution does. Not larger than at the start.
    void setScreenSize(int width, int height);
    /// Paints the background in one colour, 0xRRGGBB. With `leavesPixmap` it leaves the pixmap for other programs, as
    /// programs for backgrounds do.
    void paintRoot(std::uint32_t color, bool leavesPixmap = false);
    /// Kills the server, like a crash. No other server gets its number while the rig lives.
    void killServer();

    /// Returns when the server has processed all requests of this connection.
    void sync() const;

  private:
    void startServer(const Options& options);
    void startManager();

    std::string folder_;  // of the window manager
    std::unique_ptr<RigProgram> server_;
    std::unique_ptr<RigProgram> manager_;
    int number_ = -1;
    bool holdsNumber_ = false;  // of a killed server
    std::string displayName_;
    xcb_connection_t* connection_ = nullptr;
    std::uint32_t root_ = 0;
};

}  // namespace lumivastor
