#include "render/preview_item.h"

#include <array>
#include <cstdint>
#include <optional>
#include <utility>

#include "base/formatted.h"
#include "base/recorder_error.h"

namespace lumivastor {

namespace {

// What an export can time; recordings are untrusted.
constexpr std::int64_t kHighestRate = 600;

}  // namespace

PlayerItem makePlayerItem(const std::shared_ptr<const Composition>& composition, const RecordingAssets& assets) {
    const CaptureInfo& info = composition->info();
    const std::array<KeptSegment, 1> whole{{{0, info.duration}}};
    if (!(info.duration > 0)) throw RecorderError("Die Aufnahme hat keine Länge.");
    if (info.fps < 1 || info.fps > kHighestRate) {
        throw RecorderError(
            formatted("Die Bildrate der Aufnahme ist unzulässig: %lld.", static_cast<long long>(info.fps)));
    }
    CutComposition uncut = makeCutComposition(whole, assets, composition->recording().webcamOffset());
    PlayerItem item;
    item.movie = std::move(uncut.movie);
    item.screenTrackId = uncut.screenTrackId;
    item.webcamTrackId = uncut.webcamTrackId;
    item.audioMix = makeAudioMix(info, composition->settings(), uncut.audioTrackIds);
    item.compositor = makeVideoCompositor(composition);
    item.canvasWidth = composition->canvasWidth();
    item.canvasHeight = composition->canvasHeight();
    item.framesPerSecond = static_cast<double>(info.fps);
    item.duration = info.duration;
    item.playedRanges = previewRanges(*composition);
    return item;
}

VideoCompositor makeVideoCompositor(const std::shared_ptr<const Composition>& composition) {
    return [owner = std::weak_ptr<const Composition>(composition)](
               const Picture& screen, const std::optional<Picture>& webcam, double seconds) {
        const std::shared_ptr<const Composition> held = owner.lock();
        if (!held) throw RecorderError("Vorschaubild konnte nicht gebaut werden.");
        return held->compose(screen, webcam, seconds);
    };
}

std::vector<AudioMixInput> previewMix(const Composition& composition, const std::vector<AudioMixInput>& itemMix) {
    std::vector<int> tracks;
    for (const AudioMixInput& input : itemMix) tracks.push_back(input.trackId);
    return makeAudioMix(composition.info(), composition.settings(), tracks);
}

std::vector<PlayedRange> previewRanges(const Composition& composition) {
    std::vector<PlayedRange> ranges;
    for (const KeptSegment& segment : composition.keptSegments()) ranges.push_back({segment.start, segment.end});
    return ranges;
}

}  // namespace lumivastor
