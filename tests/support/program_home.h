// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "support/temporary_folder.h"

namespace lumivastor {

/// The home folder of a program that a test runs: its recordings and its log.
class ProgramHome {
  public:
    /// With a runtime folder, `run`.
    ProgramHome();

    const std::filesystem::path& path() const { return folder_.path(); }
    std::filesystem::path operator/(const std::string& name) const { return folder_ / name; }

    /// The oldest first.
    std::vector<std::filesystem::path> recordings() const;
    /// Whether the newest recording has its first pictures, and whether it is complete.
    bool isRecording() const;
    bool isFinished() const;
    std::string log() const;

  private:
    TemporaryFolder folder_;
};

}  // namespace lumivastor
