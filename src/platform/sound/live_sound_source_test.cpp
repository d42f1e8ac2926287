// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/sound/live_sound_source.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "support/await.h"

namespace lumivastor::platform {
namespace {

/// A server that a test switches on and off. Any thread.
class Server {
  public:
    std::unique_ptr<AudioInputStream> open() {
        const int attempt = ++attempts_;
        if (!isOn_) throw RecorderError("Kein Tonserver gefunden (" + std::to_string(attempt) + ").");
        return std::make_unique<Line>(*this);
    }
    void switchOn(bool isOn) { isOn_ = isOn; }
    /// Ends the line that runs, and answers the next that asks.
    void dropLine() { ++drops_; }
    int attempts() const { return attempts_; }

  private:
    class Line final : public AudioInputStream {
      public:
        explicit Line(Server& server) : server_(server), drops_(server.drops_) {}
        State run(double /*seconds*/) override {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            return server_.isOn_ && server_.drops_ == drops_ ? State::running : State::gone;
        }

      private:
        Server& server_;
        const int drops_;
    };

    std::atomic<bool> isOn_ = true;
    std::atomic<int> attempts_ = 0;
    std::atomic<int> drops_ = 0;
};

/// What a source tells, in order. Any thread.
class Told {
  public:
    void add(const std::string& text) {
        const std::lock_guard hold(lock_);
        all_.push_back(text);
    }
    std::vector<std::string> all() const {
        const std::lock_guard hold(lock_);
        return all_;
    }
    bool reaches(std::size_t count) const {
        return await(30, [&] { return all().size() >= count; });
    }

  private:
    mutable std::mutex lock_;
    std::vector<std::string> all_;  // guarded by lock_
};

TEST(LiveSoundSource, TellsEveryOutageAndEveryReturn) {
    Server server;
    Told told;
    LiveSoundSource source({}, [&](ClockDriftCorrector&) { return server.open(); });
    source.onReturn([&] { told.add("wieder da"); });
    source.start([](const SoundBuffer&) {}, [&](const std::string& reason) { told.add(reason); });
    server.switchOn(false);
    ASSERT_TRUE(told.reaches(1));
    server.switchOn(true);
    ASSERT_TRUE(told.reaches(2));
    const int attempts = server.attempts();
    server.switchOn(false);
    ASSERT_TRUE(told.reaches(3));
    server.switchOn(true);
    ASSERT_TRUE(told.reaches(4));
    source.stop();
    EXPECT_EQ(told.all(), (std::vector<std::string>{"Kein Tonserver gefunden (2).", "wieder da",
                                                    "Kein Tonserver gefunden (" + std::to_string(attempts + 1) + ").",
                                                    "wieder da"}));
}

TEST(LiveSoundSource, ALineThatIsReplacedAtOnceIsNoNews) {
    Server server;
    Told told;
    LiveSoundSource source({}, [&](ClockDriftCorrector&) { return server.open(); });
    source.onReturn([&] { told.add("wieder da"); });
    source.start([](const SoundBuffer&) {}, [&](const std::string& reason) { told.add(reason); });
    server.dropLine();
    ASSERT_TRUE(await(30, [&] { return server.attempts() == 2; }));
    source.stop();
    EXPECT_TRUE(told.all().empty());
}

}  // namespace
}  // namespace lumivastor::platform
