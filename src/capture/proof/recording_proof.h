// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <functional>
#include <stop_token>

#include "model/recording_quality.h"

namespace lumivastor::capture {

struct ProofOptions {
    /// Decodes every picture, which takes about as long as an export.
    bool isThorough = false;
    std::stop_token stop;
    /// Called with 0...1, never falling, on the caller's thread.
    std::function<void(double)> progress;
};

/// Checks a complete recording: its movies against what was counted, lengths, gaps, drift, loudness, and whether it can
/// be decoded. Reads only. Throws `RecorderError` when the folder is no complete recording, when memory is short, and
/// with "Abgebrochen." after a stop request; everything else is a finding. Any thread; ten minutes of a large screen
/// take seconds.
model::RecordingQuality checkRecording(const std::filesystem::path& folder, const ProofOptions& options = {});

/// The same for a recording that has just ended, with low priority from now on for the calling thread: saves
/// "quality.json" and logs all findings. A document that cannot be saved is logged only.
model::RecordingQuality proveRecording(const std::filesystem::path& folder, std::stop_token stop = {});

}  // namespace lumivastor::capture
