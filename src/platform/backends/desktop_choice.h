// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <functional>
#include <string>

namespace lumivastor::platform {

enum class DesktopBackend { x11, wayland };

/// What the environment says about the session.
struct SessionEnvironment {
    std::string wish;            // LUMIVASTOR_DESKTOP
    std::string waylandDisplay;  // WAYLAND_DISPLAY
    std::string sessionType;     // XDG_SESSION_TYPE
    std::string x11Display;      // DISPLAY
    std::string configHome;      // XDG_CONFIG_HOME
    std::string home;            // HOME
    std::string testPointer;     // LUMIVASTOR_TEST_POINTER

    /// Reads the environment; call it while no other thread changes that.
    static SessionEnvironment read();
};

/// Which backend records this session: the wish; else Wayland in a Wayland session whose portal shares screens, or that
/// has nothing else; else X11. `portalShares` may take seconds and is called only when it matters. Throws
/// `RecorderError` for a wish that is neither "x11" nor "wayland".
DesktopBackend chooseDesktop(const SessionEnvironment& environment, const std::function<bool()>& portalShares);

/// Where the program keeps what the user has decided: "LumiVastor" in the folder for configurations.
std::filesystem::path preferencesFolder(const SessionEnvironment& environment);

}  // namespace lumivastor::platform
