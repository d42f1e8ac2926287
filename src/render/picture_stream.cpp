// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/picture_stream.h"

#include <new>
#include <utility>

#include "base/formatted.h"
#include "base/handled_error.h"
#include "base/log.h"
#include "base/recorder_error.h"
#include "base/stable_hash.h"
#include "imaging/changed_area.h"

namespace lumivastor::render {

namespace {

// A shortage of memory is no damage: continuing would leave pictures out of a film that is reported as complete.
void throwIfOutOfMemory(const RecorderError& error) {
    if (isOutOfMemory(error)) throw std::bad_alloc();
}

// Never 0, which means that a picture's source is not known.
std::uint64_t pictureSource(std::uint64_t movie, const MediaTime& time) {
    StableHash hash;
    hash.add(&movie, sizeof movie);
    hash.add(&time.value, sizeof time.value);
    hash.add(&time.timescale, sizeof time.timescale);
    return hash.value() | 1;
}

}  // namespace

PictureStream::PictureStream(media::SegmentedMovie movie, int trackId, Options options)
    : movie_(std::move(movie)), trackId_(trackId), options_(std::move(options)), slots_(options_.lastSeconds) {}

void PictureStream::open(double start) {
    openAt(MediaTime::fromSeconds(start, kExportTimescale));
    slots_.setPending(readNext());
}

void PictureStream::openAt(const MediaTime& start) {
    auto reader = std::make_unique<media::AssetReader>(movie_);
    const auto format = options_.timesOnly ? media::PictureFormat::timesOnly : media::PictureFormat::planar;
    media::VideoTrackOutput& output = reader->addVideoOutput(trackId_, format);
    if (start > MediaTime{}) {
        // A second beyond the end, so that rounding never loses the last picture.
        const MediaTime end = MediaTime::fromSeconds(options_.duration + 1, kExportTimescale);
        reader->setTimeRange(TimeRange::between(start, std::max(start, end)));
    }
    if (!reader->startReading()) {
        throw reader->error().value_or(RecorderError("source.mov konnte nicht gelesen werden."));
    }
    output_ = &output;
    reader_ = std::move(reader);
}

std::optional<PictureStream::Sample> PictureStream::readNext() {
    const std::optional<media::VideoSample> sample = output_->copyNextSample();
    if (!sample) return std::nullopt;
    imaging::YuvPicture samples = sample->planar();
    if (options_.movie) samples.source = pictureSource(*options_.movie, sample->sourceTime);
    return Sample{sample->presentationTime.seconds(), samples};
}

bool PictureStream::advance(double t) {
    const bool goesOn = advanceSlots(t);
    updateCurrent();
    return goesOn;
}

// Pictures that were never shown are not compared.
void PictureStream::updateCurrent() {
    if (slots_.current() == nullptr || slots_.current()->samples.owner == shown_.owner) return;
    imaging::YuvPicture next = slots_.current()->samples;
    if (options_.findsChanges && !options_.timesOnly && shown_.owner) {
        if (imaging::KnownDamage damage = imaging::changedArea(shown_, next)) {
            next.change =
                std::make_shared<const imaging::YuvChange>(imaging::YuvChange{shown_.owner, std::move(*damage)});
        }
    }
    current_ = imaging::Picture(next);
    shown_ = std::move(next);
}

bool PictureStream::advanceSlots(double t) {
    do {
        slots_.advance(t, [this] { return readNext(); });
        if (slots_.pending() != nullptr) return true;
        const bool failed = reader_->status() == media::AssetReader::Status::failed;
        if (const auto error = reader_->error()) throwIfOutOfMemory(*error);
        if (!RestartPolicy::isCalledFor(failed, t, options_.duration)) return true;
        const std::optional<RestartPolicy::Attempt> attempt = restarts_.next(slots_.lastSeconds());
        if (!attempt) return false;
        restart(*attempt);
    } while (slots_.current() == nullptr && slots_.pending() == nullptr);
    return true;
}

void PictureStream::restart(const RestartPolicy::Attempt& attempt) {
    const std::optional<RecorderError> reason = reader_->error();
    Log::write("Studio", formatted("%s bei %.2f s neu gestartet (Versuch %d) - Grund: %s", options_.logName.c_str(),
                                   attempt.time.seconds(), attempt.number,
                                   reason ? ("Optional(" + reason->message() + ")").c_str() : "nil"));
    try {
        openAt(attempt.time);
        slots_.setPending(readNext());
    } catch (const RecorderError& error) {
        throwIfOutOfMemory(error);
        // The failed reader stays, so that the next step is another attempt.
    }
}

}  // namespace lumivastor::render
