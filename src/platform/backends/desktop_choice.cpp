// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/backends/desktop_choice.h"

#include <cstdlib>

#include "base/recorder_error.h"

namespace lumivastor::platform {

SessionEnvironment SessionEnvironment::read() {
    const auto value = [](const char* name) {
        const char* const text = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): said in the header
        return std::string(text == nullptr ? "" : text);
    };
    return {value("LUMIVASTOR_DESKTOP"),     value("WAYLAND_DISPLAY"),
            value("XDG_SESSION_TYPE"),       value("DISPLAY"),
            value("XDG_CONFIG_HOME"),        value("HOME"),
            value("LUMIVASTOR_TEST_POINTER")};
}

DesktopBackend chooseDesktop(const SessionEnvironment& environment, const std::function<bool()>& portalShares) {
    if (environment.wish == "x11") return DesktopBackend::x11;
    if (environment.wish == "wayland") return DesktopBackend::wayland;
    if (!environment.wish.empty()) {
        throw RecorderError("LUMIVASTOR_DESKTOP ist „x11“ oder „wayland“, nicht „" + environment.wish + "“.");
    }
    const bool isWayland = !environment.waylandDisplay.empty() || environment.sessionType == "wayland";
    if (!isWayland) return DesktopBackend::x11;
    // Without a portal the windows of X11 programs are left, where there is a server for them.
    return environment.x11Display.empty() || portalShares() ? DesktopBackend::wayland : DesktopBackend::x11;
}

std::filesystem::path preferencesFolder(const SessionEnvironment& environment) {
    const bool isSet = environment.configHome.starts_with('/');
    return std::filesystem::path(isSet ? environment.configHome : environment.home + "/.config") / "LumiVastor";
}

}  // namespace lumivastor::platform
