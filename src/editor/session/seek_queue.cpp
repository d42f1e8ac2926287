// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/seek_queue.h"

#include <cstdint>
#include <optional>
#include <utility>

namespace lumivastor::editor {

struct SeekQueue::State {
    Seek seek;
    bool busy = false;
    bool mayBeOvertaken = false;
    std::optional<double> pending = {};
    std::int64_t round = 0;  // counts seeks: one that was overtaken ends nothing
};

SeekQueue::SeekQueue(Seek seek) : state_(std::make_shared<State>(State{.seek = std::move(seek)})) {}

void SeekQueue::request(double seconds) {
    state_->pending = seconds;
    runNextIfIdle(state_);
}

void SeekQueue::hurry() {
    if (state_->pending) runNext(state_);
}

void SeekQueue::letOvertake() {
    if (!state_->busy) return;
    state_->mayBeOvertaken = true;
    runNextIfIdle(state_);
}

bool SeekQueue::isBusy() const {
    return state_->busy;
}

bool SeekQueue::isWaiting() const {
    return state_->pending.has_value();
}

void SeekQueue::runNextIfIdle(const std::shared_ptr<State>& state) {
    if ((!state->busy || state->mayBeOvertaken) && state->pending) runNext(state);
}

void SeekQueue::runNext(const std::shared_ptr<State>& state) {
    const double seconds = *std::exchange(state->pending, std::nullopt);
    state->busy = true;
    state->mayBeOvertaken = false;
    state->seek(seconds, [weak = std::weak_ptr<State>(state), round = ++state->round] {
        const auto alive = weak.lock();
        if (!alive || alive->round != round) return;
        alive->busy = false;
        runNextIfIdle(alive);
    });
}

}  // namespace lumivastor::editor
