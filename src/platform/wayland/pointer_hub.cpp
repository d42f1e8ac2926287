// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/wayland/pointer_hub.h"

#include <utility>

#include "base/host_clock.h"
#include "base/precondition.h"

namespace lumivastor::wayland {
class PointerHub::Monitor final : public platform::PointerMonitor {
  public:
    Monitor(PointerHub& hub, const platform::PointSpace& space, platform::PointerEventHandler handler)
        : hub_(hub), interpreter_(space), handler_(std::move(handler)) {
        const std::lock_guard hold(hub_.monitorLock_);
        precondition(hub_.monitor_ == nullptr, "one monitor at a time");
        hub_.monitor_ = this;
    }
    ~Monitor() override {
        hub_.deliver(hostClockSeconds() + PointerTimeline::kHold);
        const std::lock_guard hold(hub_.monitorLock_);
        hub_.monitor_ = nullptr;
    }
    Monitor(const Monitor&) = delete;
    Monitor& operator=(const Monitor&) = delete;

    void take(const platform::RawPointerEvent& raw) {
        if (const auto event = interpreter_.interpret(raw)) handler_(*event);
    }

  private:
    PointerHub& hub_;
    platform::PointerInterpreter interpreter_;
    const platform::PointerEventHandler handler_;
};

void PointerHub::report(const pipewire::CursorReport& report) {
    {
        const std::lock_guard hold(lock_);
        state_ = report.state;
        if (report.state != pipewire::CursorReport::State::gone) {
            timeline_.moved(report.hostSeconds, {origin_.x + report.x, origin_.y + report.y});
            if (report.newShape) {
                shape_ = report.newShape;
                ++serial_;
            }
            hotSpotX_ = report.hotSpotX;
            hotSpotY_ = report.hotSpotY;
        }
    }
    deliver(hostClockSeconds());
}

void PointerHub::expectActions() {
    const std::lock_guard hold(lock_);
    timeline_.expectActions();
}

void PointerHub::act(const platform::RawPointerEvent& event) {
    const std::lock_guard hold(lock_);
    timeline_.acted(event);
}

void PointerHub::handOn(double now) {
    deliver(now);
}

void PointerHub::deliver(double now) {
    const std::lock_guard holdMonitor(monitorLock_);
    std::vector<platform::RawPointerEvent> events;
    {
        const std::lock_guard hold(lock_);
        events = timeline_.take(now);
    }
    if (monitor_ == nullptr) return;
    for (const platform::RawPointerEvent& event : events) monitor_->take(event);
}

std::optional<Point> PointerHub::location() const {
    const std::lock_guard hold(lock_);
    if (state_ == pipewire::CursorReport::State::gone) return std::nullopt;
    return timeline_.position();
}

std::optional<platform::SystemCursor> PointerHub::cursor(std::optional<std::uint64_t> knownSerial) const {
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> shape;
    platform::SystemCursor cursor;
    {
        const std::lock_guard hold(lock_);
        if (state_ != pipewire::CursorReport::State::visible || !shape_) return std::nullopt;
        shape = shape_;
        cursor.serial = serial_;
        cursor.hotspotX = hotSpotX_;
        cursor.hotspotY = hotSpotY_;
    }
    if (knownSerial != cursor.serial) cursor.image = shape->copy();
    return cursor;
}

std::unique_ptr<platform::PointerMonitor> PointerHub::monitor(const platform::PointSpace& space,
                                                              platform::PointerEventHandler handler) {
    return std::make_unique<Monitor>(*this, space, std::move(handler));
}

}  // namespace lumivastor::wayland
