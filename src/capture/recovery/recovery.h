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

/// Completes a recording whose process was ended in the middle: makes plain movies of the fragments, and of the journal
/// the same documents that a stop writes. Lost is what was not on the disk: of the movie the last fragment, of the
/// pointer a quarter of a second. A complete folder is left alone. May itself be interrupted and run again.
///
/// The folder is untrusted: nothing outside it is read or written. Throws `RecorderError` when the recording still
/// runs, or when there is nothing to complete. Any thread.
Recovery recoverRecording(const std::filesystem::path& folder);

}  // namespace lumivastor::capture
