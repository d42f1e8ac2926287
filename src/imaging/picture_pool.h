// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "imaging/pixel_buffer.h"
#include "imaging/yuv_picture.h"

namespace lumivastor::imaging {

/// A planar 4:2:0 picture that owns its memory, to be painted and then given to a writer. Rows start at multiples of 64
/// bytes. For odd sizes one more column and row of luma can be written, which the encoder needs.
class PlanarBuffer {
  public:
    PlanarBuffer(int width, int height, const YuvEncoding& encoding);

    const YuvDestination& destination() const { return destination_; }

    /// Which picture of its stream the buffer holds, for those who bring it up to date by differences
    /// (`DamageHistory`); 0: none.
    std::uint64_t number = 0;

    /// Copies the last column and row into the ones beyond an odd size.
    void repeatOddEdges();

  private:
    struct AlignedDelete {
        void operator()(std::uint8_t* bytes) const;
    };

    std::unique_ptr<std::uint8_t[], AlignedDelete> bytes_;
    YuvDestination destination_;
};

/// Hands out pictures of one size and takes their memory back when the last reference goes, so that an export does not
/// allocate for every picture. There are as many as are held at once. The initial content of a picture is unspecified.
/// Any thread.
class PicturePool {
  public:
    PicturePool(int width, int height, const YuvEncoding& encoding);
    ~PicturePool();

    int width() const { return width_; }
    int height() const { return height_; }

    /// Null when memory is short.
    std::shared_ptr<PlanarBuffer> makePlanar();
    std::shared_ptr<BgraPremultipliedBuffer> makeBgra();

  private:
    struct Free;

    int width_;
    int height_;
    YuvEncoding encoding_;
    std::shared_ptr<Free> free_;
};

}  // namespace lumivastor::imaging
