// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/writing/h264_bitstream.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

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

std::int32_t BitReader::signedGolomb() {
    const std::uint32_t code = unsignedGolomb();  // 9.1.1: 0, 1, -1, 2, -2, ...
    const auto magnitude = static_cast<std::int32_t>(code / 2 + code % 2);
    return code % 2 == 1 ? magnitude : -magnitude;
}

void BitWriter::flushWord() {
    constexpr std::size_t kWord = 4;
    if (size_ + kWord > bytes_.size()) bytes_.resize(std::max<std::size_t>(1024, 2 * bytes_.size()));
    waitingBits_ -= 32;
    const std::uint64_t word = waiting_ >> waitingBits_;
    for (std::size_t i = 0; i < kWord; ++i) bytes_[size_ + i] = static_cast<std::uint8_t>(word >> (24 - 8 * i));
    size_ += kWord;
}

void BitWriter::unsignedGolomb(std::uint32_t value) {
    precondition(value < 0xffffffffU, "a number that can be coded");
    const auto length = static_cast<int>(std::bit_width(value + 1));
    if (length <= 16) {
        bits(value + 1, 2 * length - 1);
    } else {
        bits(0, length - 1);
        bits(value + 1, length);
    }
}

void BitWriter::signedGolomb(std::int32_t value) {
    unsignedGolomb(value > 0 ? static_cast<std::uint32_t>(value) * 2 - 1 : static_cast<std::uint32_t>(-value) * 2);
}

void BitWriter::append(std::span<const std::uint8_t> bytes, std::size_t from, std::size_t to) {
    precondition(from <= to && to <= bytes.size() * 8, "bits that are there");
    const auto bitAt = [bytes](std::size_t at) { return bytes[at / 8] >> (7 - at % 8) & 1U; };
    for (; from < to && from % 8 != 0; ++from) bits(bitAt(from), 1);
    for (; from + 32 <= to; from += 32) {
        std::uint32_t word = 0;
        for (std::size_t i = 0; i < 4; ++i) word = word << 8 | bytes[from / 8 + i];
        bits(word, 32);
    }
    for (; from < to; ++from) bits(bitAt(from), 1);
}

void BitWriter::align(bool value) {
    while (waitingBits_ % 8 != 0) flag(value);
}

void BitWriter::finish() {
    flag(true);
    align(false);
}

std::span<const std::uint8_t> BitWriter::bytes() {
    constexpr std::size_t kLongestRest = 4;
    if (size_ + kLongestRest > bytes_.size()) bytes_.resize(size_ + kLongestRest);
    std::size_t size = size_;
    int rest = waitingBits_;
    for (; rest >= 8; rest -= 8) bytes_[size++] = static_cast<std::uint8_t>(waiting_ >> (rest - 8));
    if (rest > 0) bytes_[size++] = static_cast<std::uint8_t>(waiting_ << (8 - rest));
    return {bytes_.data(), size};
}

std::vector<std::span<const std::uint8_t>> unitsOf(std::span<const std::uint8_t> stream) {
    // The next start code from `at` on; the end if there is none. Looks for its rarest byte.
    const auto startCode = [stream](std::size_t at) {
        while (at + 3 <= stream.size()) {
            const void* const one = std::memchr(stream.data() + at + 2, 1, stream.size() - at - 2);
            if (one == nullptr) break;
            at = static_cast<std::size_t>(static_cast<const std::uint8_t*>(one) - stream.data()) - 2;
            if (stream[at] == 0 && stream[at + 1] == 0) return at;
            ++at;
        }
        return stream.size();
    };
    std::vector<std::span<const std::uint8_t>> units;
    for (std::size_t start = startCode(0); start < stream.size();) {
        const std::size_t begin = start + 3;
        const std::size_t next = startCode(begin);
        std::size_t end = next;
        while (end > begin && stream[end - 1] == 0) --end;  // the next start code's leading zeros
        if (begin < end) units.push_back(stream.subspan(begin, end - begin));
        start = next;
    }
    return units;
}

std::vector<std::uint8_t> unescaped(std::span<const std::uint8_t> unit) {
    std::vector<std::uint8_t> content;
    content.reserve(unit.size());
    std::size_t copied = 0;
    for (std::size_t at = 2; at < unit.size(); ++at) {
        const void* const three = std::memchr(unit.data() + at, 3, unit.size() - at);
        if (three == nullptr) break;
        at = static_cast<std::size_t>(static_cast<const std::uint8_t*>(three) - unit.data());
        if (at < copied + 2 || unit[at - 1] != 0 || unit[at - 2] != 0) continue;
        content.insert(content.end(), unit.begin() + static_cast<std::ptrdiff_t>(copied),
                       unit.begin() + static_cast<std::ptrdiff_t>(at));
        copied = at + 1;
    }
    content.insert(content.end(), unit.begin() + static_cast<std::ptrdiff_t>(copied), unit.end());
    return content;
}

std::vector<std::uint8_t> escaped(std::span<const std::uint8_t> content) {
    std::vector<std::uint8_t> unit;
    unit.reserve(content.size() + content.size() / 64 + 4);
    std::size_t copied = 0;
    for (std::size_t at = 0; at + 2 < content.size();) {
        const void* const zero = std::memchr(content.data() + at, 0, content.size() - at);
        if (zero == nullptr) break;
        at = static_cast<std::size_t>(static_cast<const std::uint8_t*>(zero) - content.data());
        if (at + 2 >= content.size()) break;
        if (content[at + 1] != 0 || content[at + 2] > 3) {
            ++at;
            continue;
        }
        at += 2;
        unit.insert(unit.end(), content.begin() + static_cast<std::ptrdiff_t>(copied),
                    content.begin() + static_cast<std::ptrdiff_t>(at));
        unit.push_back(3);
        copied = at;
    }
    unit.insert(unit.end(), content.begin() + static_cast<std::ptrdiff_t>(copied), content.end());
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
