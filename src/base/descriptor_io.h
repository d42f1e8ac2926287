// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <system_error>

// Reading and writing all of a block, however many calls of the system it takes. Any thread.

namespace lumivastor {

/// How many bytes were moved. Without an error that is all of them, or in reading as many as there were up to the end
/// of the file.
struct Transfer {
    std::size_t count = 0;
    std::error_code error;
};

/// From or to where the file stands, which moves on.
Transfer readAll(int file, void* bytes, std::size_t size);
Transfer writeAll(int file, const void* bytes, std::size_t size);

/// From or to a place in the file, which stays where it stands.
Transfer readAllAt(int file, std::uint64_t offset, void* bytes, std::size_t size);
Transfer writeAllAt(int file, std::uint64_t offset, const void* bytes, std::size_t size);

}  // namespace lumivastor
