// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace lumivastor::media {

/// Whether each track of an open file says its number, and no fragment lies where only a track may lie. FFmpeg must not
/// see other files: for each run of samples in a fragment it counts from an error's number up to zero when a track has
/// no number, which takes a second each. Reads the headers of the boxes as leniently as FFmpeg does: what claims to
/// reach beyond its parent ends with it. Does not move the file's position.
bool tracksAreNumbered(int file, std::uint64_t fileSize);

}  // namespace lumivastor::media
