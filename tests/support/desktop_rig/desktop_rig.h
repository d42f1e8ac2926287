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

/// A display server for one test, with a window manager on request. Destruction ends all of it. It has one connection
/// for what tests do to the whole desktop. One thread.
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

    /// The server's name for DISPLAY.
    const std::string& displayName() const { return displayName_; }
    xcb_connection_t* connection() const { return connection_; }
    std::uint32_t root() const { return root_; }
    pid_t serverProcess() const { return server_->id(); }

    /// Splits the screen into these monitors; the first of them takes over the screen's own.
    void setMonitors(const std::vector<RigMonitor>& monitors);
    void removeMonitor(const std::string& name);
    /// Gives a monitor, but not the first one, another place or size. Clients never see the desktop without it.
    void moveMonitor(const RigMonitor& monitor);
    /// Sets Xft.dpi in the resource database, as desktops do.
    void setDotsPerInch(int dotsPerInch);
    /// Changes the size of the screen like a change of resolution. Not larger than at the start.
    void setScreenSize(int width, int height);
    /// Paints the background in one colour, 0xRRGGBB. With `leavesPixmap` as programs for backgrounds do, which leave
    /// the picture for others.
    void paintRoot(std::uint32_t color, bool leavesPixmap = false);
    /// Ends the server at once, like a crash. No other server gets its number while the rig lives.
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
    bool holdsNumber_ = false;  // of a server that was killed
    std::string displayName_;
    xcb_connection_t* connection_ = nullptr;
    std::uint32_t root_ = 0;
};

/// Waits until the condition is true; returns false after a time that only a broken machine needs.
bool waitFor(const std::function<bool()>& isSo);

}  // namespace lumivastor
