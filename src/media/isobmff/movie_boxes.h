// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace lumivastor::media {

// The structure of QuickTime files: nested boxes, each with its length and a four-letter kind; all numbers are
// big-endian.

constexpr std::uint32_t fourCC(const char (&letters)[5]) {
    std::uint32_t kind = 0;
    for (int i = 0; i < 4; ++i) kind = kind << 8 | static_cast<std::uint8_t>(letters[i]);
    return kind;
}

/// Builds boxes in memory. None may reach 4 GB.
class BoxWriter {
  public:
    /// Opens a box inside the one that is open.
    void begin(std::uint32_t kind);
    /// A box whose content starts with a version and 24 flags.
    void begin(std::uint32_t kind, std::uint8_t version, std::uint32_t flags);
    /// Closes the box opened last.
    void end();

    void u8(std::uint32_t value);
    void u16(std::uint32_t value);
    void u32(std::uint32_t value);
    void u64(std::uint64_t value);
    void zeros(std::size_t count);
    void append(std::span<const std::uint8_t> bytes);
    void append(std::string_view text);

    std::size_t size() const { return bytes_.size(); }
    /// Replaces four bytes written before.
    void patch(std::size_t position, std::uint32_t value);

    std::vector<std::uint8_t> take() { return std::move(bytes_); }

  private:
    std::vector<std::uint8_t> bytes_;
    std::vector<std::size_t> open_;  // where the boxes begin that are not closed yet
};

/// Reads numbers one after the other. Beyond the end it returns zeros and reports that.
class ByteReader {
  public:
    explicit ByteReader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    std::uint32_t u8() { return static_cast<std::uint32_t>(number(1)); }
    std::uint32_t u16() { return static_cast<std::uint32_t>(number(2)); }
    std::uint32_t u32() { return static_cast<std::uint32_t>(number(4)); }
    std::uint64_t u64() { return number(8); }
    void skip(std::size_t count);

    std::size_t left() const { return bytes_.size(); }
    bool overran() const { return overran_; }

  private:
    std::uint64_t number(std::size_t count);

    std::span<const std::uint8_t> bytes_;
    bool overran_ = false;
};

struct Box {
    std::uint32_t kind = 0;
    std::span<const std::uint8_t> whole;    // with its header
    std::span<const std::uint8_t> content;  // without
};

/// Walks the boxes that lie side by side in `bytes`.
class BoxReader {
  public:
    explicit BoxReader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    /// nullopt at the end, and at a box that reaches beyond it.
    std::optional<Box> next();

  private:
    std::span<const std::uint8_t> bytes_;
};

/// The first box of a kind among those in `bytes`.
std::optional<Box> findBox(std::span<const std::uint8_t> bytes, std::uint32_t kind);

/// The position of a top-level box in a file.
struct FileBox {
    std::uint32_t kind = 0;
    std::uint64_t offset = 0;
    std::uint64_t size = 0;  // with its header
    std::uint32_t headerSize = 0;

    std::uint64_t end() const { return offset + size; }
};

/// The box at `offset` of an open file of `fileSize` bytes; nullopt when there is no whole box.
std::optional<FileBox> fileBoxAt(int file, std::uint64_t offset, std::uint64_t fileSize);

/// Reads exactly this part of a file; false on failure. Does not move the file's position.
bool readExactly(int file, std::uint64_t offset, std::span<std::uint8_t> bytes);

}  // namespace lumivastor::media
