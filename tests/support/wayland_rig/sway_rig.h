// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/geometry.h"
#include "support/child_process.h"
#include "support/portal_standin.h"
#include "support/sound_rig.h"
#include "support/temporary_folder.h"

namespace lumivastor {

/// A Wayland desktop for one test: sway without a graphics card, screen or input device, with its portal, message bus
/// and PipeWire server. Its portal grants one screen without a dialog and never reports the pointer.
class SwayRig {
  public:
    struct Options {
        int width = 1280;
        int height = 720;
        double scale = 1;
        /// More of the compositor's configuration, such as the place of a second screen; lines.
        std::string more = {};
        int screens = 1;  // HEADLESS-1, HEADLESS-2...
        /// The screen that the portal grants.
        std::string granted = "HEADLESS-1";
    };

    /// Returns when the portal answers. Throws std::runtime_error that says what is missing.
    explicit SwayRig(const Options& options);
    SwayRig() : SwayRig(Options{}) {}
    ~SwayRig();

    /// What programs need to find this desktop, and nothing else.
    std::map<std::string, std::string> environment() const;
    std::string busAddress() const { return bus_.address(); }
    /// The compositor's socket, as for WAYLAND_DISPLAY; an absolute path.
    std::string display() const;
    const PipeWireRig& sound() const { return pipeWire_; }

    /// Gives the compositor a command of its own language ("output HEADLESS-1 scale 2"). Throws when it refuses.
    void command(const std::string& text);
    /// The place of a window's content, in points of the desktop; nullopt when no window has this title.
    std::optional<Rect> windowRect(const std::string& title) const;

    void killPortal();
    void killCompositor();
    void killPipeWire() { pipeWire_.kill(); }
    void killSessionManager() { pipeWire_.killSessionManager(); }

  private:
    std::string ask(const std::vector<std::string>& words) const;
    void startCompositor(const Options& options);
    void startPortal(const Options& options);

    TemporaryFolder folder_;
    PipeWireRig pipeWire_;
    BusRig bus_;
    std::unique_ptr<ChildProcess> compositor_;
    std::unique_ptr<ChildProcess> backend_;
    std::unique_ptr<ChildProcess> portal_;
};

}  // namespace lumivastor
