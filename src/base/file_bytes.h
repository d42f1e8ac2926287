// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string_view>
#include <system_error>

namespace lumivastor {

/// A file's content in memory, followed by `kPadding` zero bytes that belong to the buffer but not to the content, so
/// that parsers may read whole vectors past the end.
class FileBytes {
  public:
    static constexpr std::size_t kPadding = 64;

    FileBytes() = default;

    std::size_t size() const { return size_; }
    const std::byte* data() const { return bytes_.get(); }
    std::span<const std::byte> bytes() const { return {bytes_.get(), size_}; }
    std::string_view text() const { return {reinterpret_cast<const char*>(bytes_.get()), size_}; }

    /// A padded copy of `content`, for callers that hold their bytes already.
    static FileBytes copyOf(std::string_view content);

  private:
    friend FileBytes readFile(const std::filesystem::path&, std::uint64_t, std::error_code&);

    explicit FileBytes(std::size_t size);

    std::unique_ptr<std::byte[]> bytes_;
    std::size_t size_ = 0;
};

/// Reads a whole regular file. `error` is set, and the result empty, when it cannot be read, is not a regular file
/// (std::errc::not_supported; a pipe or device is never waited for) or is longer than `limit` bytes
/// (std::errc::file_too_large, before anything is allocated). Any thread.
FileBytes readFile(const std::filesystem::path& path, std::uint64_t limit, std::error_code& error);

}  // namespace lumivastor
