// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "model/project_settings.h"

namespace lumivastor::model {

/// The "project.json" of a recording that is being edited. Other programs may write it meanwhile, and it may be no
/// document at all: what is there and is not what was read, or could not be read, is kept beside when it is replaced.
/// One thread.
class ProjectDocument {
  public:
    /// What was there when the document was saved.
    enum class Before : std::uint8_t {
        expected,    // nothing, or what was read or saved last
        unreadable,  // not a document; kept beside
        foreign,     // another program's; kept beside
    };

    /// The name under which something is kept beside the document, in the same folder. There is one; the next replaces
    /// it.
    static constexpr const char* kKeptName = "project.json.alt";

    /// Longer documents are not read. Far above what a real one needs, far below what would hurt.
    static constexpr std::uint64_t kMaxBytes = 64ull << 20;

    /// A document's text. Throws `RecorderError` when a number cannot be written.
    static std::string encoded(const ProjectSettings& settings);

    /// Reads the folder's document. One that is missing or cannot be read counts as a new one; never fails.
    explicit ProjectDocument(std::filesystem::path folder);

    /// What was read.
    const ProjectSettings& settings() const { return settings_; }
    /// Whether there is anything in the document's place now.
    bool exists() const;

    /// Replaces the document. Throws `RecorderError`, and leaves everything as it was, when that does not work.
    Before save(const ProjectSettings& settings);

  private:
    const std::filesystem::path folder_;
    ProjectSettings settings_;
    std::optional<std::string> known_;  // the document as it was read or saved last
};

}  // namespace lumivastor::model
