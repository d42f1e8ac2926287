// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/descriptor_io.h"

#include <unistd.h>

#include <cerrno>

namespace lumivastor {

namespace {

// `move(done, rest)` is one call of the system for the bytes behind the first `done`; signals may interrupt it.
template <typename Move>
Transfer moveAll(std::size_t size, const Move& move) {
    Transfer transfer;
    while (transfer.count < size) {
        const ssize_t count = move(transfer.count, size - transfer.count);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) transfer.error = {errno, std::generic_category()};
        if (count <= 0) break;
        transfer.count += static_cast<std::size_t>(count);
    }
    return transfer;
}

// A file that takes nothing and names no reason would otherwise be written to for ever.
Transfer checkedWrite(Transfer transfer, std::size_t size) {
    if (transfer.count < size && !transfer.error) transfer.error = std::make_error_code(std::errc::io_error);
    return transfer;
}

}  // namespace

Transfer readAll(int file, void* bytes, std::size_t size) {
    auto* const start = static_cast<char*>(bytes);
    return moveAll(size, [&](std::size_t done, std::size_t rest) { return ::read(file, start + done, rest); });
}

Transfer writeAll(int file, const void* bytes, std::size_t size) {
    const auto* const start = static_cast<const char*>(bytes);
    const auto move = [&](std::size_t done, std::size_t rest) { return ::write(file, start + done, rest); };
    return checkedWrite(moveAll(size, move), size);
}

Transfer readAllAt(int file, std::uint64_t offset, void* bytes, std::size_t size) {
    auto* const start = static_cast<char*>(bytes);
    return moveAll(size, [&](std::size_t done, std::size_t rest) {
        return ::pread(file, start + done, rest, static_cast<off_t>(offset + done));
    });
}

Transfer writeAllAt(int file, std::uint64_t offset, const void* bytes, std::size_t size) {
    const auto* const start = static_cast<const char*>(bytes);
    const auto move = [&](std::size_t done, std::size_t rest) {
        return ::pwrite(file, start + done, rest, static_cast<off_t>(offset + done));
    };
    return checkedWrite(moveAll(size, move), size);
}

}  // namespace lumivastor
