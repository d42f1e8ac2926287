// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

#include "base/unique_descriptor.h"

namespace lumivastor {

/// Writes a file from its beginning through a small buffer, so that a document of any length takes no more memory than
/// that. The first error sticks and ends all further writing. One thread at a time.
class FileWriter {
  public:
    /// Over what the file held: for files that the user has named. `FileReplacement` is for all others.
    explicit FileWriter(const std::filesystem::path& path);
    /// An empty file that is open for writing.
    explicit FileWriter(UniqueDescriptor file);

    void write(std::string_view bytes);

    /// Writes what is buffered and closes the file; the first error of all, none when every byte was taken.
    std::error_code finish();

  private:
    void flush();
    void fail(int number);

    UniqueDescriptor file_;
    std::string buffer_;
    std::error_code error_;
};

}  // namespace lumivastor
