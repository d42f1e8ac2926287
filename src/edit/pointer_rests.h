// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "model/pointer_track.h"

namespace lumivastor::edit {

/// When a pause of the pointer counts as a rest. Distances are fractions of the source width.
struct RestRules {
    /// How long the pointer must stay, in seconds.
    double seconds = 0.4;
    /// How long where its shape became another one on the way: that shows that something can be clicked or typed there.
    double secondsAtNewShape = 0.25;
    /// How far it may move while it rests: 12 pixels of 1920, more than a hand on the mouse trembles.
    double radius = 0.006;
    /// How far it must have been from the last rest in between: 96 pixels of 1920, more than a shift of the hand.
    double travel = 0.05;
    /// Rests that begin so late belong to stopping the recording, as clicks do. Seconds before its end.
    double beforeEnd = 1;
};

/// Where the pointer came to rest after a move: what is known of a user's intentions when clicks are not. Each has the
/// time of the arrival and the place of the rest, in order of time. `duration` ends the last one, in seconds;
/// `sourceWidth` in pixels. Takes one pass over the events, however many they are.
std::vector<model::PointerSample> pointerRests(const model::PointerTrack& track, double duration, double sourceWidth,
                                               const RestRules& rules = {});

}  // namespace lumivastor::edit
