// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <span>
#include <vector>

#include "base/interval.h"
#include "media/reading/key_pictures.h"

namespace lumivastor::render {

/// The stretches of at least half a second in which a movie's picture does not change, by its index alone. A recording
/// of a screen has pictures only where something changed, and, while nothing does, one a second that repeats the last.
///
/// A sample is such a repeat if it is tiny (repeats have 10 to 20 bytes, a letter has at least 100), or if it comes one
/// second after its predecessor and is a key picture or has less than half the bytes of the last one: encoders without
/// repeats, and all encoders behind a key picture or a large change, use the time to sharpen what they have. Something
/// that changes once a second, such as a clock, counts as still, too. A caret that blinks does not: it cannot be told
/// from slow typing. The last stretch ends with the movie, at `end` seconds.
std::vector<Interval> stillStretches(std::span<const media::IndexedSample> samples, double end);

}  // namespace lumivastor::render
