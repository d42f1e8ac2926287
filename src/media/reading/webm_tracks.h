// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <vector>

#include "media/reading/asset.h"

namespace lumivastor::media {

/// The tracks of a WebM file, with the number of samples and the ends that its packets have: reads the file once to its
/// end. Films of this form are checked so; nothing else reads them. Throws
/// `RecorderError`.
std::vector<AssetTrack> webMTracks(const std::filesystem::path& path);

}  // namespace lumivastor::media
