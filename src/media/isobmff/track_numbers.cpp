// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/isobmff/track_numbers.h"

#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <span>

#include "media/isobmff/movie_boxes.h"

namespace lumivastor::media {
namespace {

// FFmpeg refuses deeper nesting.
constexpr int kDeepest = 10;

// The boxes of a header that contain only boxes.
constexpr std::array kContainers{fourCC("moov"), fourCC("trak"), fourCC("mdia"), fourCC("minf"), fourCC("stbl"),
                                 fourCC("edts"), fourCC("dinf"), fourCC("mvex"), fourCC("udta"), fourCC("tref"),
                                 fourCC("wave"), fourCC("sinf"), fourCC("schi"), fourCC("ipro")};

struct Extent {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
};

struct Found {
    std::uint32_t kind = 0;
    Extent content;
};

// Walks the boxes of a part of a file.
class Walk {
  public:
    Walk(int file, Extent extent) : file_(file), extent_(extent) {}

    std::optional<Found> next() {
        constexpr std::uint64_t kShortHeader = 8;
        constexpr std::uint64_t kLongHeader = 16;
        const std::uint64_t left = extent_.end - extent_.begin;
        std::array<std::uint8_t, kLongHeader> bytes{};
        const auto held = static_cast<std::size_t>(std::min<std::uint64_t>(left, bytes.size()));
        const auto header = std::span(bytes).first(held);
        if (left < kShortHeader || !readExactly(file_, extent_.begin, header)) return std::nullopt;
        ByteReader reader(header);
        std::uint64_t size = reader.u32();
        const std::uint32_t kind = reader.u32();
        std::uint64_t headerSize = kShortHeader;
        if (size == 1 && left >= kLongHeader) {
            size = reader.u64();
            headerSize = kLongHeader;
        } else if (size == 0) {
            size = left;
        }
        if (size < headerSize) return std::nullopt;
        const std::uint64_t end = extent_.begin + std::min(size, left);
        const Found found{kind, {extent_.begin + headerSize, end}};
        extent_.begin = end;
        return found;
    }

  private:
    int file_;
    Extent extent_;
};

// nullopt in a track header that cannot be read.
std::optional<std::uint32_t> numberIn(int file, Extent trackHeader) {
    constexpr std::size_t kFlags = 4;
    std::array<std::uint8_t, kFlags + 8 + 8 + 4> bytes{};
    const std::uint64_t size = std::min<std::uint64_t>(trackHeader.end - trackHeader.begin, bytes.size());
    const auto held = std::span(bytes).first(static_cast<std::size_t>(size));
    if (!readExactly(file, trackHeader.begin, held)) return std::nullopt;
    ByteReader reader(held);
    const bool isLong = reader.u8() == 1;
    reader.skip(kFlags - 1);
    reader.skip(isLong ? 16 : 8);  // when it was made, and changed
    const std::uint32_t number = reader.u32();
    return reader.overran() ? std::nullopt : std::optional(number);
}

bool isNumbered(int file, Extent track) {
    Walk walk(file, track);
    std::optional<std::uint32_t> number;
    while (const auto box = walk.next()) {
        if (box->kind == fourCC("tkhd")) number = numberIn(file, box->content);
    }
    return number && *number > 0 && *number <= std::numeric_limits<std::int32_t>::max();
}

bool allNumbered(int file, Extent extent, int depth) {
    Walk walk(file, extent);
    while (const auto box = walk.next()) {
        if (depth > 0 && box->kind == fourCC("moof")) return false;
        if (box->kind == fourCC("trak") && !isNumbered(file, box->content)) return false;
        const bool isContainer = std::find(kContainers.begin(), kContainers.end(), box->kind) != kContainers.end();
        if (isContainer && depth < kDeepest && !allNumbered(file, box->content, depth + 1)) return false;
    }
    return true;
}

}  // namespace

bool tracksAreNumbered(int file, std::uint64_t fileSize) {
    return allNumbered(file, {0, fileSize}, 0);
}

}  // namespace lumivastor::media
