// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

#include "model/capture_info.h"
#include "model/pointer_track.h"
#include "model/project_settings.h"
#include "support/test_movie.h"

namespace lumivastor {

/// Writes a whole recording into a folder, for tests that export it: `pictures` numbered ones, a thirtieth of a second
/// each, with system sound. The film is `exportHeight` pixels high.
inline void makeSmallRecording(const std::filesystem::path& folder, int pictures, int exportHeight) {
    TestMovieOptions options;
    options.pictures = pictures;
    options.sounds.emplace_back();
    makeTestMovie(folder / "source.mov", options);
    model::CaptureInfo info;
    info.createdAt = "2024-05-01T09:30:12Z";
    info.pixelWidth = options.width;
    info.pixelHeight = options.height;
    info.fps = options.frameRate;
    info.systemAudio = true;
    info.duration = static_cast<double>(pictures) / options.frameRate;
    info.save(folder);
    model::PointerTrack track;
    track.events = {{0, 10, 20, 0, 0, model::PointerKind::move, {}, {}, {}}};
    track.save(folder);
    model::ProjectSettings settings;
    settings.exportHeight = exportHeight;
    settings.save(folder);
}

}  // namespace lumivastor
