// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

#include "base/pixel_rect.h"
#include "base/pixel_size.h"
#include "edit/composition.h"
#include "media/encoder_choice/encoder_choice.h"
#include "media/writing/video_encoder.h"
#include "render/composed_frames.h"
#include "render/film_form.h"
#include "render/group_producer.h"
#include "render/reuse/group_store.h"

// What an export and the preparation of one (film_preparation.h) have in common: both must make the same bytes.

namespace lumivastor::render {

/// The composition's own frames. It outlives the maker.
FrameMaker framesOf(const edit::Composition& composition);

/// Where the camera's picture lies in a film of that size; nullopt without one. The frames are open.
std::optional<PixelRect> cameraPlace(const ComposedFrames& frames, PixelSize canvas);

/// How the pictures of an H.264 film are encoded, before an encoder is chosen.
media::VideoSettings filmVideoSettings(PixelSize canvas, std::int64_t fps, const std::optional<PixelRect>& camera);

/// Whether a film with this encoder comes in groups, if `GroupProducer::isPossible`. Hardware has none, nor has an
/// encoder that somebody brings along.
bool comesInGroups(const media::EncoderChoice& choice);

/// How the groups of a film of `total` pictures are made. Store, progress and stop are still to be set. `video` has its
/// encoder.
GroupProducer::Options groupOptions(media::VideoSettings video, PixelSize canvas, std::int64_t fps, std::int64_t total,
                                    const std::optional<PixelRect>& camera);

/// Where there may be groups for a film at `target`: there, and in the films in the usual places.
GroupStore::Options groupPlaces(const edit::Recording& recording, const std::filesystem::path& cacheFolder,
                                const std::filesystem::path& target);

}  // namespace lumivastor::render
