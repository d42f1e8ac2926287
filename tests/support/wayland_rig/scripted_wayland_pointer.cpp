// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/wayland_rig/scripted_wayland_pointer.h"

#include <linux/input-event-codes.h>
#include <wayland-client.h>

#include <array>
#include <cmath>
#include <cstring>
#include <stdexcept>

#include "base/host_clock.h"

namespace lumivastor {
namespace {

// wlroots' protocol extension for pointers without a device, as far as it is used here.
constexpr std::uint32_t kManagerCreate = 0;  // for a seat or any; new pointer
constexpr std::uint32_t kPointerMotionAbsolute = 1;
constexpr std::uint32_t kPointerButton = 2;
constexpr std::uint32_t kPointerFrame = 4;
constexpr std::uint32_t kPointerDestroy = 8;

extern const wl_interface kPointerInterface;
std::array<const wl_interface*, 2> createTypes{&wl_seat_interface, &kPointerInterface};
std::array<const wl_interface*, 5> plainTypes{};
constexpr std::array kManagerRequests{wl_message{"create_virtual_pointer", "?on", createTypes.data()},
                                      wl_message{"destroy", "", plainTypes.data()}};
constexpr std::array kPointerRequests{
    wl_message{"motion", "uff", plainTypes.data()},   wl_message{"motion_absolute", "uuuuu", plainTypes.data()},
    wl_message{"button", "uuu", plainTypes.data()},   wl_message{"axis", "uuf", plainTypes.data()},
    wl_message{"frame", "", plainTypes.data()},       wl_message{"axis_source", "u", plainTypes.data()},
    wl_message{"axis_stop", "uu", plainTypes.data()}, wl_message{"axis_discrete", "uufi", plainTypes.data()},
    wl_message{"destroy", "", plainTypes.data()}};
const wl_interface kManagerInterface{"zwlr_virtual_pointer_manager_v1", 1, static_cast<int>(kManagerRequests.size()),
                                     kManagerRequests.data(),           0, nullptr};
const wl_interface kPointerInterface{"zwlr_virtual_pointer_v1", 1, static_cast<int>(kPointerRequests.size()),
                                     kPointerRequests.data(),   0, nullptr};

// The compositor's unit is a fraction of the desktop.
constexpr double kSteps = 16;

std::uint32_t now() {
    return static_cast<std::uint32_t>(static_cast<std::uint64_t>(hostClockSeconds() * 1000));
}

}  // namespace

class ScriptedWaylandPointer::Impl {
  public:
    Impl(const std::string& display, int width, int height)
        : width_(width), height_(height), display_(wl_display_connect(display.c_str())) {
        if (display_ == nullptr) throw std::runtime_error("no compositor at " + display);
        static constexpr wl_registry_listener kRegistry{
            .global =
                [](void* data, wl_registry* registry, std::uint32_t name, const char* interface, std::uint32_t) {
                    auto& own = *static_cast<Impl*>(data);
                    if (std::strcmp(interface, kManagerInterface.name) != 0) return;
                    own.manager_ = static_cast<wl_proxy*>(wl_registry_bind(registry, name, &kManagerInterface, 1));
                },
            .global_remove = [](void*, wl_registry*, std::uint32_t) {}};
        registry_ = wl_display_get_registry(display_);
        wl_registry_add_listener(registry_, &kRegistry, this);
        wl_display_roundtrip(display_);
        if (manager_ == nullptr) throw std::runtime_error("the compositor has no pointers without a device");
        pointer_ = wl_proxy_marshal_flags(manager_, kManagerCreate, &kPointerInterface, 1, 0, nullptr, nullptr);
        wl_display_roundtrip(display_);
    }
    ~Impl() {
        wl_proxy_marshal_flags(pointer_, kPointerDestroy, nullptr, 1, WL_MARSHAL_FLAG_DESTROY);
        wl_proxy_destroy(manager_);
        wl_registry_destroy(registry_);
        wl_display_disconnect(display_);
    }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    void moveTo(double x, double y) {
        wl_proxy_marshal_flags(
            pointer_, kPointerMotionAbsolute, nullptr, 1, 0, now(), static_cast<std::uint32_t>(std::lround(x * kSteps)),
            static_cast<std::uint32_t>(std::lround(y * kSteps)), static_cast<std::uint32_t>(width_ * kSteps),
            static_cast<std::uint32_t>(height_ * kSteps));
        frame();
    }
    void button(bool isPressed) {
        wl_proxy_marshal_flags(pointer_, kPointerButton, nullptr, 1, 0, now(), static_cast<std::uint32_t>(BTN_LEFT),
                               static_cast<std::uint32_t>(isPressed ? 1 : 0));
        frame();
    }

  private:
    void frame() {
        wl_proxy_marshal_flags(pointer_, kPointerFrame, nullptr, 1, 0);
        if (wl_display_roundtrip(display_) < 0) throw std::runtime_error("the compositor is gone");
    }

    const int width_;
    const int height_;
    wl_display* const display_;
    wl_registry* registry_ = nullptr;
    wl_proxy* manager_ = nullptr;
    wl_proxy* pointer_ = nullptr;
};

ScriptedWaylandPointer::ScriptedWaylandPointer(const std::string& display, int width, int height)
    : impl_(std::make_unique<Impl>(display, width, height)) {}

ScriptedWaylandPointer::~ScriptedWaylandPointer() = default;

void ScriptedWaylandPointer::moveTo(double x, double y) {
    impl_->moveTo(x, y);
}

void ScriptedWaylandPointer::press() {
    impl_->button(true);
}

void ScriptedWaylandPointer::release() {
    impl_->button(false);
}

}  // namespace lumivastor
