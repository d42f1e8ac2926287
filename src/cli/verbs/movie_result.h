// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <iosfwd>
#include <optional>

namespace lumivastor::cli {

/// Facts that only studio movies have.
struct StudioFacts {
    std::int64_t zoomCount = 0;
    std::int64_t reusedFrames = 0;
};

/// Writes the JSON document about a finished movie: absolute path, number of pictures, duration in seconds, and more of
/// studio movies.
void writeMovieResult(std::ostream& out, const std::filesystem::path& url, std::int64_t frames, double seconds,
                      const std::optional<StudioFacts>& studio = std::nullopt);

}  // namespace lumivastor::cli
