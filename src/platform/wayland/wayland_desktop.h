// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "platform/desktop.h"
#include "platform/input/pointer_devices.h"
#include "platform/sound_system.h"

namespace lumivastor::wayland {

struct WaylandDesktopOptions {
    /// The message bus of the session; empty: as the environment says.
    std::string busAddress;
    /// The compositor; empty: as the environment says.
    std::string display;
    /// Where the permissions that can be restored are kept; empty: nowhere.
    std::filesystem::path tokenFolder;
    /// Where clicks and scrolling come from; null: they are not seen.
    std::shared_ptr<platform::PointerDevices> pointerDevices = nullptr;
};

/// Whether this session's portal can share screens. False also without a message bus, or when the portal does not
/// answer within some seconds.
bool canShareScreens(const std::string& busAddress = "");

/// A desktop that is recorded through its portal: its own dialog chooses (see `ContentPicker`), its content is what was
/// granted last. `sound` may be null if no stream will record sound. Throws `RecorderError` without a message bus.
std::unique_ptr<platform::Desktop> openWaylandDesktop(std::shared_ptr<platform::SoundSystem> sound,
                                                      WaylandDesktopOptions options);

}  // namespace lumivastor::wayland
