// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace lumivastor::imaging {

/// An owned picture of 8-bit pixels in memory order blue, green, red, alpha; sRGB-encoded, colours premultiplied with
/// alpha. The first row is the top one. Rows start at multiples of 64 bytes, so that kernels may use aligned loads;
/// what lies between a row's last pixel and the next row is unspecified.
class BgraPremultipliedBuffer {
  public:
    BgraPremultipliedBuffer() = default;
    /// All pixels transparent. Both sizes in pixels, at least 0.
    BgraPremultipliedBuffer(int width, int height);

    /// The same pixels in memory of their own.
    BgraPremultipliedBuffer copy() const;

    int width() const { return width_; }
    int height() const { return height_; }
    bool isEmpty() const { return width_ == 0 || height_ == 0; }
    /// Distance between the starts of two rows, in bytes.
    std::size_t stride() const { return stride_; }

    std::uint8_t* row(int y) { return bytes_ + static_cast<std::size_t>(y) * stride_; }
    const std::uint8_t* row(int y) const { return bytes_ + static_cast<std::size_t>(y) * stride_; }
    std::uint8_t* pixel(int x, int y) { return row(y) + static_cast<std::ptrdiff_t>(x) * 4; }
    const std::uint8_t* pixel(int x, int y) const { return row(y) + static_cast<std::ptrdiff_t>(x) * 4; }

  private:
    struct Free {
        void operator()(void* block) const;
    };

    int width_ = 0;
    int height_ = 0;
    std::size_t stride_ = 0;
    std::unique_ptr<void, Free> block_;
    std::uint8_t* bytes_ = nullptr;  // in the block
};

}  // namespace lumivastor::imaging
