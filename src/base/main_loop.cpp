// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/main_loop.h"

#include <algorithm>
#include <chrono>
#include <utility>
#include <vector>

namespace lumivastor {
namespace {
using Clock = std::chrono::steady_clock;
}  // namespace

/// The timers in force. Outlives the loop as long as a timer does.
struct BlockingMainLoop::Schedule {
    struct Entry {
        ScheduledTimer* timer;
        Clock::duration interval;
        Clock::time_point due;
        std::shared_ptr<std::function<void()>> work;
    };
    std::vector<Entry> entries;

    std::vector<Entry>::iterator next() {
        return std::min_element(entries.begin(), entries.end(),
                                [](const Entry& a, const Entry& b) { return a.due < b.due; });
    }
};

class BlockingMainLoop::ScheduledTimer final : public MainLoop::Timer {
  public:
    explicit ScheduledTimer(std::weak_ptr<Schedule> schedule) : schedule_(std::move(schedule)) {}
    ~ScheduledTimer() override {
        if (const auto schedule = schedule_.lock()) {
            std::erase_if(schedule->entries, [this](const Schedule::Entry& entry) { return entry.timer == this; });
        }
    }

  private:
    std::weak_ptr<Schedule> schedule_;
};

BlockingMainLoop::BlockingMainLoop() : schedule_(std::make_shared<Schedule>()) {}
BlockingMainLoop::~BlockingMainLoop() = default;

void BlockingMainLoop::async(std::function<void()> work) {
    {
        const std::lock_guard hold(lock_);
        waiting_.push_back(std::move(work));
    }
    wake_.notify_one();
}

std::unique_ptr<MainLoop::Timer> BlockingMainLoop::every(double seconds, std::function<void()> work) {
    auto timer = std::make_unique<ScheduledTimer>(schedule_);
    const auto interval = std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
    schedule_->entries.push_back(
        {timer.get(), interval, Clock::now() + interval, std::make_shared<std::function<void()>>(std::move(work))});
    return timer;
}

void BlockingMainLoop::run() {
    for (;;) {
        std::function<void()> work;
        {
            std::unique_lock hold(lock_);
            const auto awake = [this] { return stopping_ || !waiting_.empty(); };
            const auto timer = schedule_->next();
            if (timer == schedule_->entries.end()) {
                wake_.wait(hold, awake);
            } else {
                wake_.wait_until(hold, timer->due, awake);
            }
            if (std::exchange(stopping_, false)) return;
            if (!waiting_.empty()) {
                work = std::move(waiting_.front());
                waiting_.pop_front();
            }
        }
        if (work) work();
        const auto timer = schedule_->next();
        const auto now = Clock::now();
        if (timer == schedule_->entries.end() || timer->due > now) continue;
        timer->due = std::max(timer->due + timer->interval, now);
        // The work may end its own timer, or start others.
        const auto timerWork = timer->work;
        (*timerWork)();
    }
}

void BlockingMainLoop::stop() {
    {
        const std::lock_guard hold(lock_);
        stopping_ = true;
    }
    wake_.notify_one();
}

}  // namespace lumivastor
