// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

#include "base/unique_descriptor.h"

namespace lumivastor {

/// Writes a file from its beginning through a small buffer, so that memory use does not grow with the document. The
/// first error sticks: later writes do nothing. One thread at a time.
class FileWriter {
  public:
    /// Overwrites the file in place. Only for files that the user has named; `FileReplacement` is for all others.
    explicit FileWriter(const std::filesystem::path& path);
    /// Takes an empty file that is open for writing.
    explicit FileWriter(UniqueDescriptor file);

    void write(std::string_view bytes);

    /// Writes the buffer and closes the file. Returns the first error since construction, none when every byte was
    /// written.
    std::error_code finish();

  private:
    void flush();
    void fail(int number);

    UniqueDescriptor file_;
    std::string buffer_;
    std::error_code error_;
};

}  // namespace lumivastor
