// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/picture_pool.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

#include "base/precondition.h"

namespace lumivastor::imaging {

namespace {

constexpr std::size_t kAlignment = 64;

std::size_t aligned(int bytes) {
    return (static_cast<std::size_t>(bytes) + kAlignment - 1) / kAlignment * kAlignment;
}

}  // namespace

PlanarBuffer::PlanarBuffer(int width, int height, const YuvEncoding& encoding) {
    precondition(width > 0 && height > 0, "a picture has a size");
    const int chromaWidth = (width + 1) / 2;
    const int chromaHeight = (height + 1) / 2;
    const std::size_t lumaStride = aligned(2 * chromaWidth);
    const std::size_t chromaStride = aligned(chromaWidth);
    const std::size_t lumaBytes = lumaStride * 2 * static_cast<std::size_t>(chromaHeight);
    const std::size_t chromaBytes = chromaStride * static_cast<std::size_t>(chromaHeight);
    const std::size_t all = lumaBytes + 2 * chromaBytes;
    bytes_.reset(static_cast<std::uint8_t*>(::operator new (all, std::align_val_t{kAlignment})));
    destination_.width = width;
    destination_.height = height;
    destination_.luma = bytes_.get();
    destination_.lumaStride = static_cast<std::ptrdiff_t>(lumaStride);
    destination_.cb = bytes_.get() + lumaBytes;
    destination_.cr = bytes_.get() + lumaBytes + chromaBytes;
    destination_.chromaStride = static_cast<std::ptrdiff_t>(chromaStride);
    destination_.encoding = encoding;
}

void PlanarBuffer::AlignedDelete::operator()(std::uint8_t* bytes) const {
    ::operator delete (bytes, std::align_val_t{kAlignment});
}

void PlanarBuffer::repeatOddEdges() {
    const YuvDestination& to = destination_;
    if (to.width % 2 != 0) {
        for (int y = 0; y < to.height; ++y) {
            std::uint8_t* const row = to.luma + y * to.lumaStride;
            row[to.width] = row[to.width - 1];
        }
    }
    if (to.height % 2 != 0) {
        const auto bytes = static_cast<std::size_t>(to.width + to.width % 2);
        std::memcpy(to.luma + to.height * to.lumaStride, to.luma + (to.height - 1) * to.lumaStride, bytes);
    }
}

struct PicturePool::Free {
    std::mutex lock;
    std::vector<std::unique_ptr<PlanarBuffer>> planar;           // guarded by lock
    std::vector<std::unique_ptr<BgraPremultipliedBuffer>> bgra;  // guarded by lock
    std::size_t made = 0;                                        // guarded by lock; of both kinds

    // A buffer from the list, or a new one. It returns to the list with its last reference, or is deleted when the pool
    // is gone.
    template <typename Buffer, typename Make>
    static std::shared_ptr<Buffer> take(const std::shared_ptr<Free>& self,
                                        std::vector<std::unique_ptr<Buffer>> Free::*list, Make make) {
        std::unique_ptr<Buffer> buffer;
        try {
            {
                const std::lock_guard hold(self->lock);
                auto& free = (*self).*list;
                if (!free.empty()) {
                    buffer = std::move(free.back());
                    free.pop_back();
                } else {
                    free.reserve(++self->made);  // returning a buffer allocates no memory
                }
            }
            if (!buffer) buffer = make();
            return {buffer.release(), [list, home = std::weak_ptr<Free>(self)](Buffer* returned) {
                        std::unique_ptr<Buffer> owned(returned);
                        if (const auto pool = home.lock()) {
                            const std::lock_guard hold(pool->lock);
                            ((*pool).*list).push_back(std::move(owned));
                        }
                    }};
        } catch (const std::bad_alloc&) {
            return nullptr;
        }
    }
};

PicturePool::PicturePool(int width, int height, const YuvEncoding& encoding)
    : width_(width), height_(height), encoding_(encoding), free_(std::make_shared<Free>()) {}

PicturePool::~PicturePool() = default;

std::shared_ptr<PlanarBuffer> PicturePool::makePlanar() {
    return Free::take(free_, &Free::planar,
                      [this] { return std::make_unique<PlanarBuffer>(width_, height_, encoding_); });
}

std::shared_ptr<BgraPremultipliedBuffer> PicturePool::makeBgra() {
    return Free::take(free_, &Free::bgra,
                      [this] { return std::make_unique<BgraPremultipliedBuffer>(width_, height_); });
}

}  // namespace lumivastor::imaging
