#pragma once

#include "model/pointer_track.h"

namespace lumivastor {

/// A pointer event at `t` seconds and a pixel of the picture; its fractions of the picture stay 0.
inline PointerSample event(double t, double px, double py, PointerKind kind = PointerKind::move) {
    PointerSample sample;
    sample.t = t;
    sample.px = px;
    sample.py = py;
    sample.kind = kind;
    return sample;
}

inline PointerSample press(double t, double px, double py) {
    PointerSample sample = event(t, px, py, PointerKind::down);
    sample.button = PointerButton::left;
    return sample;
}

}  // namespace lumivastor
