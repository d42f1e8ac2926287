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
#include "media/encoder_choice/encoder_choice.h"
#include "render/composed_frames.h"
#include "render/film_form.h"

// The export of the finished studio video.
//
//     cut timeline -> PictureStream (decoder) -> frame maker -> Painter -> encoder -> writer -> studio-output.mp4
//                  `-> audio mix ----------------> gain -> encoder ----------^
//
// The writer pulls: pictures are made on the queue "compose.video" when it has room, sound in parallel on
// "compose.audio0". Painter and decoder have their own threads. One source picture and one read ahead are held at most,
// and two seconds of coded pictures, so memory does not grow with the recording. What an earlier film has already is
// not made again (group_producer.h).

namespace lumivastor::render {

struct RenderResult {
    std::filesystem::path url;
    std::int64_t frames = 0;  // the number of pictures; of an animated picture, those that differ
    double seconds = 0;       // the duration; of a movie, `frames` divided by the recording's rate
    std::int64_t zoomCount = 0;
    std::int64_t reusedFrames = 0;  // of them, those that were taken from an earlier film or export
};

struct RenderOptions {
    /// Called with 0...1, never falling: from time to time while pictures are written, 1 when the file is finished.
    std::function<void(double)> progress;
    /// Posts calls of `progress` and of the completion to the owner's thread. Without it they run on the export's own
    /// threads.
    std::function<void(std::function<void()>)> postToMain;
    /// On a stop request the export ends within a few pictures.
    std::stop_token stop;
    /// nullopt means the settings'.
    std::optional<FilmForm> form;
    /// The film's path, whose extension does not choose the form; empty means the recording's folder.
    std::filesystem::path file;
    /// Whether the sound is brought to one loudness (film_loudness.h); nullopt means as the settings say.
    std::optional<bool> levelsLoudness;
    /// Whether the marks become chapters. Only in MP4 and MOV films, the others have none.
    bool chapters = false;
    /// How an animated picture is made.
    AnimationOptions animation;
    /// Where it is remembered what films are made of, and parts of unfinished ones are kept, so that the next export
    /// makes only what has changed. Empty: everything is made, and nothing remembered.
    std::filesystem::path cacheFolder;
    /// Everything is made.
    bool isFresh = false;
    /// Chooses the encoder for these settings. If a hardware encoder fails during the export, the export starts again
    /// with a software encoder.
    std::function<media::EncoderChoice(const media::VideoSettings&)> chooseEncoder =
        [](const media::VideoSettings& settings) { return media::chooseExportEncoder(settings); };
};

/// Exports the composition with its present settings, at the size of its canvas, to "studio-output.mp4" or ".mov" in
/// the recording's folder. The film is made beside its place (pending_movie.h); finished and checked, it replaces an
/// earlier one, and this returns. Throws `RecorderError` on a failure, including a shortage of memory, and with
/// "Abgebrochen." after a stop request; the earlier film is then unchanged and no other file is left. If damage in the
/// source affects the first pictures, the film begins with the first readable one. The composition's settings must not
/// change meanwhile.
RenderResult renderMovieSync(const edit::Composition& composition, const FrameMaker& makeFrame,
                             const RenderOptions& options = {});

/// The same with the composition's own frames.
RenderResult renderMovieSync(const edit::Composition& composition, const RenderOptions& options = {});

using RenderOutcome = std::variant<RenderResult, RecorderError>;

/// The same on the returned thread; `completion` is its last call. The thread's stop token replaces the options': to
/// cancel, request a stop of the thread or destroy it, which waits for its end. The composition must outlive it. Throws
/// `RecorderError` when no thread can be started; `completion` is not called then.
[[nodiscard]] std::jthread renderMovie(const edit::Composition& composition, FrameMaker makeFrame,
                                       RenderOptions options, std::function<void(const RenderOutcome&)> completion);

/// The same with the composition's own frames.
[[nodiscard]] std::jthread renderMovie(const edit::Composition& composition, RenderOptions options,
                                       std::function<void(const RenderOutcome&)> completion);

}  // namespace lumivastor::render
