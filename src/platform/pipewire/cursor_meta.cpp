// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pipewire/cursor_meta.h"

#include <spa/buffer/meta.h>
#include <spa/param/video/raw.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <utility>

namespace lumivastor::pipewire {
namespace {

// Where blue, green, red and alpha are in a pixel's four bytes.
using ByteOrder = std::array<std::size_t, 4>;

std::optional<ByteOrder> byteOrder(std::uint32_t format) {
    switch (format) {
        case SPA_VIDEO_FORMAT_BGRA:
            return ByteOrder{0, 1, 2, 3};
        case SPA_VIDEO_FORMAT_RGBA:
            return ByteOrder{2, 1, 0, 3};
        case SPA_VIDEO_FORMAT_ARGB:
            return ByteOrder{3, 2, 1, 0};
        case SPA_VIDEO_FORMAT_ABGR:
            return ByteOrder{1, 2, 3, 0};
        default:
            return std::nullopt;
    }
}

// A copy, because the producer may write to the bytes at any time.
template <typename T>
std::optional<T> valueAt(std::span<const std::byte> bytes, std::size_t offset) {
    if (offset > bytes.size() || bytes.size() - offset < sizeof(T)) return std::nullopt;
    T value;
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

// By how much a premultiplied colour may exceed its alpha after another program has rounded both.
constexpr int kRounding = 2;

// No text says whether colours are premultiplied. Desktops send them so; a shape with one colour that is too bright for
// that is straight as a whole. Painters rely on no colour being brighter than its alpha.
void premultiply(imaging::BgraPremultipliedBuffer& shape, bool isStraight) {
    for (int y = 0; y < shape.height(); ++y) {
        std::uint8_t* const row = shape.row(y);
        for (std::size_t x = 0; x < static_cast<std::size_t>(shape.width()) * 4; x += 4) {
            const int alpha = row[x + 3];
            for (std::size_t i = x; i < x + 3; ++i) {
                row[i] =
                    static_cast<std::uint8_t>(isStraight ? (row[i] * alpha + 127) / 255 : std::min<int>(row[i], alpha));
            }
        }
    }
}

// Null unless the bitmap is of a known format and lies within the bytes.
std::shared_ptr<const imaging::BgraPremultipliedBuffer> shapeIn(std::span<const std::byte> bytes,
                                                                const spa_meta_bitmap& bitmap) {
    const auto order = byteOrder(bitmap.format);
    if (!order || bitmap.offset < sizeof(spa_meta_bitmap) || bitmap.offset > bytes.size()) return nullptr;
    if (bitmap.size.width > CursorMetaReader::kMaximumSide || bitmap.size.height > CursorMetaReader::kMaximumSide) {
        return nullptr;
    }
    const std::size_t rowBytes = std::size_t{bitmap.size.width} * 4;
    if (bitmap.stride < 0 || static_cast<std::size_t>(bitmap.stride) < rowBytes) return nullptr;
    const auto stride = static_cast<std::size_t>(bitmap.stride);
    if (bytes.size() - bitmap.offset < stride * (bitmap.size.height - 1) + rowBytes) return nullptr;

    const auto width = static_cast<int>(bitmap.size.width);
    const auto height = static_cast<int>(bitmap.size.height);
    auto shape = std::make_shared<imaging::BgraPremultipliedBuffer>(width, height);
    const auto* source = reinterpret_cast<const std::uint8_t*>(bytes.data()) + bitmap.offset;
    bool isStraight = false;
    for (int y = 0; y < height; ++y, source += stride) {
        std::uint8_t* target = shape->row(y);
        for (std::size_t x = 0; x < rowBytes; x += 4) {
            for (std::size_t i = 0; i < 4; ++i) target[x + i] = source[x + (*order)[i]];
            const int brightest = std::max({target[x], target[x + 1], target[x + 2]});
            isStraight = isStraight || brightest > target[x + 3] + kRounding;
        }
    }
    premultiply(*shape, isStraight);
    return shape;
}

}  // namespace

std::optional<CursorReport> CursorMetaReader::read(std::span<const std::byte> meta, double hostSeconds) {
    const auto cursor = valueAt<spa_meta_cursor>(meta, 0);
    if (!cursor) return std::nullopt;
    CursorReport report;
    report.hostSeconds = hostSeconds;
    if (cursor->id == 0) return report;
    report.x = cursor->position.x;
    report.y = cursor->position.y;
    if (cursor->bitmap_offset >= sizeof(spa_meta_cursor)) {
        const auto bitmap = valueAt<spa_meta_bitmap>(meta, cursor->bitmap_offset);
        if (!bitmap) return std::nullopt;
        const bool isEmpty = bitmap->size.width == 0 || bitmap->size.height == 0;
        if (isEmpty || (bitmap->format != 0 && bitmap->offset == 0)) {
            isHidden_ = true;
        } else if (bitmap->format != 0) {
            report.newShape = shapeIn(meta.subspan(cursor->bitmap_offset), *bitmap);
        }
    }
    if (report.newShape) {
        isHidden_ = false;
        hotSpotX_ = std::clamp(cursor->hotspot.x, 0, report.newShape->width() - 1);
        hotSpotY_ = std::clamp(cursor->hotspot.y, 0, report.newShape->height() - 1);
    }
    report.state = isHidden_ ? CursorReport::State::hidden : CursorReport::State::visible;
    report.hotSpotX = hotSpotX_;
    report.hotSpotY = hotSpotY_;
    return report;
}

}  // namespace lumivastor::pipewire
