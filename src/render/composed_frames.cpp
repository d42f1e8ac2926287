// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/composed_frames.h"

#include "base/formatted.h"
#include "base/handled_error.h"
#include "base/log.h"
#include "base/recorder_error.h"
#include "render/overview/overview_cache.h"

namespace lumivastor::render {

namespace {

constexpr const char* kUndecodable = "Das Video lässt sich ab Sekunde %.0f nicht mehr dekodieren.";

}  // namespace

ComposedFrames::ComposedFrames(const edit::Composition& composition, const FrameMaker& makeFrame, Content content)
    : recording_(composition.recording()), state_(composition.state()), makeFrame_(makeFrame), content_(content) {}

// The two tracks have a reader each: damage in the camera's movie then costs its own pictures only.
void ComposedFrames::open(double start) {
    if (state_->keptSegments.empty()) {
        // Checked before any movie is opened.
        cut_ = makeCutComposition(state_->keptSegments, {}, 0);
    } else {
        const RecordingAssets assets = openRecordingAssets(recording_);
        cut_ = makeCutComposition(state_->keptSegments, assets, recording_.webcamOffset(),
                                  state_->settings.webcamShiftInForce());
    }
    if (!cut_.screenTrackId) throw RecorderError("Die Schnittfassung hat keine Videospur.");
    constexpr double kNoWebcamYet = -1;
    PictureStream::Options options;
    options.logName = "Videoleser";
    options.duration = state_->outputDuration;
    options.movie = movieIdentity(recording_.folder / "source.mov");
    options.timesOnly = content_ == Content::recipes;
    screen_.emplace(cut_.movie, *cut_.screenTrackId, options);
    screen_->open(start);
    if (!cut_.webcamTrackId) return;
    options.logName = "Webcamleser";
    options.lastSeconds = kNoWebcamYet;
    // A camera's pictures change everywhere.
    options.findsChanges = false;
    options.movie = movieIdentity(recording_.webcamFile);
    webcam_.emplace(cut_.movie, *cut_.webcamTrackId, options);
    try {
        webcam_->open(start);
    } catch (const RecorderError& error) {
        if (isOutOfMemory(error)) throw;
        Log::write("Studio", "Webcam-Film wird weggelassen: " + error.message());
        webcam_.reset();
    }
}

imaging::Picture ComposedFrames::at(double t) {
    if (!screen_->advance(t)) {
        throw RecorderError(formatted(kUndecodable, screen_->lastSeconds()));
    }
    if (webcam_ && webcamIsReadable_) webcamIsReadable_ = webcam_->advance(t);
    // The first picture is also shown before its time: it may come late, or be the first behind damage.
    const imaging::Picture* const source = screen_->current() != nullptr ? screen_->current() : screen_->pending();
    if (source == nullptr) throw RecorderError(formatted(kUndecodable, screen_->lastSeconds()));
    std::optional<imaging::Picture> webcam;
    if (webcam_ && webcam_->current() != nullptr) webcam = *webcam_->current();
    return makeFrame_(*source, webcam, shownSourceTime(cut_.shownSegments, t));
}

}  // namespace lumivastor::render
