// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "model/capture_info.h"
#include "model/pointer_track.h"

namespace lumivastor {

/// The documents of twelve and a half seconds of a 1920x1080 display, with one click: at 5 s, on 480, 270.
inline model::CaptureInfo oneClickCapture() {
    model::CaptureInfo info;
    info.createdAt = "2024-05-01T09:30:12Z";
    info.pixelWidth = 1920;
    info.pixelHeight = 1080;
    info.duration = 12.5;
    info.sourceKind = "display";
    return info;
}

inline model::PointerTrack oneClickTrack() {
    model::PointerTrack track;
    track.events = {{0, 10, 20, 0, 0, model::PointerKind::move, {}, {}, {}},
                    {5, 480, 270, 0.25, 0.25, model::PointerKind::down, model::PointerButton::left, {}, {}},
                    {12, 480, 270, 0.25, 0.25, model::PointerKind::move, {}, {}, {}}};
    return track;
}

}  // namespace lumivastor
