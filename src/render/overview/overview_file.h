// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "render/overview/recording_overview.h"

// An overview as a file of the cache: a header with version and movie, the still stretches, the levels of both sound
// tracks, the small pictures as PNG, a checksum. Numbers are little-endian. A change of what a file means raises
// `kOverviewVersion`; files of other versions are ignored.

namespace lumivastor::render {

inline constexpr std::uint32_t kOverviewVersion = 1;

/// Larger files are none of ours.
inline constexpr std::uint64_t kLargestOverviewFile = 64U << 20;

/// The content of a file for this movie. The overview is complete. Throws `RecorderError` when memory is short.
std::string overviewBytes(const RecordingOverview& overview, std::uint64_t movie);

/// The overview in a file; nullopt when it is of another version or movie, or damaged. Files are untrusted.
std::optional<RecordingOverview> parseOverview(std::span<const std::byte> bytes, std::uint64_t movie);

}  // namespace lumivastor::render
