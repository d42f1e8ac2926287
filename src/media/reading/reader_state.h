// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <mutex>
#include <optional>

#include "base/media_time.h"
#include "base/recorder_error.h"
#include "media/reading/asset_reader.h"

namespace lumivastor::media {

/// What a reader and its outputs share. The outputs may run on several threads.
struct ReaderState {
    std::optional<TimeRange> range;  // set before the reader is started, then only read

    std::mutex lock;
    AssetReader::Status status = AssetReader::Status::unknown;  // guarded by lock
    int outputsRunning = 0;                                     // guarded by lock
    std::optional<RecorderError> error;                         // guarded by lock; the first one
    std::optional<MediaTime> failureTime;                       // guarded by lock

    void fail(const RecorderError& reason, const MediaTime& time) {
        const std::lock_guard hold(lock);
        if (status == AssetReader::Status::failed) return;
        status = AssetReader::Status::failed;
        error = reason;
        failureTime = time;
    }

    void outputEnded() {
        const std::lock_guard hold(lock);
        if (--outputsRunning == 0 && status == AssetReader::Status::reading) status = AssetReader::Status::completed;
    }
};

}  // namespace lumivastor::media
