// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <stop_token>
#include <thread>
#include <variant>

#include "base/recorder_error.h"
#include "media/writing/encoders.h"
#include "model/capture_info.h"
#include "model/pointer_track.h"
#include "render/check_video_marks.h"

// The check video: the raw recording with everything the pointer track says drawn into it, so that one look shows
// whether pointer, cursor shapes and clicks line up with the picture. Size and picture times are the recording's own;
// nothing is cut, zoomed or smoothed. Sound is copied as it is stored.
//
//     source.mov -> pictures -> marks drawn -> H.264 -> test-output.mov
//               `-> stored sound, each track --------------^
//
// The writer pulls, on "aufnahme.render.video" and, for each sound track, "aufnahme.render.audio0", "...1" and so on.
// One picture is in work at a time, so memory does not grow with the recording. Nothing is kept between calls.

namespace lumivastor::render::CursorRenderer {

struct Result {
    std::filesystem::path url;
    std::int64_t frames = 0;
    double seconds = 0;  // when the last picture is shown; 0 without any
};

struct Options {
    /// Gets 0...1: now and then up to 0.95 while pictures are written, 1 once the file is finished.
    std::function<void(double)> progress;
    /// Runs calls of `progress` and of the completion on the thread where they belong. Without it they come on the
    /// render's own threads.
    std::function<void(std::function<void()>)> postToMain;
    /// Asked to stop, the render ends within a few pictures.
    std::stop_token stop;
};

/// Writes "test-output.mov" in the recording folder. The video is made beside its place (pending_movie.h) and replaces
/// what was there once it is finished; then this returns. Throws `RecorderError`: what failed, or "Abgebrochen." when
/// asked to stop; what was there is there as before, and nothing else is left. A shortage of memory is such an error. A
/// source that is damaged from somewhere on gives a video that ends there; the log says so. Any thread.
Result renderSync(const std::filesystem::path& folder, const Options& options = {});

using Outcome = std::variant<Result, RecorderError>;

/// The same on a thread of its own, `completion` last. The thread's stop token replaces the options': to cancel, ask
/// the returned thread to stop, or let it go, which waits for its end. Throws `RecorderError`, with no completion to
/// come, when no thread can be started.
[[nodiscard]] std::jthread render(std::filesystem::path folder, Options options,
                                  std::function<void(const Outcome&)> completion);

/// The cursor shapes of a track that are visible and whose pictures can be read; of several with one id, the last.
/// Limits are those of `loadCursorAssets`.
Assets loadCursorImages(const model::PointerTrack& track, const std::filesystem::path& folder);

/// How a recording's check video is encoded, on the source movie's clock. A tenth of a bit for each pixel, a key
/// picture every two seconds. Rates that no screen has are taken for the nearest of 1...1000.
media::VideoSettings videoSettings(const model::CaptureInfo& info, std::int32_t timescale);

/// What is reported when the picture at `t` has been written, for a recording of `duration` (both in seconds).
double progressAt(double t, double duration);

}  // namespace lumivastor::render::CursorRenderer
