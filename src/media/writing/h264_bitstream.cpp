// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/writing/h264_bitstream.h"

#include <algorithm>
#include <array>

#include "base/precondition.h"

namespace lumivastor::media {

std::uint32_t BitReader::bits(int count) {
    std::uint32_t value = 0;
    for (int i = 0; i < count; ++i, ++position_) {
        const std::size_t byte = position_ / 8;
        const std::uint32_t bit = byte < bytes_.size() ? bytes_[byte] >> (7 - position_ % 8) & 1U : 0U;
        value = value << 1 | bit;
    }
    return value;
}

std::uint32_t BitReader::unsignedGolomb() {
    int zeros = 0;
    while (zeros < 32 && !overran() && !flag()) ++zeros;
    if (zeros >= 32 || overran()) {
        position_ = bytes_.size() * 8 + 1;
        return 0;
    }
    return (1U << zeros) - 1 + bits(zeros);
}

void BitWriter::bits(std::uint32_t value, int count) {
    for (int i = count - 1; i >= 0; --i) {
        if (used_ == 0) bytes_.push_back(0);
        const auto bit = static_cast<std::uint8_t>(value >> i & 1U);
        bytes_.back() = static_cast<std::uint8_t>(bytes_.back() | bit << (7 - used_));
        used_ = (used_ + 1) % 8;
    }
}

void BitWriter::unsignedGolomb(std::uint32_t value) {
    precondition(value < 0xffffffffU, "a number that can be coded");
    int length = 0;
    while ((value + 1) >> length > 1) ++length;
    bits(0, length);
    bits(value + 1, length + 1);
}

void BitWriter::signedGolomb(std::int32_t value) {
    unsignedGolomb(value > 0 ? static_cast<std::uint32_t>(value) * 2 - 1 : static_cast<std::uint32_t>(-value) * 2);
}

void BitWriter::finish() {
    flag(true);
    while (used_ != 0) flag(false);
}

std::vector<std::span<const std::uint8_t>> unitsOf(std::span<const std::uint8_t> stream) {
    constexpr std::array<std::uint8_t, 3> kStart{0, 0, 1};
    std::vector<std::span<const std::uint8_t>> units;
    auto start = std::search(stream.begin(), stream.end(), kStart.begin(), kStart.end());
    while (start != stream.end()) {
        const auto begin = start + 3;
        const auto next = std::search(begin, stream.end(), kStart.begin(), kStart.end());
        auto end = next;
        while (end != begin && *(end - 1) == 0) --end;  // the next start code's leading zeros
        if (begin != end) units.emplace_back(begin, end);
        start = next;
    }
    return units;
}

std::vector<std::uint8_t> unescaped(std::span<const std::uint8_t> unit) {
    std::vector<std::uint8_t> content;
    content.reserve(unit.size());
    int zeros = 0;
    for (const std::uint8_t byte : unit) {
        if (zeros >= 2 && byte == 3) {
            zeros = 0;
            continue;
        }
        zeros = byte == 0 ? zeros + 1 : 0;
        content.push_back(byte);
    }
    return content;
}

std::vector<std::uint8_t> escaped(std::span<const std::uint8_t> content) {
    std::vector<std::uint8_t> unit;
    unit.reserve(content.size() + content.size() / 64 + 4);
    int zeros = 0;
    for (const std::uint8_t byte : content) {
        if (zeros >= 2 && byte <= 3) {
            unit.push_back(3);
            zeros = 0;
        }
        zeros = byte == 0 ? zeros + 1 : 0;
        unit.push_back(byte);
    }
    return unit;
}

void appendUnit(std::vector<std::uint8_t>& stream, std::span<const std::uint8_t> unit) {
    stream.insert(stream.end(), {0, 0, 0, 1});
    stream.insert(stream.end(), unit.begin(), unit.end());
}

std::optional<int> profileOf(std::span<const std::uint8_t> parameterSets) {
    std::optional<int> profile;
    for (const auto unit : unitsOf(parameterSets)) {
        if (unitKind(unit) != H264Unit::sequenceParameters) continue;
        if (unit.size() < 2 || (profile && *profile != unit[1])) return std::nullopt;
        profile = unit[1];
    }
    return profile;
}

std::optional<SequenceParameters> parseSequenceParameters(std::span<const std::uint8_t> unit) {
    const std::vector<std::uint8_t> content = unescaped(unit.subspan(std::min<std::size_t>(unit.size(), 1)));
    BitReader reader(content);
    SequenceParameters parameters;
    const std::uint32_t profile = reader.bits(8);
    reader.bits(16);  // constraints and level
    parameters.id = reader.unsignedGolomb();
    // The High profiles say more about colour; the others are 4:2:0.
    constexpr std::array<std::uint32_t, 4> kHighProfiles{100, 110, 122, 244};
    if (std::find(kHighProfiles.begin(), kHighProfiles.end(), profile) != kHighProfiles.end()) {
        const std::uint32_t chromaFormat = reader.unsignedGolomb();
        parameters.plainColour = chromaFormat <= 1;
        if (!parameters.plainColour) return std::nullopt;
        reader.unsignedGolomb();                 // depth of luma
        reader.unsignedGolomb();                 // depth of colour
        reader.flag();                           // lossless
        if (reader.flag()) return std::nullopt;  // scaling lists: no encoder setting of ours makes them
    }
    parameters.frameNumberBits = static_cast<int>(reader.unsignedGolomb() + 4);
    parameters.orderCountType = reader.unsignedGolomb();
    if (parameters.orderCountType == 0) {
        reader.unsignedGolomb();
    } else if (parameters.orderCountType == 1) {
        return std::nullopt;
    }
    parameters.referencePictures = reader.unsignedGolomb();
    reader.flag();  // gaps in numbering
    const std::uint32_t columns = reader.unsignedGolomb() + 1;
    const std::uint32_t rows = reader.unsignedGolomb() + 1;
    parameters.framesOnly = reader.flag();
    constexpr std::uint32_t kMaxMacroblocksInARow = 1 << 12;
    if (reader.overran() || columns > kMaxMacroblocksInARow || rows > kMaxMacroblocksInARow ||
        parameters.frameNumberBits > 16) {
        return std::nullopt;
    }
    parameters.macroblocks = columns * rows;
    return parameters;
}

std::optional<PictureParameters> parsePictureParameters(std::span<const std::uint8_t> unit) {
    const std::vector<std::uint8_t> content = unescaped(unit.subspan(std::min<std::size_t>(unit.size(), 1)));
    BitReader reader(content);
    PictureParameters parameters;
    parameters.id = reader.unsignedGolomb();
    parameters.sequenceId = reader.unsignedGolomb();
    reader.bits(2);  // kind of entropy coding; order counts of fields
    parameters.oneSliceGroup = reader.unsignedGolomb() == 0;
    if (!parameters.oneSliceGroup) return std::nullopt;
    reader.unsignedGolomb();  // active references, forward
    reader.unsignedGolomb();  // and backward
    parameters.weightedPrediction = reader.flag();
    if (reader.overran()) return std::nullopt;
    return parameters;
}

}  // namespace lumivastor::media
