// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/x_image_reader.h"

#include <sys/mman.h>
#include <xcb/shm.h>
#include <xcb/xcb.h>

#include <cstring>

#include "base/unique_descriptor.h"

namespace lumivastor::x11 {
namespace {

constexpr std::uint32_t kAllPlanes = ~0U;

std::size_t bytesOf(const PixelRect& rect) {
    return static_cast<std::size_t>(rect.area()) * 4;
}

// Rows in the server's pictures follow one another without gaps.
void place(const std::uint8_t* pixels, const XImageReader::Piece& piece, imaging::BgraPremultipliedBuffer& picture) {
    for (int y = 0; y < piece.from.height; ++y) {
        copyOpaque(pixels + static_cast<std::size_t>(y) * static_cast<std::size_t>(piece.from.width) * 4,
                   picture.pixel(piece.toX, piece.toY + y), piece.from.width);
    }
}

xcb_shm_get_image_cookie_t askShared(const XConnection& connection, std::uint32_t drawable, const PixelRect& from,
                                     std::uint32_t segment, std::size_t offset) {
    return xcb_shm_get_image(connection, drawable, static_cast<std::int16_t>(from.x), static_cast<std::int16_t>(from.y),
                             static_cast<std::uint16_t>(from.width), static_cast<std::uint16_t>(from.height),
                             kAllPlanes, XCB_IMAGE_FORMAT_Z_PIXMAP, segment, static_cast<std::uint32_t>(offset));
}

}  // namespace

void copyOpaque(const std::uint8_t* from, std::uint8_t* to, int count) {
    // A fixed distance between load and store lets the compiler use vectors.
    for (int i = 0; i < count; ++i) {
        std::uint32_t pixel = 0;
        std::memcpy(&pixel, from + static_cast<std::ptrdiff_t>(i) * 4, 4);
        pixel |= 0xff000000U;
        std::memcpy(to + static_cast<std::ptrdiff_t>(i) * 4, &pixel, 4);
    }
}

XImageReader::XImageReader(const XConnection& connection, int width, int height) : connection_(connection) {
    if (!connection.hasSegments()) return;
    size_ = static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4;
    segment_ = connection.makeId();
    const auto reply = xReply(connection, xcb_shm_create_segment_reply,
                              xcb_shm_create_segment(connection, segment_, static_cast<std::uint32_t>(size_), 0));
    if (!reply || reply->nfd != 1) return;
    const UniqueDescriptor descriptor(xcb_shm_create_segment_reply_fds(connection, reply.get())[0]);
    void* const memory = mmap(nullptr, size_, PROT_READ, MAP_SHARED, descriptor.get(), 0);
    if (memory == MAP_FAILED) {
        xcb_shm_detach(connection, segment_);
        return;
    }
    memory_ = static_cast<const std::uint8_t*>(memory);
}

XImageReader::~XImageReader() {
    if (memory_ == nullptr) return;
    xcb_shm_detach(connection_, segment_);
    munmap(const_cast<std::uint8_t*>(memory_), size_);
}

bool XImageReader::read(std::uint32_t drawable, std::span<const Piece> pieces,
                        imaging::BgraPremultipliedBuffer& picture) {
    if (memory_ != nullptr) return readShared(drawable, pieces, picture);
    for (const Piece& piece : pieces) {
        if (!readPlain(drawable, piece, picture)) return false;
    }
    return true;
}

bool XImageReader::readShared(std::uint32_t drawable, std::span<const Piece> pieces,
                              imaging::BgraPremultipliedBuffer& picture) {
    std::vector<xcb_shm_get_image_cookie_t> cookies;
    std::size_t offset = 0;
    for (const Piece& piece : pieces) {
        if (offset + bytesOf(piece.from) > size_) return false;
        cookies.push_back(askShared(connection_, drawable, piece.from, segment_, offset));
        offset += bytesOf(piece.from);
    }
    bool isComplete = true;
    for (const auto cookie : cookies) {
        isComplete = xReply(connection_, xcb_shm_get_image_reply, cookie) != nullptr && isComplete;
    }
    if (!isComplete) return false;
    offset = 0;
    for (const Piece& piece : pieces) {
        place(memory_ + offset, piece, picture);
        offset += bytesOf(piece.from);
    }
    return true;
}

bool XImageReader::readPlain(std::uint32_t drawable, const Piece& piece, imaging::BgraPremultipliedBuffer& picture) {
    const PixelRect& from = piece.from;
    const auto reply =
        xReply(connection_, xcb_get_image_reply,
               xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, drawable, static_cast<std::int16_t>(from.x),
                             static_cast<std::int16_t>(from.y), static_cast<std::uint16_t>(from.width),
                             static_cast<std::uint16_t>(from.height), kAllPlanes));
    if (!reply || static_cast<std::size_t>(xcb_get_image_data_length(reply.get())) < bytesOf(from)) return false;
    place(xcb_get_image_data(reply.get()), piece, picture);
    return true;
}

}  // namespace lumivastor::x11
