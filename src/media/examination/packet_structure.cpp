// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/examination/packet_structure.h"

#include <array>
#include <cstddef>

namespace lumivastor::media {

namespace {

// Where the length of lengths is in an avcC and an hvcC box, less one, in two bits.
constexpr std::size_t kAvcPlace = 4;
constexpr std::size_t kHevcPlace = 21;

}  // namespace

std::optional<int> lengthBytes(std::string_view codec, std::span<const std::uint8_t> parameters) {
    const bool isHevc = codec == "hevc";
    if (!isHevc && codec != "h264") return std::nullopt;
    const std::size_t place = isHevc ? kHevcPlace : kAvcPlace;
    // Version 1; others are a plain stream, whose units begin with a start code.
    if (parameters.size() <= place || parameters.front() != 1) return std::nullopt;
    return (parameters[place] & 3) + 1;
}

bool isWholePicture(const ReadAt& readAt, std::uint64_t offset, std::uint64_t size, int lengthBytes) {
    const auto count = static_cast<std::uint64_t>(lengthBytes);
    std::uint64_t done = 0;
    while (done < size) {
        std::array<std::uint8_t, 4> bytes{};
        if (size - done <= count) return false;
        if (!readAt(offset + done, std::span(bytes).first(count))) return false;
        std::uint64_t length = 0;
        for (std::size_t i = 0; i < count; ++i) length = length << 8 | bytes[i];
        done += count;
        if (length == 0 || length > size - done) return false;
        done += length;
    }
    return size > 0;
}

}  // namespace lumivastor::media
