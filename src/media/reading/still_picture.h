// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>

#include "imaging/yuv_picture.h"
#include "media/reading/asset.h"

namespace lumivastor::media {

/// The picture that a movie's first video track shows at `seconds` of its time: the last one up to that moment. None
/// before the first picture and for a movie without pictures; past the end the last one. Opens the file and decodes
/// from the key picture before. Any thread. Throws `RecorderError` when the movie cannot be decoded there.
std::optional<imaging::YuvPicture> stillPicture(const std::shared_ptr<const Asset>& asset, double seconds);

}  // namespace lumivastor::media
