// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/journal/recording_documents.h"

#include <algorithm>
#include <ctime>
#include <utility>

#include "model/marks.h"
#include "model/pointer_track.h"

namespace lumivastor::capture {

void saveCaptureInfo(const std::filesystem::path& folder, model::CaptureInfo planned, const RecordingOutcome& outcome) {
    model::CaptureInfo info = std::move(planned);
    info.createdAt = model::CaptureInfo::timestamp(std::time(nullptr));
    info.t0HostClock = outcome.t0Host;
    info.t0MediaTime = outcome.t0Media;
    info.duration = outcome.duration;
    info.framesWritten = outcome.framesWritten;
    info.framesSkippedIdle = outcome.counts.framesSkippedIdle;
    info.framesDroppedBackpressure = outcome.counts.framesDropped;
    info.pointerEvents = outcome.pointerEvents;
    info.cursorPollsWithoutCursor = outcome.counts.missingCursorPolls;
    if (outcome.webcamFirstPicture) {
        info.webcamFile = "webcam.mov";
        info.webcamOffset = outcome.pauses.nearestMovieTime(*outcome.webcamFirstPicture) -
                            outcome.pauses.nearestMovieTime(outcome.t0Host);
    }
    info.save(folder);
}

void saveMarks(const std::filesystem::path& folder, const std::vector<double>& hostTimes,
               const RecordingOutcome& outcome) {
    model::Marks marks;
    const double zero = outcome.pauses.nearestMovieTime(outcome.t0Host);
    for (const double each : hostTimes) {
        const double t = outcome.pauses.nearestMovieTime(each) - zero;
        // On a still screen the movie's last picture is up to a second older than its stop.
        if (t >= 0) marks.list.push_back({std::min(t, outcome.duration)});
    }
    if (!marks.list.empty()) marks.save(folder);
}

void saveEmptyPointerTrack(const std::filesystem::path& folder) {
    model::PointerTrack().save(folder);
}

}  // namespace lumivastor::capture
