// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "imaging/pixel_buffer.h"
#include "platform/pictures/pixel_rect.h"
#include "platform/x11/x_connection.h"

namespace lumivastor::x11 {

/// Copies pixels from the server into pictures, through memory that both share where the server offers it (a server on
/// another machine does not). One thread.
class XImageReader {
  public:
    /// A rectangle of a window or pixmap, and where its corner goes in the picture.
    struct Piece {
        platform::PixelRect from;
        int toX = 0;
        int toY = 0;
    };

    /// No picture that is read into is larger than this, in pixels.
    XImageReader(const XConnection& connection, int width, int height);
    ~XImageReader();
    XImageReader(const XImageReader&) = delete;
    XImageReader& operator=(const XImageReader&) = delete;

    /// All pieces of one moment or, between them, of moments that lie a fraction of a millisecond apart. The pixels
    /// become opaque. False when the server refuses, as it does for windows that are gone or not on the screen; some
    /// of the picture may then have been overwritten. Pieces do not overlap and lie inside both sides.
    bool read(std::uint32_t drawable, std::span<const Piece> pieces, imaging::BgraPremultipliedBuffer& picture);

  private:
    bool readShared(std::uint32_t drawable, std::span<const Piece> pieces, imaging::BgraPremultipliedBuffer& picture);
    bool readPlain(std::uint32_t drawable, const Piece& piece, imaging::BgraPremultipliedBuffer& picture);

    const XConnection& connection_;
    std::uint32_t segment_ = 0;
    const std::uint8_t* memory_ = nullptr;  // null without shared memory
    std::size_t size_ = 0;
};

/// Copies `count` pixels and makes them opaque.
void copyOpaque(const std::uint8_t* from, std::uint8_t* to, int count);

}  // namespace lumivastor::x11
