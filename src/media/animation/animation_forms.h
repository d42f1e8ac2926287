// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "media/animation/animated_picture.h"

// The two forms behind animated_picture.h, for this folder.

namespace lumivastor::media {

std::unique_ptr<AnimatedPictureWriter> makeWebPWriter(const std::filesystem::path& path, const std::string& shownName,
                                                      PixelSize size);
std::unique_ptr<AnimatedPictureWriter> makeGifWriter(const std::filesystem::path& path, const std::string& shownName,
                                                     PixelSize size);
AnimationFacts readWebP(const std::filesystem::path& path);
AnimationFacts readGif(const std::filesystem::path& path);

}  // namespace lumivastor::media
