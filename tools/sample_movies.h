// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

#include "model/capture_info.h"
#include "model/pointer_track.h"

namespace lumivastor {

/// Writes the "source.mov" that belongs to a sample's documents: a desktop with a button below every click, a ball that
/// never rests, and the number of the picture in the bottom-left corner. Every two seconds a white square in the
/// top-left corner flashes for one picture, with a beep on each sound track that the capture document names: 1000 Hz in
/// the system sound, 660 Hz on the microphone (mono). Thirty pictures a second. Throws `RecorderError`.
void makeSourceMovie(const std::filesystem::path& folder, const model::CaptureInfo& info,
                     const model::PointerTrack& track);

/// Writes "webcam.mov": a face of sorts that nods, from its own zero for `seconds`.
void makeWebcamMovie(const std::filesystem::path& folder, double seconds);

}  // namespace lumivastor
