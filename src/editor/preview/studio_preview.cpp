// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/preview/studio_preview.h"

#include <mutex>
#include <optional>
#include <utility>

#include "base/recorder_error.h"
#include "imaging/picture.h"
#include "render/export_plan.h"

namespace lumivastor::editor {

// What the player's thread composes with, and the main thread exchanges.
class StudioPreview::LiveComposition {
  public:
    explicit LiveComposition(std::shared_ptr<const edit::Composition> composition)
        : composition_(std::move(composition)) {}

    void set(std::shared_ptr<const edit::Composition> composition) {
        const std::lock_guard hold(lock_);
        composition_.swap(composition);
    }
    std::shared_ptr<const edit::Composition> current() const {
        const std::lock_guard hold(lock_);
        return composition_;
    }
    imaging::Picture compose(const imaging::Picture& screen, const std::optional<imaging::Picture>& webcam,
                             const playback::FrameRequest& frame) const {
        const std::shared_ptr<const edit::Composition> composition = current();
        const double width = static_cast<double>(kCanvas.width) / composition->canvasWidth();
        const double height = static_cast<double>(kCanvas.height) / composition->canvasHeight();
        return composition->composeShown(screen, webcam, frame.seconds, frame.size, frame.isStill)
            .transformed(imaging::AffineTransform::scaling(width, height));
    }

  private:
    mutable std::mutex lock_;
    std::shared_ptr<const edit::Composition> composition_;  // guarded by lock_
};

StudioPreview::StudioPreview(std::shared_ptr<const edit::Composition> composition,
                             const render::RecordingAssets& assets) {
    const model::CaptureInfo& info = composition->info();
    if (!(info.duration > 0)) throw RecorderError("Die Aufnahme hat keine Länge.");
    render::checkFrameRate(info.fps);
    const Interval whole{0, info.duration};
    uncut_ = render::makeCutComposition({&whole, 1}, assets, composition->recording().webcamOffset());
    live_ = std::make_shared<LiveComposition>(std::move(composition));
}

void StudioPreview::setComposition(std::shared_ptr<const edit::Composition> composition) {
    live_->set(std::move(composition));
}

playback::PlayerItem StudioPreview::item() const {
    const model::CaptureInfo info = live_->current()->info();
    playback::PlayerItem item;
    item.movie = uncut_.movie;
    item.screenTrackId = uncut_.screenTrackId;
    item.webcamTrackId = uncut_.webcamTrackId;
    item.webcamShift = webcamShift();
    item.audioMix = audioMix();
    item.compositor = compositor();
    item.canvasWidth = kCanvas.width;
    item.canvasHeight = kCanvas.height;
    item.framesPerSecond = static_cast<double>(info.fps);
    item.duration = info.duration;
    item.playedRanges = playedRanges();
    return item;
}

playback::VideoCompositor StudioPreview::compositor() const {
    return [live = live_](const imaging::Picture& screen, const std::optional<imaging::Picture>& webcam,
                          const playback::FrameRequest& frame) { return live->compose(screen, webcam, frame); };
}

std::vector<media::AudioMixInput> StudioPreview::audioMix() const {
    const std::shared_ptr<const edit::Composition> composition = live_->current();
    return render::makeAudioMix(composition->info(), composition->settings(), uncut_.audioTrackIds);
}

double StudioPreview::webcamShift() const {
    return live_->current()->settings().webcamShiftInForce();
}

std::vector<Interval> StudioPreview::playedRanges() const {
    return live_->current()->keptSegments();
}

}  // namespace lumivastor::editor
