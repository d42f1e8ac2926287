// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/pointer_interpreter.h"

#include <algorithm>

namespace lumivastor::x11 {
namespace {

constexpr int kLeft = 1;
constexpr int kRight = 3;

bool isWheel(int meaning) {
    return meaning >= 4 && meaning <= 7;
}

platform::PointerEventType pressType(int meaning) {
    if (meaning == kLeft) return platform::PointerEventType::leftMouseDown;
    return meaning == kRight ? platform::PointerEventType::rightMouseDown : platform::PointerEventType::otherMouseDown;
}

platform::PointerEventType releaseType(int meaning) {
    if (meaning == kLeft) return platform::PointerEventType::leftMouseUp;
    return meaning == kRight ? platform::PointerEventType::rightMouseUp : platform::PointerEventType::otherMouseUp;
}

}  // namespace

void PointerInterpreter::begin(Point pixel, std::span<const int> held) {
    pixel_ = pixel;
    held_.assign(held.begin(), held.end());
}

int PointerInterpreter::meaningOf(int button) const {
    if (button >= 1 && static_cast<std::size_t>(button) <= mapping_.size()) {
        return mapping_[static_cast<std::size_t>(button) - 1];
    }
    return button;
}

platform::PointerEventType PointerInterpreter::motionType() const {
    if (held_.empty()) return platform::PointerEventType::mouseMoved;
    if (held_.front() == kLeft) return platform::PointerEventType::leftMouseDragged;
    return held_.front() == kRight ? platform::PointerEventType::rightMouseDragged
                                   : platform::PointerEventType::otherMouseDragged;
}

std::optional<platform::PointerEvent> PointerInterpreter::interpret(const RawPointerEvent& raw) {
    const bool moved = raw.pixel && *raw.pixel != pixel_;
    if (raw.pixel) pixel_ = *raw.pixel;
    platform::PointerEvent event;
    event.hostSeconds = raw.hostSeconds;
    event.location = space_.pointFromPixel(pixel_);
    switch (raw.kind) {
        case RawPointerEvent::Kind::motion:
            // The first event gives the position, even when the pointer has not moved since.
            if (!moved && std::exchange(isPlaced_, true)) return std::nullopt;
            isPlaced_ = true;
            event.type = motionType();
            return event;
        case RawPointerEvent::Kind::scroll:
            if (raw.notchesX == 0 && raw.notchesY == 0) return std::nullopt;
            event.type = platform::PointerEventType::scrollWheel;
            event.scrollingDeltaX = raw.notchesX;
            event.scrollingDeltaY = raw.notchesY;
            return event;
        case RawPointerEvent::Kind::press:
        case RawPointerEvent::Kind::release:
            break;
    }
    const int meaning = meaningOf(raw.button);
    if (meaning == 0 || isWheel(meaning)) return std::nullopt;
    std::erase(held_, meaning);
    if (raw.kind == RawPointerEvent::Kind::press) {
        held_.push_back(meaning);
        event.type = pressType(meaning);
    } else {
        event.type = releaseType(meaning);
    }
    return event;
}

std::optional<RawPointerEvent> PointerInterpreter::wheelPress(int button, double hostSeconds) const {
    RawPointerEvent raw;
    raw.kind = RawPointerEvent::Kind::scroll;
    raw.hostSeconds = hostSeconds;
    switch (meaningOf(button)) {
        case 4:
            raw.notchesY = 1;
            return raw;
        case 5:
            raw.notchesY = -1;
            return raw;
        case 6:
            raw.notchesX = 1;
            return raw;
        case 7:
            raw.notchesX = -1;
            return raw;
        default:
            return std::nullopt;
    }
}

std::pair<double, double> ScrollAxes::notches(int device, std::span<const std::pair<int, double>> valuators) const {
    const auto found = devices_.find(device);
    if (found == devices_.end()) return {0, 0};
    double right = 0;
    double down = 0;
    for (const auto& [number, value] : valuators) {
        for (const Axis& axis : found->second) {
            if (axis.number != number || axis.increment == 0) continue;
            (axis.isHorizontal ? right : down) += value / axis.increment;
        }
    }
    return {right, down};
}

}  // namespace lumivastor::x11
