// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "support/child_process.h"
#include "support/portal_standin.h"
#include "support/sound_rig.h"
#include "support/temporary_folder.h"
#include "support/wayland_rig/bus_client.h"

namespace lumivastor {

/// A GNOME desktop for one trial: gnome-shell without a graphics card, screen or input device, with its portal, message
/// buses and PipeWire server. It draws in software, so the screen is small. One thread.
class GnomeRig {
  public:
    struct Options {
        int width = 1280;
        int height = 300;
    };

    /// Returns when the portal answers and the empty desktop is shown. Throws std::runtime_error that says what is
    /// missing.
    explicit GnomeRig(const Options& options);
    GnomeRig() : GnomeRig(Options{}) {}
    ~GnomeRig();
    GnomeRig(const GnomeRig&) = delete;
    GnomeRig& operator=(const GnomeRig&) = delete;

    /// What programs need to find this desktop.
    std::map<std::string, std::string> environment() const;
    /// The compositor's socket, as for WAYLAND_DISPLAY; an absolute path.
    std::string display() const;

    /// Moves the pointer to a pixel of the screen. Returns the host time just before.
    double movePointer(double x, double y);
    void click(double x, double y);

    /// Whether the portal's dialog is open.
    bool hasDialog();
    /// Waits for the portal's dialog, chooses the first screen or window in its list and shares it. Returns when the
    /// dialog has gone. Throws std::runtime_error when none comes.
    void share() { answerDialog(true); }
    /// The same with its button to cancel.
    void refuse() { answerDialog(false); }
    /// Whether the part of the portal that shows the dialog is alive. That of GNOME 43 does not survive everything.
    bool isPortalRunning() { return backend_->isRunning(); }
    /// Ends all sharing, as the button in the desktop's bar does. The pointer cannot be moved afterwards.
    void stopSharing();

    /// Gives the window with that title a place and a size.
    void placeWindow(const std::string& title, int x, int y, int width, int height);
    void closeWindow(const std::string& title);
    void killShell();

  private:
    void start(const Options& options);
    void end();
    void startShell(const Options& options);
    void startPortal();
    void startPointer();
    void answerDialog(bool shares);
    std::string dialogFrame();
    void pressButton(bool isDown);
    /// Runs a script in gnome-shell and returns what it makes, as text.
    std::string evaluate(const std::string& script);

    TemporaryFolder folder_;
    PipeWireRig pipeWire_;
    BusRig systemBus_;
    BusRig bus_;
    std::unique_ptr<ChildProcess> shell_;
    std::unique_ptr<ChildProcess> permissions_;
    std::unique_ptr<ChildProcess> backend_;
    std::unique_ptr<ChildProcess> portal_;
    std::unique_ptr<BusClient> client_;
    BusObject input_;     // a session of the compositor's own that injects input
    std::string stream_;  // whose pixels positions are in
};

}  // namespace lumivastor
