// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/cut_composition.h"

#include <algorithm>

#include "base/handled_error.h"
#include "base/log.h"
#include "base/recorder_error.h"
#include "render/read_ahead.h"

namespace lumivastor::render {

namespace {

constexpr std::int32_t kTimescale = 600;
// Shorter than any tick; shorter gaps do not count.
constexpr double kSliver = 0.001;

std::optional<media::AssetTrack> firstTrack(const std::shared_ptr<const media::Asset>& asset, media::TrackKind kind) {
    if (!asset) return std::nullopt;
    const std::vector<media::AssetTrack> tracks = asset->tracks(kind);
    return tracks.empty() ? std::nullopt : std::optional(tracks.front());
}

std::vector<TimeRange> onTicks(std::span<const Interval> segments) {
    std::vector<TimeRange> ranges;
    for (const Interval& segment : segments) {
        ranges.push_back(TimeRange::between(MediaTime::fromSeconds(segment.start, kTimescale),
                                            MediaTime::fromSeconds(segment.end, kTimescale)));
    }
    return ranges;
}

std::vector<ShownSegment> shownSegments(std::span<const TimeRange> ranges) {
    std::vector<ShownSegment> segments;
    MediaTime at;
    for (const TimeRange& range : ranges) {
        if (range.duration == MediaTime{}) continue;
        segments.push_back({at.seconds(), range.start.seconds(), range.end().seconds()});
        at = at + range.duration;
    }
    return segments;
}

int addBackToBack(media::SegmentedMovie& movie, std::span<const TimeRange> ranges,
                  const std::shared_ptr<const media::Asset>& asset, const media::AssetTrack& track) {
    const int id = movie.addTrack(track.kind);
    MediaTime at;
    for (const TimeRange& range : ranges) {
        movie.insert(id, asset, track.id, range, at);
        at = at + range.duration;
    }
    return id;
}

// The one picture of `still` again and again: a segmented movie has no segment that stands still.
void addStill(media::SegmentedMovie& movie, int id, const std::shared_ptr<const media::Asset>& asset,
              const media::AssetTrack& track, const TimeRange& still, TimeRange target) {
    while (target.duration > MediaTime{}) {
        const MediaTime length = std::min(still.duration, target.duration);
        movie.insert(id, asset, track.id, {still.start, length}, target.start);
        target = {target.start + length, target.duration - length};
    }
}

// The camera from `stretch.start` on, shown later by `shift`: what `shiftedMoment` says of each of its moments. Behind
// its last picture there is nothing, so that this one stays.
void addShifted(media::SegmentedMovie& movie, int id, const std::shared_ptr<const media::Asset>& asset,
                const media::AssetTrack& track, const TimeRange& stretch, const MediaTime& shift, const MediaTime& at) {
    const MediaTime kStill{10, kTimescale};  // shorter than a camera's picture
    const MediaTime start = track.start.rescaled(kTimescale);
    const MediaTime end = track.end.rescaled(kTimescale);
    const MediaTime from = std::clamp(start + shift, stretch.start, stretch.end());
    const MediaTime to = std::clamp(end + shift, from, stretch.end());
    const auto target = [&](const MediaTime& moment) { return at + (moment - stretch.start); };
    const MediaTime still = std::min(kStill, end - start);
    if (still > MediaTime{}) {
        addStill(movie, id, asset, track, {start, still}, {target(stretch.start), from - stretch.start});
    }
    movie.insert(id, asset, track.id, TimeRange::between(from - shift, to - shift), target(from));
    if ((stretch.end() - to).seconds() > kSliver) movie.insertEmpty(id, {target(to), stretch.end() - to});
}

// One segment of the webcam's track: nothing, the camera's stretch, nothing; any of the three may be missing.
void addWebcamSegment(media::SegmentedMovie& movie, int id, const std::shared_ptr<const media::Asset>& asset,
                      const media::AssetTrack& track, const TimeRange& wanted, const MediaTime& shift,
                      const MediaTime& at) {
    const MediaTime first = std::clamp(track.start.rescaled(kTimescale), wanted.start, wanted.end());
    const MediaTime last = std::clamp(track.end.rescaled(kTimescale), first, wanted.end());
    const auto isMissing = [](const MediaTime& length) { return length.seconds() > kSliver; };
    const MediaTime before = first - wanted.start;
    const MediaTime after = wanted.end() - last;
    if (isMissing(before)) movie.insertEmpty(id, {at, before});
    if (shift != MediaTime{}) {
        addShifted(movie, id, asset, track, TimeRange::between(first, wanted.end()), shift, at + before);
        return;
    }
    movie.insert(id, asset, track.id, TimeRange::between(first, last), at + before);
    if (isMissing(after)) movie.insertEmpty(id, {at + before + (last - first), after});
}

int addWebcam(media::SegmentedMovie& movie, std::span<const TimeRange> ranges,
              const std::shared_ptr<const media::Asset>& asset, const media::AssetTrack& track, double webcamOffset,
              double webcamShift) {
    const MediaTime offset = MediaTime::fromSeconds(webcamOffset, kTimescale);
    const MediaTime shift = MediaTime::fromSeconds(webcamShift, kTimescale);
    const int id = movie.addTrack(media::TrackKind::video);
    MediaTime at;
    for (const TimeRange& range : ranges) {
        addWebcamSegment(movie, id, asset, track, {range.start - offset, range.duration}, shift, at);
        at = at + range.duration;
    }
    return id;
}

// Far beyond what the editor's controls can set. Documents are untrusted, and samples must stay finite.
float volumeOf(double setting) {
    constexpr double kLoudest = 1000;
    return static_cast<float>(std::clamp(setting, 0.0, kLoudest));
}

}  // namespace

std::shared_ptr<const media::Asset> openScreenAsset(const std::filesystem::path& folder) {
    return std::make_shared<const media::Asset>(folder / "source.mov");
}

RecordingAssets openRecordingAssets(const edit::Recording& recording) {
    return openRecordingAssets(recording, openScreenAsset(recording.folder));
}

RecordingAssets openRecordingAssets(const edit::Recording& recording, std::shared_ptr<const media::Asset> screen) {
    RecordingAssets assets;
    assets.screen = std::move(screen);
    if (!recording.hasWebcam()) return assets;
    try {
        auto webcam = std::make_shared<const media::Asset>(recording.webcamFile);
        if (webcam->tracks(media::TrackKind::video).empty()) {
            Log::write("Studio", "Webcam-Film ohne Bilder, wird weggelassen");
        } else {
            assets.webcam = std::move(webcam);
        }
    } catch (const RecorderError& error) {
        if (isOutOfMemory(error)) throw;
        Log::write("Studio", "Webcam-Film wird weggelassen: " + error.message());
    }
    return assets;
}

CutComposition makeCutComposition(std::span<const Interval> segments, const RecordingAssets& assets,
                                  double webcamOffset, double webcamShift) {
    if (segments.empty()) throw RecorderError("Es bleibt nichts übrig - alles ist weggeschnitten.");
    const std::vector<TimeRange> ranges = onTicks(segments);
    CutComposition cut;
    cut.shownSegments = shownSegments(ranges);
    const std::optional<media::AssetTrack> screen = firstTrack(assets.screen, media::TrackKind::video);
    if (screen) cut.screenTrackId = addBackToBack(cut.movie, ranges, assets.screen, *screen);
    if (const auto webcam = firstTrack(assets.webcam, media::TrackKind::video); screen && webcam) {
        cut.webcamTrackId = addWebcam(cut.movie, ranges, assets.webcam, *webcam, webcamOffset, webcamShift);
    }
    for (const media::AssetTrack& audio : assets.screen->tracks(media::TrackKind::audio)) {
        cut.audioTrackIds.push_back(addBackToBack(cut.movie, ranges, assets.screen, audio));
    }
    return cut;
}

double shownSourceTime(std::span<const ShownSegment> segments, double t) {
    if (segments.empty()) return t;
    const auto later =
        std::upper_bound(segments.begin(), segments.end(), t + kSameTime,
                         [](double moment, const ShownSegment& segment) { return moment < segment.outputStart; });
    const ShownSegment& shown = later == segments.begin() ? segments.front() : *(later - 1);
    return std::clamp(shown.sourceStart + (t - shown.outputStart), shown.sourceStart, shown.sourceEnd);
}

std::vector<media::AudioMixInput> makeAudioMix(const model::CaptureInfo& info, const model::ProjectSettings& settings,
                                               std::span<const int> audioTrackIds) {
    std::vector<float> volumes;
    if (info.systemAudio) volumes.push_back(volumeOf(settings.systemVolume));
    if (info.microphone) volumes.push_back(volumeOf(settings.micVolume));
    std::vector<media::AudioMixInput> inputs;
    for (const int id : audioTrackIds) {
        inputs.push_back({id, inputs.size() < volumes.size() ? volumes[inputs.size()] : 1.0F});
    }
    return inputs;
}

}  // namespace lumivastor::render
