// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/pixel_buffer.h"

#include <cstring>
#include <new>

#include "base/precondition.h"

namespace lumivastor::imaging {

namespace {

constexpr std::size_t kAlignment = 64;

}  // namespace

BgraPremultipliedBuffer::BgraPremultipliedBuffer(int width, int height) : width_(width), height_(height) {
    precondition(width >= 0 && height >= 0, "a picture's size is never negative");
    stride_ = (static_cast<std::size_t>(width) * 4 + kAlignment - 1) / kAlignment * kAlignment;
    const std::size_t size = stride_ * static_cast<std::size_t>(height);
    if (size == 0) return;
    bytes_.reset(static_cast<std::uint8_t*>(::operator new (size, std::align_val_t{kAlignment})));
    std::memset(bytes_.get(), 0, size);
}

void BgraPremultipliedBuffer::AlignedDelete::operator()(std::uint8_t* bytes) const {
    ::operator delete (bytes, std::align_val_t{kAlignment});
}

}  // namespace lumivastor::imaging
