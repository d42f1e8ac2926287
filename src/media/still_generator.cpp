#include "media/still_generator.h"

#include <algorithm>
#include <utility>

#include "base/precondition.h"
#include "base/recorder_error.h"
#include "media/frame_size.h"

namespace lumivastor {

StillGenerator::StillGenerator(PlayerItem item, int width, int height)
    : item_(std::move(item)), width_(width), height_(height), painter_(1) {
    precondition(width >= 1 && height >= 1, "a still has a size");
    const auto track = [this](const std::optional<int>& id) { return id ? item_.movie.track(*id) : nullptr; };
    if (const auto* screen = track(item_.screenTrackId)) screen_.emplace(*screen, PictureFinder::Before::firstPicture);
    if (const auto* webcam = track(item_.webcamTrackId)) webcam_.emplace(*webcam, PictureFinder::Before::nothing);
}

BgraPremultipliedBuffer StillGenerator::still(double seconds) {
    const double limited = std::clamp(seconds, 0.0, std::max(item_.duration, 0.0));
    const MediaTime moment = momentOf(limited);
    std::optional<ShownPicture> screen;
    if (screen_) screen = screen_->find(moment);
    if (!screen || !screen->picture) throw RecorderError("Vorschaubild konnte nicht gebaut werden.");
    std::optional<Picture> webcam;
    try {
        if (webcam_) webcam = webcam_->find(moment)->picture;
    } catch (const RecorderError&) {
        webcam_.reset();  // left out, as in the preview and the export
    }
    const FrameSize canvas{item_.canvasWidth, item_.canvasHeight};
    const FrameSize size = fittedFrame(canvas, {width_, height_});
    BgraPremultipliedBuffer still(size.width, size.height);
    painter_.paint(item_.compositor(*screen->picture, webcam, limited).transformed(scalingTo(canvas, size)), still);
    return still;
}

}  // namespace lumivastor
