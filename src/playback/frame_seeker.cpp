// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/frame_seeker.h"

#include <algorithm>
#include <utility>

#include "base/formatted.h"
#include "base/log.h"
#include "base/recorder_error.h"

namespace lumivastor::playback {

namespace {

// Clock of the moments that are looked up: fine enough that rounding to it stays far below the tolerance.
constexpr std::int32_t kMomentScale = 1'000'000;
// Beyond the end of every movie.
constexpr MediaTime kForever{std::int64_t{1} << 32, 1};
constexpr MediaTime kTick{1, kMomentScale};

std::size_t bytesOf(const imaging::YuvPicture& picture) {
    return static_cast<std::size_t>(picture.luma.stride) * static_cast<std::size_t>(picture.height) +
           2 * static_cast<std::size_t>(picture.cb.stride) * static_cast<std::size_t>(picture.chromaHeight());
}

}  // namespace

MediaTime momentOf(double seconds) {
    return MediaTime::fromSeconds(seconds + kPictureTolerance, kMomentScale);
}

MediaTime FrameSeeker::Stretch::onTimeline(const MediaTime& source) const {
    return segment.target.start + (source - segment.sourceStart);
}

// Before the segment its first picture, behind it its last.
MediaTime FrameSeeker::Stretch::inSource(const MediaTime& time) const {
    const MediaTime last = std::max(segment.target.start, segment.target.end() - kTick);
    return segment.sourceStart + (std::clamp(time, segment.target.start, last) - segment.target.start);
}

FrameSeeker::FrameSeeker(const media::SegmentedTrack& track, Before before) : before_(before) {
    for (const media::MovieSegment& segment : track.segments) {
        if (!segment.isEmpty()) stretches_.push_back({segment, segment.target});
    }
    for (std::size_t i = 0; i < stretches_.size(); ++i) {
        const MediaTime end = i + 1 < stretches_.size() ? stretches_[i + 1].shown.start : kForever;
        stretches_[i].shown = TimeRange::between(stretches_[i].shown.start, end);
    }
    if (before == Before::firstPicture && !stretches_.empty()) {
        stretches_.front().shown = TimeRange::between(MediaTime{}, stretches_.front().shown.end());
    }
}

FrameSeeker::~FrameSeeker() = default;

const FrameSeeker::Stretch* FrameSeeker::stretchAt(const MediaTime& time) const {
    const auto found = std::find_if(stretches_.begin(), stretches_.end(),
                                    [&](const Stretch& stretch) { return stretch.shown.contains(time); });
    return found == stretches_.end() ? nullptr : &*found;
}

void FrameSeeker::openDecoder(const Stretch& stretch) {
    if (decoded_ == &stretch) return;
    const bool isOpen = decoded_ != nullptr && decoded_->segment.asset == stretch.segment.asset &&
                        decoded_->segment.sourceTrackId == stretch.segment.sourceTrackId;
    if (!isOpen) {
        decoder_ = std::make_unique<media::PictureDecoder>(stretch.segment.asset, stretch.segment.sourceTrackId);
    }
    decoded_ = &stretch;
}

std::optional<ShownPicture> FrameSeeker::find(const MediaTime& time, const Passing& passing) {
    const Stretch* const stretch = stretchAt(time);
    if (stretch == nullptr) {
        const MediaTime first = stretches_.empty() ? kForever : stretches_.front().shown.start;
        return ShownPicture{std::nullopt, TimeRange::between(std::min(time, MediaTime{}), first), 0};
    }
    for (const Hole& hole : holes_) {
        if (hole.shown.contains(time)) return hole.held;
    }
    openDecoder(*stretch);
    bool isEnded = false;
    const auto pass = [&] {
        isEnded = passing && !passing(current(*stretch));
        return !isEnded;
    };
    try {
        decoder_->seek(stretch->inSource(time), pass);
    } catch (const RecorderError& error) {
        return beyondDamage(*stretch, time, error, passing);
    }
    if (isEnded) return std::nullopt;
    if (!decoder_->hasCurrent()) return ShownPicture{std::nullopt, stretch->shown, 0};
    ShownPicture found = current(*stretch);
    if (time < found.shown.start) {
        // The track's first picture comes late.
        if (before_ == Before::nothing) {
            return ShownPicture{std::nullopt, TimeRange::between(stretch->shown.start, found.shown.start), 0};
        }
        found.shown = TimeRange::between(stretch->shown.start, found.shown.end());
    }
    // Behind the track's last picture that one is held.
    if (found.shown.end() <= time) found.shown = TimeRange::between(found.shown.start, stretch->shown.end());
    return found;
}

ShownPicture FrameSeeker::current(const Stretch& stretch) const {
    const MediaTime start = std::max(stretch.onTimeline(decoder_->currentTime()), stretch.shown.start);
    MediaTime end = stretch.onTimeline(decoder_->currentEnd());
    if (end >= stretch.segment.target.end()) end = stretch.shown.end();
    const imaging::YuvPicture planar = converter_.planar(decoder_->current());
    return {imaging::Picture(planar), TimeRange::between(start, std::max(start, end)), bytesOf(planar)};
}

ShownPicture FrameSeeker::beyondDamage(const Stretch& stretch, const MediaTime& time, const RecorderError& reason,
                                       const Passing& passing) {
    const MediaTime source = stretch.inSource(time);
    ShownPicture held;
    MediaTime start = time;
    if (decoder_->hasCurrent()) {
        start = std::min(stretch.onTimeline(decoder_->failureTime()), time);
        held = current(stretch);
        if (passing) passing(held);
    } else if (const std::optional<ShownPicture> before = lastBefore(stretch, source)) {
        held = *before;
    }
    const std::optional<MediaTime> key = decoder_->keyTimeAfter(source);
    if (start == time && held.picture && held.shown.end() < time) {
        // Damage all the way from that picture to here, unless a group begins in between.
        const MediaTime end = stretch.segment.sourceStart + (held.shown.end() - stretch.segment.target.start);
        if (decoder_->keyTimeAfter(end) == key) start = held.shown.end();
    }
    MediaTime end = key ? stretch.onTimeline(*key) : stretch.shown.end();
    if (end >= stretch.segment.target.end()) end = stretch.shown.end();
    held.shown = TimeRange::between(std::max(start, stretch.shown.start), std::max(end, time + kTick));
    // One line for each damaged group, even if it is met again.
    const bool isKnown = std::any_of(holes_.begin(), holes_.end(),
                                     [&](const Hole& hole) { return hole.shown.end() == held.shown.end(); });
    if (!isKnown) {
        Log::write("Studio", formatted("Vorschau: Bilder ab %.2f s sind nicht lesbar - Grund: %s",
                                       held.shown.start.seconds(), reason.message().c_str()));
    }
    std::erase_if(holes_, [&](const Hole& hole) {
        return hole.shown.end() == held.shown.end() && hole.shown.start >= held.shown.start;
    });
    holes_.push_back({held.shown, held});
    return held;
}

bool FrameSeeker::canSeek(const MediaTime& source) {
    try {
        decoder_->seek(source);
    } catch (const RecorderError&) {
        // The picture decoded before the failure is still available.
    }
    return decoder_->hasCurrent();
}

// The last picture that can be decoded before a moment that cannot. A group may be damaged before it, or everything
// for an hour: steps back grow until one meets a picture, and then halve the way to the damage.
std::optional<ShownPicture> FrameSeeker::lastBefore(const Stretch& stretch, const MediaTime& source) {
    constexpr double kFirstStep = 0.05;
    constexpr double kNear = 1;
    const double end = (source - stretch.segment.sourceStart).seconds();
    const auto at = [&](double seconds) {
        return stretch.segment.sourceStart + MediaTime::fromSeconds(std::max(seconds, 0.0), kMomentScale);
    };
    double bad = end;
    double good = end;
    for (double step = kFirstStep;; step *= 2) {
        good = end - step;
        if (canSeek(at(good))) break;
        if (good <= 0) return std::nullopt;
        bad = good;
    }
    while (bad - good > kNear) {
        const double middle = (good + bad) / 2;
        (canSeek(at(middle)) ? good : bad) = middle;
    }
    if (!canSeek(at(good))) return std::nullopt;
    try {
        while (decoder_->nextTime() && *decoder_->nextTime() < source) decoder_->advance();
    } catch (const RecorderError&) {
        // The last one before the damage.
    }
    return current(stretch);
}

}  // namespace lumivastor::playback
