// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <vector>

#include "base/file_bytes.h"

namespace lumivastor::model {

/// A moment that the user marked while recording.
struct Mark {
    /// Source time, in seconds.
    double t = 0;

    bool operator==(const Mark&) const = default;
};

/// "marks.json": the marks of a recording. Written at its end, and only if there are any; readers may lack it.
struct Marks {
    std::int64_t version = 1;
    /// Ascending.
    std::vector<Mark> list;

    bool operator==(const Marks&) const = default;

    static std::filesystem::path fileURL(const std::filesystem::path& folder) { return folder / "marks.json"; }

    /// Reads the folder's document; nullopt when there is none. Throws `RecorderError` that names the file and the
    /// reason.
    static std::optional<Marks> find(const std::filesystem::path& folder);

    /// The source times of the folder's marks, without those that no recording can have; none where the document is
    /// missing or faulty, which the log says.
    static std::vector<double> timesIn(const std::filesystem::path& folder);

    /// Reads the document from memory. Throws `RecorderError` with only the reason.
    static Marks parse(const FileBytes& document);

    /// Replaces the folder's document. Throws `RecorderError` when it cannot be written.
    void save(const std::filesystem::path& folder) const;
};

}  // namespace lumivastor::model
