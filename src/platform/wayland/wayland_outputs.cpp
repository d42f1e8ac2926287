// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/wayland/wayland_outputs.h"

#include <wayland-client.h>
#include <xdg-output-unstable-v1-client-protocol.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <deque>

#include "base/host_clock.h"
#include "platform/wayland/wayland_events.h"

namespace lumivastor::wayland {
namespace {

constexpr double kAnswerSeconds = 1;
// Names came with these versions.
constexpr std::uint32_t kOutputVersion = 4;
constexpr std::uint32_t kManagerVersion = 2;

// A screen as its events describe it.
struct Described {
    wl_output* output = nullptr;
    zxdg_output_v1* logical = nullptr;
    std::string name;
    PixelSize mode;
    std::int32_t transform = WL_OUTPUT_TRANSFORM_NORMAL;
    std::int32_t wholeScale = 1;
    Point corner;
    std::optional<Size> logicalSize;

    Output asOutput() const {
        // Odd transforms are those by a quarter turn.
        const bool isTurned = (transform & 1) != 0;
        const PixelSize pixels = isTurned ? PixelSize{mode.height, mode.width} : mode;
        const Size size = logicalSize.value_or(
            Size{static_cast<double>(pixels.width) / wholeScale, static_cast<double>(pixels.height) / wholeScale});
        return {name, pixels, {corner.x, corner.y, size.width, size.height}};
    }
};

const wl_output_listener kOutputEvents{
    .geometry =
        [](void* data, wl_output*, std::int32_t x, std::int32_t y, std::int32_t, std::int32_t, std::int32_t,
           const char*, const char*, std::int32_t transform) {
            auto& own = *static_cast<Described*>(data);
            own.corner = {static_cast<double>(x), static_cast<double>(y)};
            own.transform = transform;
        },
    .mode =
        [](void* data, wl_output*, std::uint32_t flags, std::int32_t width, std::int32_t height, std::int32_t) {
            if ((flags & WL_OUTPUT_MODE_CURRENT) != 0) static_cast<Described*>(data)->mode = {width, height};
        },
    .done = [](void*, wl_output*) {},
    .scale = [](void* data, wl_output*,
                std::int32_t factor) { static_cast<Described*>(data)->wholeScale = std::max(factor, 1); },
    .name = [](void* data, wl_output*, const char* name) { static_cast<Described*>(data)->name = name; },
    .description = [](void*, wl_output*, const char*) {},
};

const zxdg_output_v1_listener kLogicalEvents{
    .logical_position =
        [](void* data, zxdg_output_v1*, std::int32_t x, std::int32_t y) {
            static_cast<Described*>(data)->corner = {static_cast<double>(x), static_cast<double>(y)};
        },
    .logical_size =
        [](void* data, zxdg_output_v1*, std::int32_t width, std::int32_t height) {
            static_cast<Described*>(data)->logicalSize = Size{static_cast<double>(width), static_cast<double>(height)};
        },
    .done = [](void*, zxdg_output_v1*) {},
    .name = [](void* data, zxdg_output_v1*, const char* name) { static_cast<Described*>(data)->name = name; },
    .description = [](void*, zxdg_output_v1*, const char*) {},
};

// The compositor's global objects, as far as they are about screens.
struct Globals {
    std::deque<Described> outputs;  // listeners hold pointers to them
    zxdg_output_manager_v1* manager = nullptr;

    void add(wl_registry* registry, std::uint32_t name, const char* interface, std::uint32_t version) {
        if (std::strcmp(interface, wl_output_interface.name) == 0) {
            Described& own = outputs.emplace_back();
            own.output = static_cast<wl_output*>(
                wl_registry_bind(registry, name, &wl_output_interface, std::min(version, kOutputVersion)));
            wl_output_add_listener(own.output, &kOutputEvents, &own);
        } else if (std::strcmp(interface, zxdg_output_manager_v1_interface.name) == 0) {
            manager = static_cast<zxdg_output_manager_v1*>(wl_registry_bind(
                registry, name, &zxdg_output_manager_v1_interface, std::min(version, kManagerVersion)));
        }
    }

    void askForLogicalFrames() {
        if (manager == nullptr) return;
        for (Described& own : outputs) {
            own.logical = zxdg_output_manager_v1_get_xdg_output(manager, own.output);
            zxdg_output_v1_add_listener(own.logical, &kLogicalEvents, &own);
        }
    }
};

const wl_registry_listener kRegistryEvents{
    .global = [](void* data, wl_registry* registry, std::uint32_t name, const char* interface,
                 std::uint32_t version) { static_cast<Globals*>(data)->add(registry, name, interface, version); },
    .global_remove = [](void*, wl_registry*, std::uint32_t) {},
};

}  // namespace

std::vector<Output> readOutputs(const std::string& display) {
    const WaylandConnection connection = connectWayland(display);
    if (!connection) return {};
    const double until = hostClockSeconds() + kAnswerSeconds;
    Globals globals;
    wl_registry* const registry = wl_display_get_registry(connection.get());
    wl_registry_add_listener(registry, &kRegistryEvents, &globals);
    bool answers = roundtrip(connection.get(), until);
    globals.askForLogicalFrames();
    answers = answers && roundtrip(connection.get(), until);
    std::vector<Output> outputs;
    for (const Described& own : globals.outputs) {
        if (answers && own.mode.width > 0 && own.mode.height > 0) outputs.push_back(own.asOutput());
        if (own.logical != nullptr) zxdg_output_v1_destroy(own.logical);
        wl_output_destroy(own.output);
    }
    if (globals.manager != nullptr) zxdg_output_manager_v1_destroy(globals.manager);
    wl_registry_destroy(registry);
    return outputs;
}

}  // namespace lumivastor::wayland
