// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/manual_main_loop.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "support/await.h"

namespace lumivastor {

struct ManualMainLoop::Schedule {
    struct Entry {
        ManualTimer* timer;
        double interval;
        double due;
        std::shared_ptr<std::function<void()>> work;
    };
    std::vector<Entry> entries;
};

class ManualMainLoop::ManualTimer final : public MainLoop::Timer {
  public:
    explicit ManualTimer(std::weak_ptr<Schedule> schedule) : schedule_(std::move(schedule)) {}
    ~ManualTimer() override {
        if (const auto schedule = schedule_.lock()) {
            std::erase_if(schedule->entries, [this](const Schedule::Entry& entry) { return entry.timer == this; });
        }
    }

  private:
    std::weak_ptr<Schedule> schedule_;
};

ManualMainLoop::ManualMainLoop(double now) : now_(now), schedule_(std::make_shared<Schedule>()) {}
ManualMainLoop::~ManualMainLoop() = default;

void ManualMainLoop::async(std::function<void()> work) {
    {
        const std::lock_guard hold(lock_);
        waiting_.push_back(std::move(work));
    }
    wake_.notify_one();
}

std::unique_ptr<MainLoop::Timer> ManualMainLoop::every(double seconds, std::function<void()> work) {
    auto timer = std::make_unique<ManualTimer>(schedule_);
    schedule_->entries.push_back(
        {timer.get(), seconds, now() + seconds, std::make_shared<std::function<void()>>(std::move(work))});
    return timer;
}

double ManualMainLoop::now() const {
    const std::lock_guard hold(lock_);
    return now_;
}

std::size_t ManualMainLoop::timers() const {
    return schedule_->entries.size();
}

void ManualMainLoop::advance(double seconds) {
    const double end = now() + seconds;
    for (;;) {
        runPending();
        const auto next = std::min_element(schedule_->entries.begin(), schedule_->entries.end(),
                                           [](const auto& a, const auto& b) { return a.due < b.due; });
        // A hair of slack, so that thirty thirtieths are a second.
        if (next == schedule_->entries.end() || next->due > end + 1e-9) break;
        {
            const std::lock_guard hold(lock_);
            now_ = std::max(now_, next->due);
        }
        next->due += next->interval;
        const auto work = next->work;
        (*work)();
    }
    const std::lock_guard hold(lock_);
    now_ = end;
}

bool ManualMainLoop::runNext() {
    std::function<void()> work;
    {
        const std::lock_guard hold(lock_);
        if (waiting_.empty()) return false;
        work = std::move(waiting_.front());
        waiting_.pop_front();
    }
    work();
    return true;
}

void ManualMainLoop::runPending() {
    while (runNext()) {
    }
}

bool ManualMainLoop::runUntil(const std::function<bool()>& done) {
    runPending();
    return await(kPatience, done, [this] {
        {
            std::unique_lock hold(lock_);
            // Looks up now and then: what `done` asks for may happen without work for this loop.
            wake_.wait_for(hold, std::chrono::milliseconds(10), [this] { return !waiting_.empty(); });
        }
        runPending();
    });
}

}  // namespace lumivastor
