// SPDX-License-Identifier: GPL-3.0-or-later

// What the second export of a tutorial (tutorial.h) takes of the first one's processor time, all threads together.
//
// "Unchanged": nothing was changed; aim: at most 0.03. "OneZoom": one zoom became stronger; "OneZoomMade" is the share
// of pictures that were made, and "OneZoomRest" what is left of the time beside what these take in an export that makes
// everything; aim: at most 0.05. "Cancelled": the first export was cancelled at its half; aim: at most 0.55. "Cut": a
// second was cut out in the middle. "SameFilm" is 1 when the film with the zoom has the pictures of one of which
// everything was made. "FirstMs": milliseconds for each frame of the first export.
//
// Arguments: canvas height, seconds of the recording. The source has the canvas's size.

#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <cmath>
#include <filesystem>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <variant>
#include <vector>

#include "base/pixel_size.h"
#include "edit/composition.h"
#include "imaging/picture_node.h"
#include "media/reading/asset.h"
#include "model/project_settings.h"
#include "render/export_plan.h"
#include "render/movie_renderer.h"
#include "render/reuse/film_record.h"
#include "tutorial.h"

namespace lumivastor {
namespace {

namespace fs = std::filesystem;

double processorSeconds() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

struct Cost {
    double seconds = 0;
    render::RenderResult result;
    /// The processor time at which each picture's making began, by its number; those that were made only.
    std::map<int, double> began;
};

// Of the pictures that `some` had to make, in an export that made all.
double costOfThese(const Cost& all, const Cost& some) {
    double seconds = 0;
    for (const auto& [number, ignored] : some.began) {
        const auto here = all.began.find(number);
        if (here == all.began.end()) throw RecorderError("not all was made");
        const auto next = std::next(here);
        seconds += (next == all.began.end() ? all.seconds : next->second) - here->second;
    }
    return seconds;
}

bool isDecoded(const imaging::Picture& picture) {
    const auto* const node = std::get_if<imaging::YuvNode>(&picture.node().step);
    return node != nullptr && node->picture.luma.samples != nullptr;
}

class Exports {
  public:
    Exports(PixelSize size, int seconds) : tutorial_(size, seconds) {}

    model::ProjectSettings settings;

    Cost run(render::RenderOptions options = {}) {
        settings.save(tutorial_.folder());
        options.cacheFolder = cache();
        const double before = processorSeconds();
        const edit::Composition composition(tutorial_.folder(), tutorial_.size().width, tutorial_.size().height);
        Cost cost;
        const render::FrameMaker maker = [&](const imaging::Picture& source,
                                             const std::optional<imaging::Picture>& webcam, double t) {
            if (isDecoded(source)) {
                cost.began.try_emplace(static_cast<int>(std::lround(t * kTutorialFps)), processorSeconds() - before);
            }
            return composition.compose(source, webcam, t);
        };
        cost.result = render::renderMovieSync(composition, maker, options);
        cost.seconds = processorSeconds() - before;
        return cost;
    }
    double runToTheHalf() {
        std::stop_source stop;
        render::RenderOptions options;
        options.stop = stop.get_token();
        options.progress = [&](double progress) {
            if (progress >= 0.5) stop.request_stop();
        };
        const double before = processorSeconds();
        try {
            run(options);
        } catch (const RecorderError&) {
            return processorSeconds() - before;
        }
        throw RecorderError("not cancelled");
    }
    void forget() {
        fs::remove_all(cache());
        fs::remove(film());
    }
    std::vector<model::ZoomSpec> zooms() const {
        return edit::Composition(tutorial_.folder(), tutorial_.size().width, tutorial_.size().height).zoomSpecs();
    }
    Cost runFresh() {
        render::RenderOptions options;
        options.isFresh = true;
        options.file = fresh();
        return run(options);
    }
    bool isAsMadeAnew() const {
        const auto checksum = [](const fs::path& path) {
            const media::Asset movie(path);
            return render::checksumOfSamples(movie, movie.tracks(media::TrackKind::video).at(0).id);
        };
        return checksum(fresh()) == checksum(film());
    }

  private:
    fs::path cache() const { return tutorial_.folder() / "cache"; }
    fs::path film() const { return tutorial_.folder() / "studio-output.mp4"; }
    fs::path fresh() const { return tutorial_.folder() / "fresh.mp4"; }

    Tutorial tutorial_;
};

void secondExport(benchmark::State& state) {
    Exports exports(render::exportCanvas(state.range(0)), static_cast<int>(state.range(1)));
    for (auto _ : state) {
        exports.settings = {};
        exports.forget();
        const Cost first = exports.run();
        const auto frames = static_cast<double>(first.result.frames);
        state.SetIterationTime(first.seconds);
        state.counters["FirstMs"] = first.seconds * 1000 / frames;
        const Cost unchanged = exports.run();
        if (unchanged.result.reusedFrames != first.result.frames) throw RecorderError("not all was taken");
        state.counters["Unchanged"] = unchanged.seconds / first.seconds;

        auto zooms = exports.zooms();
        zooms.at(zooms.size() / 2).scale *= 1.2;
        exports.settings.zooms = zooms;
        const Cost oneZoom = exports.run();
        const double made = 1 - static_cast<double>(oneZoom.result.reusedFrames) / frames;
        state.counters["OneZoom"] = oneZoom.seconds / first.seconds;
        state.counters["OneZoomMade"] = made;
        const Cost fresh = exports.runFresh();
        state.counters["OneZoomRest"] = (oneZoom.seconds - costOfThese(fresh, oneZoom)) / first.seconds;
        state.counters["SameFilm"] = exports.isAsMadeAnew() ? 1 : 0;

        const double middle = static_cast<double>(state.range(1)) / 2;
        exports.settings.cuts = {{middle, middle + 1}};
        const Cost cut = exports.run();
        state.counters["Cut"] = cut.seconds / first.seconds;
        state.counters["CutMade"] = 1 - static_cast<double>(cut.result.reusedFrames) / (frames - kTutorialFps);

        exports.forget();
        exports.settings = {};
        state.counters["Half"] = exports.runToTheHalf() / first.seconds;
        state.counters["Cancelled"] = exports.run().seconds / first.seconds;
    }
}

BENCHMARK(secondExport)->Args({1440, 60})->Args({1440, 600})->Iterations(1)->UseManualTime()->Unit(benchmark::kSecond);

}  // namespace
}  // namespace lumivastor

BENCHMARK_MAIN();
