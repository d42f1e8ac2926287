// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <vector>

#include "model/capture_info.h"
#include "model/pointer_track.h"
#include "model/project_settings.h"

namespace lumivastor::edit {

/// The content of the documents of one recording folder, read once and never changed, with extracts that every edit
/// needs.
struct Recording {
    std::filesystem::path folder;
    model::CaptureInfo info;
    model::PointerTrack track;
    /// The presses of `track.events`, in order, so that an edit need not walk a million moves.
    std::vector<model::PointerSample> presses;
    /// Where the pointer came to rest, when clicks are not known; see `pointerRests`.
    std::vector<model::PointerSample> rests;
    /// Source times that the user marked while recording, in order.
    std::vector<double> marks;
    /// The webcam movie that the capture document names, when the folder has it; empty otherwise.
    std::filesystem::path webcamFile;

    bool knowsPositions() const { return info.knowsPositions(); }
    bool hasWebcam() const { return !webcamFile.empty(); }
    /// Seconds from the screen movie's time zero to the webcam movie's; 0 when the document gives none.
    double webcamOffset() const { return info.webcamOffset.value_or(0); }

    /// Reads a folder's capture and pointer documents. Throws `RecorderError` when one cannot be read or holds values
    /// that cannot be used: a picture without area, a length that no cursor path can hold, positions and times far
    /// outside of any screen and any recording.
    static Recording load(const std::filesystem::path& folder);

    /// The same from documents in memory; `folder` may be any, or empty.
    Recording(std::filesystem::path folder, model::CaptureInfo info, model::PointerTrack track);
};

/// Throws `RecorderError` when the zooms of a project document cannot be turned into a camera path: one without a focus
/// key, or with impossible times, positions or scales.
void checkZooms(const model::ProjectSettings& settings);

/// The most masks of a project: users do not draw more, and each of them costs time and memory in every frame.
inline constexpr std::size_t kMaximumMasks = 1000;

/// Throws `RecorderError` when a project document has more masks than `kMaximumMasks`.
void checkMasks(const model::ProjectSettings& settings);

}  // namespace lumivastor::edit
