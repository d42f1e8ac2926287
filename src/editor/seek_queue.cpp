#include "editor/seek_queue.h"

#include <optional>
#include <utility>

namespace lumivastor {

struct SeekQueue::State {
    Seek seek;
    bool busy = false;
    std::optional<double> pending;
};

SeekQueue::SeekQueue(Seek seek) : state_(std::make_shared<State>(State{std::move(seek), false, std::nullopt})) {}

void SeekQueue::request(double seconds) {
    state_->pending = seconds;
    runNextIfIdle(state_);
}

bool SeekQueue::isBusy() const {
    return state_->busy;
}

void SeekQueue::runNextIfIdle(const std::shared_ptr<State>& state) {
    if (state->busy || !state->pending) return;
    const double seconds = *std::exchange(state->pending, std::nullopt);
    state->busy = true;
    state->seek(seconds, [weak = std::weak_ptr<State>(state)] {
        const auto alive = weak.lock();
        if (!alive) return;
        alive->busy = false;
        runNextIfIdle(alive);
    });
}

}  // namespace lumivastor
