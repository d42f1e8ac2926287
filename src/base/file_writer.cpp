// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/file_writer.h"

#include <fcntl.h>

#include <cerrno>
#include <utility>

#include "base/descriptor_io.h"

namespace lumivastor {

namespace {

constexpr std::size_t kBufferBytes = 64 * 1024;

}  // namespace

FileWriter::FileWriter(const std::filesystem::path& path)
    : FileWriter(UniqueDescriptor(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOCTTY, 0666))) {}

FileWriter::FileWriter(UniqueDescriptor file) : file_(std::move(file)) {
    if (!file_.isOpen()) fail(errno);
    buffer_.reserve(kBufferBytes);
}

void FileWriter::write(std::string_view bytes) {
    if (error_) return;
    buffer_.append(bytes);
    if (buffer_.size() >= kBufferBytes) flush();
}

std::error_code FileWriter::finish() {
    if (!error_) flush();
    // Network file systems tell of a full disk only here.
    if (file_.reset() != 0 && !error_) fail(errno);
    return error_;
}

void FileWriter::flush() {
    if (const std::error_code error = writeAll(file_.get(), buffer_.data(), buffer_.size()).error) {
        error_ = error;
        return;
    }
    buffer_.clear();
}

void FileWriter::fail(int number) {
    error_ = std::error_code(number, std::generic_category());
}

}  // namespace lumivastor
