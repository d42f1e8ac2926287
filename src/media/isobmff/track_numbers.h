// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace lumivastor::media {

/// Whether each track of an open file states its number, and no fragment is where only a track may be. Other files must
/// not reach FFmpeg: if a track has no number, it counts from an error code up to zero for each run of samples in a
/// fragment, which takes a second each. Reads box headers as leniently as FFmpeg does: a box that claims to reach
/// beyond its parent ends with it. Does not move the file's position.
bool tracksAreNumbered(int file, std::uint64_t fileSize);

}  // namespace lumivastor::media
