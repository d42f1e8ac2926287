// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/file_bytes.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "base/descriptor_io.h"
#include "base/unique_descriptor.h"

namespace lumivastor {

FileBytes::FileBytes(std::size_t size)
    // Not zeroed: a large file's pages are touched once, by the read itself.
    : bytes_(new std::byte[size + kPadding]), size_(size) {
    std::memset(bytes_.get() + size, 0, kPadding);
}

FileBytes FileBytes::copyOf(std::string_view content) {
    FileBytes copy(content.size());
    if (!content.empty()) std::memcpy(copy.bytes_.get(), content.data(), content.size());
    return copy;
}

FileBytes readFile(const std::filesystem::path& path, std::uint64_t limit, std::error_code& error) {
    error.clear();
    const auto failed = [&error](int number) {
        error = std::error_code(number, std::generic_category());
        return FileBytes();
    };
    // Otherwise opening a pipe for reading would wait for a writer.
    const UniqueDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (!file.isOpen()) return failed(errno);
    struct stat status {};
    if (::fstat(file.get(), &status) != 0) return failed(errno);
    if (S_ISDIR(status.st_mode)) return failed(EISDIR);
    if (!S_ISREG(status.st_mode)) return failed(ENOTSUP);
    if (static_cast<std::uint64_t>(status.st_size) > limit) return failed(EFBIG);

    FileBytes content(static_cast<std::size_t>(status.st_size));
    // Less than all where it was shortened meanwhile.
    const auto [done, failure] = readAll(file.get(), content.bytes_.get(), content.size_);
    if (failure) return failed(failure.value());
    std::memset(content.bytes_.get() + done, 0, content.size_ - done);
    content.size_ = done;
    return content;
}

}  // namespace lumivastor
