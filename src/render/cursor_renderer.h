// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <stop_token>
#include <thread>
#include <variant>

#include "base/recorder_error.h"
#include "media/writing/video_encoder.h"
#include "model/capture_info.h"
#include "model/pointer_track.h"
#include "render/check_video_marks.h"

// The check video: the raw recording with the whole pointer track drawn into it, to see whether pointer, cursor shapes
// and clicks match the picture. Size and picture times are the recording's own; nothing is cut, zoomed or smoothed.
// Sound is copied without decoding.
//
//     source.mov -> pictures -> marks drawn -> H.264 -> test-output.mov
//               `-> stored sound, each track --------------^
//
// The writer pulls, on "aufnahme.render.video" and, for each sound track, "aufnahme.render.audio0", "...1" and so on.
// One picture is processed at a time, so memory does not grow with the recording. Calls share no state.

namespace lumivastor::render::CursorRenderer {

struct Result {
    std::filesystem::path url;
    std::int64_t frames = 0;
    double seconds = 0;  // the time of the last picture; 0 without pictures
};

struct Options {
    /// Called with 0...1: from time to time up to 0.95 while pictures are written, 1 when the file is finished.
    std::function<void(double)> progress;
    /// Posts calls of `progress` and of the completion to the owner's thread. Without it they run on the render's own
    /// threads.
    std::function<void(std::function<void()>)> postToMain;
    /// On a stop request the render ends within a few pictures.
    std::stop_token stop;
};

/// Writes "test-output.mov" in the recording folder. The video is made beside its place (pending_movie.h) and replaces
/// an earlier one when it is finished; then this returns. Throws `RecorderError` on a failure, including a shortage of
/// memory, and with "Abgebrochen." after a stop request; the earlier video is then unchanged and no other file is left.
/// If the source is damaged, the video ends there, which is logged. Any thread.
Result renderSync(const std::filesystem::path& folder, const Options& options = {});

using Outcome = std::variant<Result, RecorderError>;

/// The same on the returned thread; `completion` is its last call. The thread's stop token replaces the options': to
/// cancel, request a stop of the thread or destroy it, which waits for its end. Throws `RecorderError` when no thread
/// can be started; `completion` is not called then.
[[nodiscard]] std::jthread render(std::filesystem::path folder, Options options,
                                  std::function<void(const Outcome&)> completion);

/// Loads a track's visible cursor shapes with readable pictures; of several with one id, the last. Limits as for
/// `loadCursorAssets`.
Assets loadCursorImages(const model::PointerTrack& track, const std::filesystem::path& folder);

/// The encoder settings of a recording's check video, on the source movie's clock: 0.1 bits for each pixel, a key
/// picture every two seconds. Frame rates are clamped to 1...1000.
media::VideoSettings videoSettings(const model::CaptureInfo& info, std::int32_t timescale);

/// The progress to report when the picture at `t` has been written, for a recording of `duration` (both in seconds).
double progressAt(double t, double duration);

}  // namespace lumivastor::render::CursorRenderer
