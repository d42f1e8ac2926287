// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <stop_token>
#include <thread>
#include <variant>

#include "base/recorder_error.h"
#include "edit/composition.h"
#include "imaging/picture.h"
#include "media/encoder_choice/encoder_choice.h"
#include "model/project_settings.h"

// The export of the finished studio video.
//
//     cut timeline -> PictureStream (decoder) -> frame maker -> Painter -> writer -> studio-output.mp4
//                  `-> audio mix ----------------> gain ------------------^
//
// The writer pulls: pictures are made when its encoder has room, on the queue "compose.video"; sound beside it on
// "compose.audio0". The painter and the decoder have threads of their own. At most one source picture and one that is
// read ahead are held, so memory does not grow with the recording.

namespace lumivastor::render {

/// Makes the recipe of a frame, in canvas pixels, from the screen picture and the webcam's (none before its first) at a
/// source time in seconds. Called on one thread that is not the caller's. May throw `RecorderError`.
using FrameMaker = std::function<imaging::Picture(const imaging::Picture& source,
                                                  const std::optional<imaging::Picture>& webcam, double sourceTime)>;

struct RenderResult {
    std::filesystem::path url;
    std::int64_t frames = 0;  // the video's length, and the number of its pictures
    double seconds = 0;       // frames by the recording's rate
    std::int64_t zoomCount = 0;
};

struct RenderOptions {
    /// Gets 0...1, never falling: now and then while pictures are written, 1 once the file is finished.
    std::function<void(double)> progress;
    /// Runs calls of `progress` and of the completion on the thread where they belong. Without it they come on the
    /// export's own threads.
    std::function<void(std::function<void()>)> postToMain;
    /// Asked to stop, the export ends within a few pictures.
    std::stop_token stop;
    /// The container, instead of the settings'.
    std::optional<model::ExportFormat> format;
    /// Where the film goes, whatever its name says of the container; empty: into the recording's folder.
    std::filesystem::path file;
    /// Finds the encoder for pictures with these settings. Hardware that fails on the way is followed by software, from
    /// the beginning.
    std::function<media::EncoderChoice(const media::VideoSettings&)> chooseEncoder =
        [](const media::VideoSettings& settings) { return media::chooseExportEncoder(settings); };
};

/// Exports the composition as it stands, at the size of its canvas, to "studio-output.mp4" or ".mov" in the recording's
/// folder. The film is made beside its place (pending_movie.h); once it is finished and has been checked, it replaces
/// what was there, and this returns. Throws `RecorderError`: what failed, or "Abgebrochen." when asked to stop; what
/// was there is there as before, and nothing else is left. A shortage of memory is such an error. Where damage in the
/// source leaves nothing to show at first, the film begins with the first picture that can be read. The composition's
/// settings should not change meanwhile.
RenderResult renderMovieSync(const edit::Composition& composition, const FrameMaker& makeFrame,
                             const RenderOptions& options = {});

/// The same with the composition's own frames.
RenderResult renderMovieSync(const edit::Composition& composition, const RenderOptions& options = {});

using RenderOutcome = std::variant<RenderResult, RecorderError>;

/// The same on a thread of its own, `completion` last. The thread's stop token replaces the options': to cancel, ask
/// the returned thread to stop, or let it go, which waits for its end. The composition outlives it. Throws
/// `RecorderError`, with no completion to come, when no thread can be started.
[[nodiscard]] std::jthread renderMovie(const edit::Composition& composition, FrameMaker makeFrame,
                                       RenderOptions options, std::function<void(const RenderOutcome&)> completion);

/// The same with the composition's own frames.
[[nodiscard]] std::jthread renderMovie(const edit::Composition& composition, RenderOptions options,
                                       std::function<void(const RenderOutcome&)> completion);

}  // namespace lumivastor::render
