// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/exports/film_preparer.h"

#include <algorithm>
#include <utility>
#include <variant>

#include "base/formatted.h"
#include "base/host_clock.h"
#include "base/log.h"
#include "base/recorder_error.h"
#include "editor/session/export_job.h"

namespace lumivastor::editor {

namespace {

constexpr double kStepSeconds = 1;
// Reading a battery's state may take some milliseconds.
constexpr double kPowerSeconds = 30;

}  // namespace

FilmPreparer::FilmPreparer(MainLoop& loop, ExportQueue& queue, Options options)
    : loop_(loop),
      queue_(queue),
      options_([&options] {
          if (!options.clock) options.clock = hostClockSeconds;
          return std::move(options);
      }()),
      isOn_(!options_.isOn.load || options_.isOn.load()),
      chooseEncoder_(render::rememberingChooser(options_.chooseEncoder ? options_.chooseEncoder
                                                                       : render::PreparationOptions{}.chooseEncoder)),
      observation_(queue.observe({[this] { exportsChanged(); },
                                  [this](const ExportEntry&) {
                                      schedule_.exported();
                                      step();
                                  }})) {}

FilmPreparer::~FilmPreparer() = default;

std::unique_ptr<FilmPreparer::Watch> FilmPreparer::watch(Editor editor) {
    const int film = ++lastFilm_;
    films_.emplace(film, Film{std::move(editor), 0});
    schedule_.opened(film, options_.clock());
    step();
    return std::unique_ptr<Watch>(new Watch(*this, film));
}

void FilmPreparer::close(int film) {
    films_.erase(film);
    schedule_.closed(film);
    step();
}

void FilmPreparer::edited(int film) {
    schedule_.edited(film, options_.clock());
    // What it tells from now on is about the film before.
    if (run_ && run_->film == film) run_->isOutdated = true;
    show(film, 0);
    step();
}

void FilmPreparer::touched() {
    schedule_.touched(options_.clock());
    if (run_) step();
}

void FilmPreparer::setOn(bool isOn) {
    isOn_ = isOn;
    if (options_.isOn.keep) options_.isOn.keep(isOn);
    step();
}

// The queue calls this before it starts an export.
void FilmPreparer::exportsChanged() {
    if (queue_.list().isBusy()) endNow();
    step();
}

void FilmPreparer::endNow() {
    if (!run_) return;
    run_.reset();
    schedule_.ended(false);
}

void FilmPreparer::end() {
    hasEnded_ = true;
    observation_.reset();
    timer_.reset();
    endNow();
}

void FilmPreparer::step() {
    if (hasEnded_ || options_.filmCache.empty()) return;
    const double now = options_.clock();
    PreparationSchedule::Facts facts;
    facts.isOn = isOn_;
    facts.isExporting = queue_.list().isBusy();
    facts.isRecording = options_.isRecording && options_.isRecording();
    facts.isBusy = std::ranges::any_of(films_, [](const auto& film) { return film.second.editor.isBusy(); });
    if (schedule_.hasWork() && schedule_.mayWork(facts, now)) facts.isOnMains = isOnMains(now);
    switch (schedule_.next(facts, now)) {
        case PreparationSchedule::Step::none:
            break;
        case PreparationSchedule::Step::begin:
            begin(*schedule_.running());
            break;
        case PreparationSchedule::Step::stop:
            if (run_) run_->thread.request_stop();
    }
    if (!isOn_ || !schedule_.hasWork()) {
        timer_.reset();
    } else if (!timer_) {
        timer_ = loop_.every(kStepSeconds, [this] { step(); });
    }
}

bool FilmPreparer::isOnMains(double now) {
    if (!options_.isOnMains) return true;
    if (!powerAsked_ || now >= *powerAsked_ + kPowerSeconds) {
        powerAsked_ = now;
        isOnMains_ = options_.isOnMains();
    }
    return isOnMains_;
}

void FilmPreparer::begin(int film) {
    run_ = std::make_unique<Run>();
    run_->film = film;
    const std::shared_ptr<const edit::Composition> composition = films_.at(film).editor.composition();
    const model::ProjectSettings settings = composition->settings();
    // What arrives after the run finds the token expired.
    const auto onMain = [&loop = loop_, alive = run_->lifetime.watch()](std::function<void()> work) {
        loop.async([alive, work = std::move(work)] {
            if (!alive.expired()) work();
        });
    };
    render::PreparationOptions options;
    options.form = render::filmForm(settings.exportFormat);
    options.cacheFolder = options_.filmCache;
    options.progress = [this, film, onMain](double part) {
        onMain([this, film, part] {
            if (!run_->isOutdated) show(film, part);
        });
    };
    options.chooseEncoder = chooseEncoder_;
    try {
        run_->thread = render::prepareFilm(
            [composition, settings] { return exportRequest(*composition, settings).composition; }, std::move(options),
            [this, onMain](const render::PreparationOutcome& outcome) { onMain([this, outcome] { ended(outcome); }); });
    } catch (const RecorderError& error) {
        ended(error);
    }
}

void FilmPreparer::ended(const render::PreparationOutcome& outcome) {
    using End = render::PreparationResult::End;
    const render::PreparationOutcome last = outcome;  // the run's end may destroy it
    run_.reset();
    bool isOver = true;
    if (const auto* result = std::get_if<render::PreparationResult>(&last)) {
        isOver = result->end != End::stopped;
        if (result->made > 0) {
            const char* const why = result->end == End::full ? ", mehr lässt sich nicht aufheben" : "";
            Log::write("Studio", formatted("%lld Bilder vorbereitet%s", static_cast<long long>(result->made), why));
        }
    } else {
        Log::write("Studio", "Nicht vorbereitet: " + std::get<RecorderError>(last).message());
    }
    schedule_.ended(isOver);
    step();
}

// A preparation that begins again finds what the one before it has made: less is only that after an edit.
void FilmPreparer::show(int film, double part) {
    const auto found = films_.find(film);
    if (found == films_.end() || (part > 0 && part <= found->second.shown) || part == found->second.shown) return;
    found->second.shown = part;
    found->second.editor.show(part);
}

}  // namespace lumivastor::editor
