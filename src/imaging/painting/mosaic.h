// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "imaging/mosaic_plan.h"
#include "imaging/painting/source_planes.h"
#include "imaging/pixel_buffer.h"
#include "imaging/yuv_picture.h"

// Areas of a picture as large squares, each of which shows the mean of its pixels. Coordinates are pixels of the
// picture with the origin at the bottom-left.

namespace lumivastor::imaging {

/// The squares of one area.
struct Mosaic {
    MosaicRect area;
    int columns = 0;
    int rows = 0;
    /// Blue, green, red and alpha with 8 bits of fraction; the bottom row first.
    std::vector<std::array<std::uint16_t, 4>> means;
    bool isOpaque = false;
};

/// The squares as a picture of one pixel each, the top row first. Those of `hidden` (columns and rows of squares) are
/// left 0, because something opaque covers them.
SourcePlanes planesOf(const Mosaic& mosaic, const MosaicRect& hidden = {});
/// The same as prepared layers are converted for a planar destination: `blue` holds luma without its offset, or `blue`
/// and `green` hold cb and cr around 128.
SourcePlanes lumaOf(const Mosaic& mosaic, const YuvEncoding& encoding, const MosaicRect& hidden = {});
SourcePlanes chromaOf(const Mosaic& mosaic, const YuvEncoding& encoding, const MosaicRect& hidden = {});

struct Mosaics {
    int side = 1;
    std::vector<Mosaic> areas;

    std::size_t squares() const;
    /// The squares of an area (columns and rows) that lie `reach` pixels inside of `uncut` and of one opaque later
    /// area: samples that reach no further show that area alone. `uncut` is where samples are painted whole, because
    /// where they are cut off, all areas show. Empty when there are none; the largest such part when there are several.
    MosaicRect hiddenSquares(std::size_t number, const MosaicRect& uncut, int reach) const;
};

/// Calls its second argument for each number below the first, possibly on several threads at once.
using ShareOut = std::function<void(int count, const std::function<void(int number)>& work)>;

/// Paints a part of the picture without squares.
using ShowGround = std::function<BgraPremultipliedBuffer(const MosaicRect& part)>;

/// Averages all squares, in integers: every machine and every number of threads gives the same result.
///
/// A pixel under several areas is not read for each of them. The part of a square that an earlier area covers is summed
/// from that area's squares; only the rest is summed from pixels, which are requested once for areas that overlap or
/// adjoin. The time therefore depends on the number of squares and on the pixels under all areas together.
Mosaics makeMosaics(const MosaicPlan& plan, const ShowGround& showGround, const ShareOut& shareOut);

}  // namespace lumivastor::imaging
