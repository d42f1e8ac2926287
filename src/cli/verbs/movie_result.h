// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <iosfwd>
#include <optional>

namespace lumivastor::cli {

/// Writes the JSON document about a finished movie: absolute path, number of pictures, duration in seconds, and for
/// studio movies the number of zooms.
void writeMovieResult(std::ostream& out, const std::filesystem::path& url, std::int64_t frames, double seconds,
                      std::optional<std::int64_t> zoomCount = std::nullopt);

}  // namespace lumivastor::cli
