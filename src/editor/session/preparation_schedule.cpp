// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/preparation_schedule.h"

namespace lumivastor::editor {

void PreparationSchedule::opened(int film, double now) {
    films_.push_back({film, now});
    touched(now);
}

void PreparationSchedule::closed(int film) {
    std::erase_if(films_, [film](const Film& each) { return each.number == film; });
    if (run_ && run_->film == film) run_->isOutdated = true;
}

void PreparationSchedule::edited(int film, double now) {
    touched(now);
    for (Film& each : films_) {
        if (each.number != film) continue;
        each.lastEdit = now;
        each.isOver = false;
    }
    if (run_ && run_->film == film) run_->isOutdated = true;
}

void PreparationSchedule::exported() {
    for (Film& film : films_) film.isOver = false;
}

bool PreparationSchedule::mayWork(const Facts& facts, double now) const {
    const bool isFree = !facts.isRecording && !facts.isExporting && !facts.isBusy;
    return facts.isOn && facts.isOnMains && isFree && now - lastTouch_ >= kQuiet;
}

PreparationSchedule::Step PreparationSchedule::next(const Facts& facts, double now) {
    const bool may = mayWork(facts, now);
    if (run_) {
        if (run_->isStopping || (may && !run_->isOutdated)) return Step::none;
        run_->isStopping = true;
        return Step::stop;
    }
    const Film* const film = may ? choice() : nullptr;
    if (film == nullptr) return Step::none;
    run_.emplace(Run{film->number});
    return Step::begin;
}

// The one that was edited last is likely to be exported first.
const PreparationSchedule::Film* PreparationSchedule::choice() const {
    const Film* best = nullptr;
    for (const Film& film : films_) {
        if (!film.isOver && (best == nullptr || film.lastEdit >= best->lastEdit)) best = &film;
    }
    return best;
}

void PreparationSchedule::ended(bool isOver) {
    if (!run_) return;
    for (Film& film : films_) {
        if (film.number == run_->film && isOver && !run_->isOutdated) film.isOver = true;
    }
    run_.reset();
}

std::optional<int> PreparationSchedule::running() const {
    return run_ ? std::optional(run_->film) : std::nullopt;
}

}  // namespace lumivastor::editor
