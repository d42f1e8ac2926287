// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/film_groups.h"

#include <utility>

#include "media/region/region_pictures.h"
#include "render/export_plan.h"
#include "render/film_target.h"
#include "render/overview/overview_cache.h"

namespace lumivastor::render {

FrameMaker framesOf(const edit::Composition& composition) {
    return [&composition](const imaging::Picture& source, const std::optional<imaging::Picture>& webcam,
                          double sourceTime) { return composition.compose(source, webcam, sourceTime); };
}

std::optional<PixelRect> cameraPlace(const ComposedFrames& frames, PixelSize canvas) {
    const Rect& bubble = frames.state().layout.bubbleRect;
    if (!frames.hasCamera() || bubble.isEmpty()) return std::nullopt;
    return pixelsTouchedBy(bubble, canvas);
}

media::VideoSettings filmVideoSettings(PixelSize canvas, std::int64_t fps, const std::optional<PixelRect>& camera) {
    media::VideoSettings settings = exportVideoSettings(canvas, fps, camera);
    settings.timescale = kExportTimescale;
    settings.highProfile = true;
    return settings;
}

bool comesInGroups(const media::EncoderChoice& choice) {
    return !choice.candidate.isHardware() && !choice.make && media::regionPicturesAreOn();
}

GroupProducer::Options groupOptions(media::VideoSettings video, PixelSize canvas, std::int64_t fps, std::int64_t total,
                                    const std::optional<PixelRect>& camera) {
    GroupProducer::Options options;
    options.fps = fps;
    options.total = total;
    options.video = std::move(video);
    options.regions = exportRegionSettings(canvas, fps, camera);
    return options;
}

GroupStore::Options groupPlaces(const edit::Recording& recording, const std::filesystem::path& cacheFolder,
                                const std::filesystem::path& target) {
    GroupStore::Options options;
    options.folder = cacheFolder;
    options.recording = movieIdentity(recording.folder / "source.mov");
    options.films = {target};
    for (const FilmForm form : {FilmForm::mp4, FilmForm::mov}) {
        const std::filesystem::path usual = filmTarget(recording, form, {});
        if (usual != target) options.films.push_back(usual);
    }
    return options;
}

}  // namespace lumivastor::render
