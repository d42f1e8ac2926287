// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/sound/silent_output.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "base/host_clock.h"
#include "base/precondition.h"
#include "base/thread_name.h"

namespace lumivastor::platform {

namespace {

// As far ahead, and as often, as a real device requests sound.
constexpr std::int64_t kAheadFrames = 2400;
constexpr std::chrono::milliseconds kPeriod{10};

class SilentOutput final : public SoundOutput {
  public:
    SilentOutput() = default;
    ~SilentOutput() override { stop(); }
    SilentOutput(const SilentOutput&) = delete;
    SilentOutput& operator=(const SilentOutput&) = delete;

    void start(Client client) override {
        precondition(!thread_.joinable(), "started when not running");
        client_ = std::move(client);
        {
            const std::lock_guard hold(lock_);
            isStopping_ = false;
            written_ = 0;
            began_ = hostClockSeconds();
        }
        thread_ = std::thread([this] {
            nameThisThread("player.silent");
            run();
        });
    }

    void stop() override {
        if (!thread_.joinable()) return;
        {
            const std::lock_guard hold(lock_);
            stoppedAt_ = heardNow();
            isStopping_ = true;
        }
        wake_.notify_one();
        thread_.join();
        client_ = {};
    }

    std::int64_t heardFrames() const override {
        const std::lock_guard hold(lock_);
        return isStopping_ ? stoppedAt_ : heardNow();
    }

  private:
    // By the clock, without regard to what has been written. Under lock_.
    std::int64_t elapsed() const { return std::llround((hostClockSeconds() - began_) * kFormat.sampleRate); }
    std::int64_t heardNow() const { return std::min(elapsed(), written_); }

    void run() {
        std::vector<float> unheard;
        std::unique_lock hold(lock_);
        while (!isStopping_) {
            // Late: time without sound does not count.
            if (const std::int64_t late = elapsed() - written_; late > 0) {
                began_ += static_cast<double>(late) / kFormat.sampleRate;
            }
            const std::int64_t wanted = elapsed() + kAheadFrames - written_;
            if (wanted > 0) {
                unheard.resize(static_cast<std::size_t>(wanted * kFormat.channels));
                hold.unlock();
                client_.fill(unheard);
                hold.lock();
                written_ += wanted;
            }
            wake_.wait_for(hold, kPeriod, [this] { return isStopping_; });
        }
    }

    Client client_;
    mutable std::mutex lock_;
    std::condition_variable wake_;
    bool isStopping_ = true;      // guarded by lock_
    std::int64_t written_ = 0;    // guarded by lock_
    std::int64_t stoppedAt_ = 0;  // guarded by lock_
    double began_ = 0;            // guarded by lock_; host time of frame 0
    std::thread thread_;
};

}  // namespace

std::unique_ptr<SoundOutput> makeSilentOutput() {
    return std::make_unique<SilentOutput>();
}

}  // namespace lumivastor::platform
