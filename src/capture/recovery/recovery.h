// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

#include "capture/recording/recording_job.h"

namespace lumivastor::capture {

struct Recovery {
    RecordingJob::Stats stats;
    /// False: the folder was complete already.
    bool recovered = false;
};

/// Completes a recording whose process was ended: makes plain movies of the fragments, and from the journal the same
/// documents that a stop writes. What was not on the disk is lost: the last fragment of the movie and a quarter of a
/// second of pointer events. A complete folder does not change. It may itself be interrupted and run again.
///
/// The folder is untrusted: nothing outside it is read or written. Throws `RecorderError` when the recording still
/// runs, or when there is nothing to complete. Any thread.
Recovery recoverRecording(const std::filesystem::path& folder);

}  // namespace lumivastor::capture
