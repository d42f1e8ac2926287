// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "model/project_settings.h"

namespace lumivastor::model {

/// The "project.json" of a recording that is being edited. If another program has changed the file since it was read,
/// or if it could not be read, saving keeps the old file under `kKeptName`. One thread.
class ProjectDocument {
  public:
    /// What `save` found in the document's place.
    enum class Before : std::uint8_t {
        expected,    // no file, or the one read or saved last
        unreadable,  // not a document; kept under `kKeptName`
        foreign,     // written by another program; kept under `kKeptName`
    };

    /// The name of the kept file, in the same folder. There is only one; the next replaces it.
    static constexpr const char* kKeptName = "project.json.alt";

    /// Longer documents are not read. Real documents are far shorter, and one of this length still fits in memory
    /// easily.
    static constexpr std::uint64_t kMaxBytes = 64ull << 20;

    /// The document's text. Throws `RecorderError` for infinities and NaN.
    static std::string encoded(const ProjectSettings& settings);

    /// Reads the folder's document. A missing or unreadable one gives the defaults; never throws `RecorderError`.
    explicit ProjectDocument(std::filesystem::path folder);

    /// The settings as they were read; `save` does not change them.
    const ProjectSettings& settings() const { return settings_; }
    /// Whether anything exists at the document's path now.
    bool exists() const;

    /// Replaces the document. On failure throws `RecorderError` and leaves the folder unchanged.
    Before save(const ProjectSettings& settings);

  private:
    const std::filesystem::path folder_;
    ProjectSettings settings_;
    std::optional<std::string> known_;  // the text that was read or saved last
};

}  // namespace lumivastor::model
