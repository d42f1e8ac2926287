// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/pixel_buffer.h"

#include <cstdlib>
#include <cstring>
#include <memory>
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
    // Memory that comes cleared: the system clears the pages of large blocks only when they are used.
    block_.reset(std::calloc(size + kAlignment, 1));
    if (block_ == nullptr) throw std::bad_alloc();
    void* start = block_.get();
    std::size_t space = size + kAlignment;
    bytes_ = static_cast<std::uint8_t*>(std::align(kAlignment, size, start, space));
}

BgraPremultipliedBuffer BgraPremultipliedBuffer::copy() const {
    BgraPremultipliedBuffer copied(width_, height_);
    if (!isEmpty()) std::memcpy(copied.bytes_, bytes_, stride_ * static_cast<std::size_t>(height_));
    return copied;
}

void BgraPremultipliedBuffer::Free::operator()(void* block) const {
    std::free(block);
}

}  // namespace lumivastor::imaging
