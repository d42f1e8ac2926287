// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/film_pictures.h"

#include <cstddef>
#include <thread>
#include <utility>

#include "base/media_time.h"
#include "base/recorder_error.h"
#include "imaging/damage_area.h"
#include "render/export_plan.h"

namespace lumivastor::render {

namespace {

MediaTime pictureTime(std::int64_t number, std::int64_t fps) {
    return MediaTime::fromSeconds(frameSeconds(number, fps), kExportTimescale);
}

}  // namespace

void FilmPictures::countPicture(bool isTaken, const media::AssetWriter& writer) {
    if (!isTaken) throw writer.error().value_or(RecorderError("Ein Bild konnte nicht geschrieben werden."));
    ++count_;
}

PaintedPictures::PaintedPictures(media::AssetWriter& writer, const media::VideoSettings& settings,
                                 ComposedFrames& frames, Options options)
    : writer_(writer),
      input_(writer.addVideoInput(settings)),
      frames_(frames),
      options_(std::move(options)),
      painter_({settings.width, settings.height}) {}

FilmPictures::Pass PaintedPictures::append() {
    if (count() == options_.total) return Pass::end;
    imaging::Picture picture = frames_.at(frameSeconds(count(), options_.fps));
    const MediaTime time = pictureTime(count(), options_.fps);
    const imaging::KnownDamage damage = painter_.differenceFromLast(picture);
    bool isTaken = false;
    if (damage && damage->isEmpty()) {
        painter_.repeat(std::move(picture));
        isTaken = input_.appendRepeat(time);
    } else {
        std::shared_ptr<imaging::PlanarBuffer> buffer = painter_.paint(std::move(picture), damage, input_.pool());
        if (!buffer) {
            if (++memoryAttempts_ == kMemoryAttempts) throw RecorderError("Kein Speicher für die Ausgabebilder.");
            std::this_thread::sleep_for(kMemoryPause);
            return Pass::again;
        }
        memoryAttempts_ = 0;
        isTaken = input_.append(std::move(buffer), time, damage);
    }
    countPicture(isTaken, writer_);
    if (options_.progress) options_.progress(count());
    return Pass::done;
}

GroupedPictures::GroupedPictures(media::AssetWriter& writer, std::unique_ptr<GroupProducer> producer, std::int64_t fps)
    : writer_(writer), input_(writer.addStoredInput(producer->format())), producer_(std::move(producer)), fps_(fps) {}

FilmPictures::Pass GroupedPictures::append() {
    if (!group_ || picture_ == group_->sizes.size()) {
        group_ = producer_->next();
        picture_ = 0;
        if (!group_) return Pass::end;
    }
    const MediaTime time = pictureTime(count(), fps_);
    const bool isTaken =
        input_.append(media::storedPicture(*group_, picture_, time, pictureTime(count() + 1, fps_) - time));
    ++picture_;
    countPicture(isTaken, writer_);
    return Pass::done;
}

}  // namespace lumivastor::render
