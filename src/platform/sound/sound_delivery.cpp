// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/sound/sound_delivery.h"

#include <deque>
#include <mutex>
#include <utility>

namespace lumivastor::platform {
namespace {

double secondsOf(const SoundBuffer& sound) {
    return static_cast<double>(sound.frames()) / sound.sampleRate;
}

}  // namespace

struct SoundDelivery::State {
    explicit State(std::function<void(const SoundBuffer&)> call) : handler(std::move(call)) {}

    const std::function<void(const SoundBuffer&)> handler;
    std::mutex lock;
    // Guarded by lock.
    std::deque<SoundBuffer> waiting;
    double seconds = 0;        // of what waits
    bool isScheduled = false;  // work that empties `waiting` is in the queue or running
    bool isDropping = false;

    void handleAll() {
        for (;;) {
            SoundBuffer sound;
            {
                const std::lock_guard hold(lock);
                if (waiting.empty()) {
                    isScheduled = false;
                    isDropping = false;
                    return;
                }
                sound = std::move(waiting.front());
                waiting.pop_front();
                seconds -= secondsOf(sound);
            }
            handler(sound);
        }
    }
};

SoundDelivery::SoundDelivery(SerialQueue& queue, std::function<void(const SoundBuffer&)> handler,
                             std::function<void()> dropping)
    : state_(std::make_shared<State>(std::move(handler))), queue_(queue), dropping_(std::move(dropping)) {}

SoundDelivery::~SoundDelivery() = default;

void SoundDelivery::push(const SoundBuffer& sound) {
    bool schedule = false;
    bool tell = false;
    {
        const std::lock_guard hold(state_->lock);
        state_->waiting.push_back(sound);
        state_->seconds += secondsOf(sound);
        while (state_->seconds > kMaximumWaiting && state_->waiting.size() > 1) {
            state_->seconds -= secondsOf(state_->waiting.front());
            state_->waiting.pop_front();
            tell = !std::exchange(state_->isDropping, true) || tell;
        }
        schedule = !std::exchange(state_->isScheduled, true);
    }
    if (schedule) queue_.async([state = state_] { state->handleAll(); });
    if (tell && dropping_) dropping_();
}

}  // namespace lumivastor::platform
