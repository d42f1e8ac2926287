// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace lumivastor::imaging {

/// Pixels in either direction, four times what the largest screens have: larger pictures are neither recorded nor
/// decoded, whatever a movie or a document says.
inline constexpr std::int64_t kMaxPictureEdge = 16384;
/// Pixels in all. Decoders keep more than a dozen pictures at a time.
inline constexpr std::int64_t kMaxPictureArea = kMaxPictureEdge * kMaxPictureEdge / 2;

/// Whether a movie's pictures may have this size in pixels.
constexpr bool isDecodablePictureSize(std::int64_t width, std::int64_t height) {
    return width >= 1 && height >= 1 && width <= kMaxPictureEdge && height <= kMaxPictureEdge &&
           width * height <= kMaxPictureArea;
}

}  // namespace lumivastor::imaging
