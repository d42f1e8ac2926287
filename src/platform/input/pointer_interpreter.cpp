// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/input/pointer_interpreter.h"

#include <algorithm>
#include <utility>

namespace lumivastor::platform {
namespace {

constexpr int kLeft = 1;
constexpr int kRight = 3;

bool isWheel(int meaning) {
    return meaning >= 4 && meaning <= 7;
}

PointerEventType pressType(int meaning) {
    if (meaning == kLeft) return PointerEventType::leftMouseDown;
    return meaning == kRight ? PointerEventType::rightMouseDown : PointerEventType::otherMouseDown;
}

PointerEventType releaseType(int meaning) {
    if (meaning == kLeft) return PointerEventType::leftMouseUp;
    return meaning == kRight ? PointerEventType::rightMouseUp : PointerEventType::otherMouseUp;
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

PointerEventType PointerInterpreter::motionType() const {
    if (held_.empty()) return PointerEventType::mouseMoved;
    if (held_.front() == kLeft) return PointerEventType::leftMouseDragged;
    return held_.front() == kRight ? PointerEventType::rightMouseDragged : PointerEventType::otherMouseDragged;
}

std::optional<PointerEvent> PointerInterpreter::interpret(const RawPointerEvent& raw) {
    const bool moved = raw.pixel && *raw.pixel != pixel_;
    if (raw.pixel) pixel_ = *raw.pixel;
    PointerEvent event;
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
            event.type = PointerEventType::scrollWheel;
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

}  // namespace lumivastor::platform
