// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace lumivastor {

/// The size of a picture, a canvas or a view in whole pixels, never negative. A side is 0 where nothing is left of a
/// picture or its size is not known.
struct PixelSize {
    int width = 0;
    int height = 0;

    bool operator==(const PixelSize&) const = default;
};

}  // namespace lumivastor
