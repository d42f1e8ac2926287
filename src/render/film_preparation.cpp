// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/film_preparation.h"

#include <map>
#include <memory>
#include <utility>

#include "base/one_processor.h"
#include "base/pixel_size.h"
#include "base/thread_name.h"
#include "base/thread_priority.h"
#include "render/background.h"
#include "render/composed_frames.h"
#include "render/export_plan.h"
#include "render/film_groups.h"
#include "render/film_target.h"
#include "render/group_producer.h"
#include "render/reuse/group_store.h"

namespace lumivastor::render {

namespace {

constexpr const char* kNotPrepared = "Das Studio-Video konnte nicht vorbereitet werden";

// Calls with each whole hundredth that is reached.
class Hundredths {
  public:
    explicit Hundredths(const std::function<void(double)>& tell) : tell_(tell) {}

    void reached(std::int64_t part, std::int64_t all) {
        const std::int64_t now = part * 100 / all;
        if (!tell_ || now <= last_) return;
        last_ = now;
        tell_(static_cast<double>(now) / 100);
    }

  private:
    const std::function<void(double)>& tell_;
    std::int64_t last_ = 0;
};

}  // namespace

EncoderChooser rememberingChooser(EncoderChooser choose) {
    struct Memory {
        EncoderChooser choose;
        std::map<std::pair<int, int>, media::EncoderChoice> choices;  // by width and height
    };
    return [memory = std::make_shared<Memory>(Memory{std::move(choose), {}})](const media::VideoSettings& settings) {
        const std::pair size(settings.width, settings.height);
        const auto known = memory->choices.find(size);
        if (known != memory->choices.end()) return known->second;
        return memory->choices.emplace(size, memory->choose(settings)).first->second;
    };
}

PreparationResult prepareFilmSync(const edit::Composition& composition, const PreparationOptions& options) {
    using End = PreparationResult::End;
    PreparationResult result;
    const bool isForm = options.form == FilmForm::mp4 || options.form == FilmForm::mov;
    if (!isForm || options.cacheFolder.empty()) return result;
    // Each step of the set-up may take a tenth of a second.
    const auto isStopped = [&] {
        if (options.stop.stop_requested()) result.end = End::stopped;
        return result.end == End::stopped;
    };
    if (isStopped()) return result;
    const edit::Recording& recording = composition.recording();
    const std::int64_t fps = recording.info.fps;
    checkFrameRate(fps);
    const PixelSize canvas{composition.canvasWidth(), composition.canvasHeight()};
    const FrameMaker makeFrame = framesOf(composition);
    ComposedFrames frames(composition, makeFrame);
    frames.open();
    if (isStopped()) return result;
    const std::optional<PixelRect> camera = cameraPlace(frames, canvas);
    media::VideoSettings video = filmVideoSettings(canvas, fps, camera);
    const media::EncoderChoice choice = options.chooseEncoder(video);
    if (isStopped() || !comesInGroups(choice)) return result;
    choice.applyTo(video);

    GroupStore store(groupPlaces(recording, options.cacheFolder, filmTarget(recording, options.form, {})));
    const std::int64_t total = frameCount(frames.state().outputDuration, fps);
    GroupProducer::Options making = groupOptions(std::move(video), canvas, fps, total, camera);
    making.store = &store;
    making.stop = options.stop;
    GroupProducer producer(composition, makeFrame, std::move(making));
    if (!producer.isPossible()) return result;
    producer.open(frames);
    Hundredths hundredths(options.progress);
    result.end = End::whole;
    try {
        while (const auto group = producer.next()) {
            const std::int64_t madeBefore = result.made;
            result.pictures += static_cast<std::int64_t>(group->sizes.size());
            result.made = result.pictures - producer.reusedPictures();
            // One group was made in vain then.
            if (result.made > madeBefore && !store.mayKeep()) {
                result.end = End::full;
                break;
            }
            hundredths.reached(result.pictures, total);
        }
    } catch (const RecorderError&) {
        if (!options.stop.stop_requested()) throw;
        result.end = End::stopped;
    }
    // Films that are never rendered must not fill the disk.
    if (result.made > 0) store.keepLimits();
    return result;
}

std::jthread prepareFilm(std::function<std::shared_ptr<const edit::Composition>()> compose, PreparationOptions options,
                         std::function<void(const PreparationOutcome&)> completion) {
    const auto work = [compose = std::move(compose),
                       options = std::move(options)](const std::stop_token& stop) -> PreparationOutcome {
        nameThisThread("film.prepare");
        // Before any other thread is started, which will then be confined, too. The number of the encoder's threads
        // does not depend on it, and so the bytes do not.
        lowerPriorityOfThisThread();
        confineThisThreadToOneProcessor();
        PreparationOptions stoppable = options;
        stoppable.stop = stop;
        return prepareFilmSync(*compose(), stoppable);
    };
    return runInBackground<PreparationOutcome>(kNotPrepared, work, std::move(completion), {});
}

}  // namespace lumivastor::render
