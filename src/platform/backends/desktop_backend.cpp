// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/backends/desktop_backend.h"

#include <utility>

#include "platform/backends/desktop_choice.h"
#include "platform/input/event_pipe.h"
#include "platform/input/libinput_devices.h"
#include "platform/wayland/wayland_desktop.h"
#include "platform/x11/compositing.h"
#include "platform/x11/x11_desktop.h"

namespace lumivastor::platform {

std::unique_ptr<Desktop> openDesktop(std::shared_ptr<SoundSystem> sound) {
    const SessionEnvironment environment = SessionEnvironment::read();
    if (chooseDesktop(environment, [] { return wayland::canShareScreens(); }) == DesktopBackend::x11) {
        return x11::openX11Desktop(std::move(sound));
    }
    wayland::WaylandDesktopOptions options;
    options.tokenFolder = preferencesFolder(environment);
    options.pointerDevices =
        environment.testPointer.empty() ? openPointerDevices() : openEventPipe(environment.testPointer);
    return wayland::openWaylandDesktop(std::move(sound), std::move(options));
}

bool canShowTranslucentWindows() {
    return x11::hasCompositingManager();
}

}  // namespace lumivastor::platform
