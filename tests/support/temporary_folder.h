// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace lumivastor {

/// A new empty folder that is deleted with its content when the object is destroyed.
class TemporaryFolder {
  public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::filesystem::path& name) const { return path_ / name; }

    /// Writes a file and creates missing folders.
    void write(const std::filesystem::path& name, std::string_view content) const;
    std::string read(const std::filesystem::path& name) const;

  private:
    std::filesystem::path path_;
};

}  // namespace lumivastor
