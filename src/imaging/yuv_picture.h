// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "imaging/damage_area.h"

namespace lumivastor::imaging {

/// The matrix that turns luma and chroma into red, green and blue.
enum class YuvMatrix { bt601, bt709 };

/// Limited: luma 16...235, chroma 16...240. Full: 0...255 for all.
enum class YuvRange { limited, full };

struct YuvEncoding {
    YuvMatrix matrix = YuvMatrix::bt709;
    YuvRange range = YuvRange::limited;

    bool operator==(const YuvEncoding&) const = default;
};

/// Where one plane of samples lies: the top row first, one byte a sample. The stride may exceed the width.
struct YuvPlane {
    const std::uint8_t* samples = nullptr;
    std::ptrdiff_t stride = 0;
};

/// Where a decoded picture differs from an earlier one of the same size and encoding.
struct YuvChange {
    /// The owner of that picture's samples, by which it is recognised; of no other picture's.
    std::weak_ptr<const void> earlier;
    /// Pixels of either picture; where a chroma sample differs, its four pixels.
    DamageArea area;
};

/// A read-only picture of 8-bit 4:2:0 samples in three planes, as video decoders deliver it. The chroma planes have
/// half the size in both directions, rounded up; their samples are sited at the left one of two luma columns and
/// between two luma rows (the MPEG-2 and H.264 default). `owner` keeps the samples alive: copies of the value share
/// them.
struct YuvPicture {
    int width = 0;
    int height = 0;
    YuvPlane luma;
    YuvPlane cb;
    YuvPlane cr;
    YuvEncoding encoding;
    std::shared_ptr<const void> owner;
    /// Null: not known. Says nothing about the picture itself, so recipes are equal with any.
    std::shared_ptr<const YuvChange> change = nullptr;
    /// Stands for the samples' content beyond one run of the program, for example for a movie and a time in it; 0: not
    /// known. Says nothing more about the picture either.
    std::uint64_t source = 0;

    int chromaWidth() const { return (width + 1) / 2; }
    int chromaHeight() const { return (height + 1) / 2; }
};

/// Where a painter puts 4:2:0 samples; the layout is that of `YuvPicture`. Does not own the samples.
struct YuvDestination {
    int width = 0;
    int height = 0;
    std::uint8_t* luma = nullptr;
    std::ptrdiff_t lumaStride = 0;
    std::uint8_t* cb = nullptr;
    std::uint8_t* cr = nullptr;
    std::ptrdiff_t chromaStride = 0;
    YuvEncoding encoding;
};

}  // namespace lumivastor::imaging
