// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/isobmff/movie_boxes.h"

#include <algorithm>
#include <array>
#include <limits>

#include "base/descriptor_io.h"
#include "base/precondition.h"

namespace lumivastor::media {

void BoxWriter::begin(std::uint32_t kind) {
    open_.push_back(bytes_.size());
    u32(0);
    u32(kind);
}

void BoxWriter::begin(std::uint32_t kind, std::uint8_t version, std::uint32_t flags) {
    begin(kind);
    u32(std::uint32_t{version} << 24 | flags);
}

void BoxWriter::end() {
    precondition(!open_.empty(), "an open box");
    const std::size_t size = bytes_.size() - open_.back();
    precondition(size <= std::numeric_limits<std::uint32_t>::max(), "a box of less than 4 GB");
    patch(open_.back(), static_cast<std::uint32_t>(size));
    open_.pop_back();
}

void BoxWriter::u8(std::uint32_t value) {
    bytes_.push_back(static_cast<std::uint8_t>(value));
}

void BoxWriter::u16(std::uint32_t value) {
    u8(value >> 8);
    u8(value);
}

void BoxWriter::u32(std::uint32_t value) {
    u16(value >> 16);
    u16(value);
}

void BoxWriter::u64(std::uint64_t value) {
    u32(static_cast<std::uint32_t>(value >> 32));
    u32(static_cast<std::uint32_t>(value));
}

void BoxWriter::zeros(std::size_t count) {
    bytes_.insert(bytes_.end(), count, 0);
}

void BoxWriter::append(std::span<const std::uint8_t> bytes) {
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
}

void BoxWriter::append(std::string_view text) {
    bytes_.insert(bytes_.end(), text.begin(), text.end());
}

void BoxWriter::patch(std::size_t position, std::uint32_t value) {
    for (int i = 0; i < 4; ++i) bytes_.at(position++) = static_cast<std::uint8_t>(value >> (24 - 8 * i));
}

void ByteReader::skip(std::size_t count) {
    overran_ = overran_ || count > bytes_.size();
    bytes_ = bytes_.subspan(std::min(count, bytes_.size()));
}

std::uint64_t ByteReader::number(std::size_t count) {
    std::uint64_t value = 0;
    if (count > bytes_.size()) {
        skip(count);
        return 0;
    }
    for (std::size_t i = 0; i < count; ++i) value = value << 8 | bytes_[i];
    skip(count);
    return value;
}

std::optional<Box> BoxReader::next() {
    constexpr std::size_t kHeader = 8;
    ByteReader reader(bytes_);
    const std::uint32_t size = reader.u32();
    const std::uint32_t kind = reader.u32();
    if (size < kHeader || size > bytes_.size()) {
        bytes_ = {};
        return std::nullopt;
    }
    const Box box{kind, bytes_.first(size), bytes_.subspan(kHeader, size - kHeader)};
    bytes_ = bytes_.subspan(size);
    return box;
}

std::optional<Box> findBox(std::span<const std::uint8_t> bytes, std::uint32_t kind) {
    BoxReader reader(bytes);
    while (const auto box = reader.next()) {
        if (box->kind == kind) return box;
    }
    return std::nullopt;
}

bool readExactly(int file, std::uint64_t offset, std::span<std::uint8_t> bytes) {
    return readAllAt(file, offset, bytes.data(), bytes.size()).count == bytes.size();
}

std::optional<FileBox> fileBoxAt(int file, std::uint64_t offset, std::uint64_t fileSize) {
    constexpr std::uint32_t kShortHeader = 8;
    constexpr std::uint32_t kLongHeader = 16;
    if (offset > fileSize || fileSize - offset < kShortHeader) return std::nullopt;
    const std::uint64_t left = fileSize - offset;
    std::array<std::uint8_t, kLongHeader> bytes{};
    const auto held = static_cast<std::size_t>(std::min<std::uint64_t>(left, bytes.size()));
    if (!readExactly(file, offset, std::span(bytes).first(held))) return std::nullopt;
    ByteReader reader(std::span<const std::uint8_t>(bytes).first(held));
    FileBox box;
    box.offset = offset;
    box.size = reader.u32();
    box.kind = reader.u32();
    box.headerSize = kShortHeader;
    if (box.size == 1) {  // the true size follows
        box.size = reader.u64();
        box.headerSize = kLongHeader;
    }
    if (reader.overran() || box.size < box.headerSize || box.size > left) return std::nullopt;
    return box;
}

}  // namespace lumivastor::media
