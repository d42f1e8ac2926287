// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "model/pointer_track.h"

namespace lumivastor {

/// A pointer event at `t` seconds and a pixel of the picture; its fractions of the picture stay 0.
inline model::PointerSample event(double t, double px, double py, model::PointerKind kind = model::PointerKind::move) {
    model::PointerSample sample;
    sample.t = t;
    sample.px = px;
    sample.py = py;
    sample.kind = kind;
    return sample;
}

inline model::PointerSample press(double t, double px, double py) {
    model::PointerSample sample = event(t, px, py, model::PointerKind::down);
    sample.button = model::PointerButton::left;
    return sample;
}

}  // namespace lumivastor
