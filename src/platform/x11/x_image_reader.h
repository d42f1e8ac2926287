// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "base/pixel_rect.h"
#include "imaging/pixel_buffer.h"
#include "platform/x11/x_connection.h"

namespace lumivastor::x11 {

/// Copies pixels from the server into pictures, through shared memory where the server offers it (a server on another
/// machine does not). One thread.
class XImageReader {
  public:
    /// A rectangle of a window or pixmap, and the position of its corner in the picture.
    struct Piece {
        PixelRect from;
        int toX = 0;
        int toY = 0;
    };

    /// The size, in pixels, of the largest picture that will be read into.
    XImageReader(const XConnection& connection, int width, int height);
    ~XImageReader();
    XImageReader(const XImageReader&) = delete;
    XImageReader& operator=(const XImageReader&) = delete;

    /// Copies the pieces into the picture and makes them opaque. The pieces may differ in time by a fraction of a
    /// millisecond unless the server is grabbed. Pieces must not overlap and must lie inside drawable and picture.
    /// False when the server refuses, as for windows that are gone or unmapped; part of the picture may then be
    /// overwritten.
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
