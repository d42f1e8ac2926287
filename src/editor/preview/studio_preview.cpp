#include "editor/preview/studio_preview.h"

#include <mutex>
#include <optional>
#include <utility>

#include "base/recorder_error.h"
#include "imaging/picture.h"
#include "render/export_plan.h"

namespace lumivastor {

// What the player's thread composes with, and the main thread exchanges.
class StudioPreview::LiveComposition {
  public:
    explicit LiveComposition(std::shared_ptr<const Composition> composition) : composition_(std::move(composition)) {}

    void set(std::shared_ptr<const Composition> composition) {
        const std::scoped_lock guard(lock_);
        composition_.swap(composition);
    }
    std::shared_ptr<const Composition> current() const {
        const std::scoped_lock guard(lock_);
        return composition_;
    }
    Picture compose(const Picture& screen, const std::optional<Picture>& webcam, double seconds) const {
        const std::shared_ptr<const Composition> composition = current();
        const double width = static_cast<double>(kCanvas.width) / composition->canvasWidth();
        const double height = static_cast<double>(kCanvas.height) / composition->canvasHeight();
        return composition->compose(screen, webcam, seconds).transformed(AffineTransform::scaling(width, height));
    }

  private:
    mutable std::mutex lock_;
    std::shared_ptr<const Composition> composition_;  // guarded by lock_
};

StudioPreview::StudioPreview(std::shared_ptr<const Composition> composition, const RecordingAssets& assets) {
    const CaptureInfo& info = composition->info();
    if (!(info.duration > 0)) throw RecorderError("Die Aufnahme hat keine Länge.");
    checkFrameRate(info.fps);
    const KeptSegment whole{0, info.duration};
    uncut_ = makeCutComposition({&whole, 1}, assets, composition->recording().webcamOffset());
    live_ = std::make_shared<LiveComposition>(std::move(composition));
}

void StudioPreview::setComposition(std::shared_ptr<const Composition> composition) {
    live_->set(std::move(composition));
}

PlayerItem StudioPreview::item() const {
    const CaptureInfo info = live_->current()->info();
    PlayerItem item;
    item.movie = uncut_.movie;
    item.screenTrackId = uncut_.screenTrackId;
    item.webcamTrackId = uncut_.webcamTrackId;
    item.audioMix = audioMix();
    item.compositor = compositor();
    item.canvasWidth = kCanvas.width;
    item.canvasHeight = kCanvas.height;
    item.framesPerSecond = static_cast<double>(info.fps);
    item.duration = info.duration;
    item.playedRanges = playedRanges();
    return item;
}

VideoCompositor StudioPreview::compositor() const {
    return [live = live_](const Picture& screen, const std::optional<Picture>& webcam, double seconds) {
        return live->compose(screen, webcam, seconds);
    };
}

std::vector<AudioMixInput> StudioPreview::audioMix() const {
    const std::shared_ptr<const Composition> composition = live_->current();
    return makeAudioMix(composition->info(), composition->settings(), uncut_.audioTrackIds);
}

std::vector<PlayedRange> StudioPreview::playedRanges() const {
    std::vector<PlayedRange> ranges;
    for (const KeptSegment& segment : live_->current()->keptSegments()) ranges.push_back({segment.start, segment.end});
    return ranges;
}

}  // namespace lumivastor
