// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <span>
#include <vector>

#include "base/pixel_size.h"
#include "imaging/pixel_buffer.h"
#include "media/reading/key_pictures.h"
#include "render/overview/overview_cache.h"

// One small picture that stands for a movie, in a list of recordings.

namespace lumivastor::render {

/// The largest size of such a picture, in pixels: twice the points that a list shows.
inline constexpr PixelSize kMoviePictureSize = {224, 126};

/// The size of a movie's picture: as large as fits, in its aspect ratio, and no larger than the movie's. No side is 0.
PixelSize moviePictureSize(PixelSize movie);

/// The samples whose pictures are tried, as positions in `samples`: the key pictures next to a third of the movie, to
/// two thirds and to its beginning, each once. What comes first is often an empty desktop or a dialog.
std::vector<std::size_t> moviePictureOrder(std::span<const media::IndexedSample> samples);

/// The first of these pictures that shows more than one colour, made small; if none does, the first. Opaque. Null for a
/// movie without pictures. Throws `RecorderError` when the movie cannot be read. Any thread; takes some ten
/// milliseconds.
std::shared_ptr<const imaging::BgraPremultipliedBuffer> makeMoviePicture(const std::filesystem::path& movie);

/// The same, kept in the cache.
std::shared_ptr<const imaging::BgraPremultipliedBuffer> moviePicture(const std::filesystem::path& movie,
                                                                     const OverviewCache& cache);

}  // namespace lumivastor::render
