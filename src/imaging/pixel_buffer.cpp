#include "imaging/pixel_buffer.h"

#include <sys/mman.h>

#include <cstring>
#include <new>

#include "base/precondition.h"

namespace lumivastor {

namespace {

constexpr std::size_t kAlignment = 64;

// The pages of a frame-sized buffer otherwise cost more time than drawing into it: thousands of faults of 4 KiB each.
void useLargePages(std::uint8_t* bytes, std::size_t size) {
    constexpr std::size_t kLargePage = std::size_t{2} << 20;
    if (size < 2 * kLargePage) return;
    const auto begin = (reinterpret_cast<std::uintptr_t>(bytes) + kLargePage - 1) / kLargePage * kLargePage;
    const auto end = (reinterpret_cast<std::uintptr_t>(bytes) + size) / kLargePage * kLargePage;
    // Only a hint: where the system has none of them, ordinary pages do.
    if (begin < end) madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
}

}  // namespace

BgraPremultipliedBuffer::BgraPremultipliedBuffer(int width, int height) : width_(width), height_(height) {
    precondition(width >= 0 && height >= 0, "a picture's size is never negative");
    stride_ = (static_cast<std::size_t>(width) * 4 + kAlignment - 1) / kAlignment * kAlignment;
    const std::size_t size = stride_ * static_cast<std::size_t>(height);
    if (size == 0) return;
    bytes_.reset(static_cast<std::uint8_t*>(::operator new (size, std::align_val_t{kAlignment})));
    useLargePages(bytes_.get(), size);
    std::memset(bytes_.get(), 0, size);
}

void BgraPremultipliedBuffer::AlignedDelete::operator()(std::uint8_t* bytes) const {
    ::operator delete (bytes, std::align_val_t{kAlignment});
}

}  // namespace lumivastor
