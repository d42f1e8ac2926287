// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pictures/paced_capture_stream.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/host_clock.h"
#include "support/await.h"

namespace lumivastor::platform {
namespace {

constexpr int kEdge = 16;

// Content that arrives by itself, as from a server that sends pictures; hidden before the first.
struct ArrivingContent {
    std::mutex lock;
    std::function<void()> wake;
    std::uint8_t value = 0;
    double shownAt = 0;
    bool changed = false;

    void show(std::uint8_t newValue, double hostSeconds) {
        std::function<void()> call;
        {
            const std::lock_guard hold(lock);
            value = newValue;
            shownAt = hostSeconds;
            changed = true;
            call = wake;
        }
        if (call) call();
    }
};

class ArrivingSource final : public PictureSource {
  public:
    explicit ArrivingSource(ArrivingContent& content) : content_(content) {}
    ~ArrivingSource() override {
        const std::lock_guard hold(content_.lock);
        content_.wake = nullptr;
    }
    ArrivingSource(const ArrivingSource&) = delete;
    ArrivingSource& operator=(const ArrivingSource&) = delete;

    void update(DamageArea& damage) override {
        const std::lock_guard hold(content_.lock);
        if (std::exchange(content_.changed, false)) damage.add({0, 0, kEdge, kEdge});
        shownAt_ = content_.shownAt;
    }
    bool isHidden() const override { return shownAt_ == 0; }
    std::optional<std::string> ended() const override { return std::nullopt; }
    std::optional<Point> takeOrigin() override { return std::nullopt; }
    std::optional<std::string> takeNotice() override { return std::nullopt; }
    bool paint(const DamageArea& damage, imaging::BgraPremultipliedBuffer& picture) override {
        const std::lock_guard hold(content_.lock);
        for (const PixelRect& rect : damage.rects()) {
            for (int y = rect.y; y < rect.maxY(); ++y) {
                std::memset(picture.pixel(rect.x, y), content_.value, static_cast<std::size_t>(rect.width) * 4);
            }
        }
        return true;
    }
    std::optional<double> contentSeconds() const override { return shownAt_; }
    void onArrival(std::function<void()> wake) override {
        const std::lock_guard hold(content_.lock);
        content_.wake = std::move(wake);
    }

  private:
    ArrivingContent& content_;
    double shownAt_ = 0;
};

struct Seen {
    int value = 0;
    double hostSeconds = 0;
    double arrivedAt = 0;
};

// A stream at a frame interval, and the pictures it delivered.
class Recorded {
  public:
    Recorded(ArrivingContent& content, double interval)
        : stream_("test.paced", [&content] { return std::make_unique<ArrivingSource>(content); }, nullptr,
                  {.width = kEdge, .height = kEdge, .minimumFrameInterval = interval}) {
        stream_.addScreenOutput(queue_, [this](const ScreenSample& sample) {
            if (!sample.image) return;
            const std::lock_guard hold(lock_);
            seen_.push_back({*sample.image->pixel(0, 0), sample.hostSeconds, hostClockSeconds()});
        });
        stream_.start();
    }
    ~Recorded() {
        stream_.stop();
        queue_.drain();
    }
    Recorded(const Recorded&) = delete;
    Recorded& operator=(const Recorded&) = delete;

    std::vector<Seen> seen() const {
        const std::lock_guard hold(lock_);
        return seen_;
    }
    bool awaitValue(int value) const {
        return await([&] {
            const auto all = seen();
            return !all.empty() && all.back().value == value;
        });
    }

  private:
    mutable std::mutex lock_;
    std::vector<Seen> seen_;  // guarded by lock_
    SerialQueue queue_{"test.paced"};
    PacedCaptureStream stream_;
};

TEST(PacedCaptureStream, TakesContentThatArrivesBeforeTheNextTick) {
    ArrivingContent content;
    // The next tick is an hour away.
    const Recorded recorded(content, 3600);
    const double shownAt = hostClockSeconds();
    content.show(7, shownAt);
    ASSERT_TRUE(recorded.awaitValue(7));
    EXPECT_EQ(recorded.seen().front().hostSeconds, shownAt);
}

TEST(PacedCaptureStream, ASecondArrivalInAnIntervalWaitsForTheNextTick) {
    constexpr double kInterval = 0.5;
    ArrivingContent content;
    const Recorded recorded(content, kInterval);
    content.show(1, hostClockSeconds());
    ASSERT_TRUE(recorded.awaitValue(1));
    for (std::uint8_t value = 2; value <= 40; ++value) content.show(value, hostClockSeconds());
    ASSERT_TRUE(recorded.awaitValue(40));
    // At most the first one, one at the tick, and one more if a tick fell between two of them.
    EXPECT_LE(recorded.seen().size(), 3u);
}

TEST(PacedCaptureStream, KeepsTheContentsOwnTimes) {
    ArrivingContent content;
    const Recorded recorded(content, 0.05);
    for (std::uint8_t value = 1; value <= 10; ++value) {
        const double shownAt = hostClockSeconds();
        content.show(value, shownAt);
        ASSERT_TRUE(recorded.awaitValue(value));
        EXPECT_EQ(recorded.seen().back().hostSeconds, shownAt);
    }
}

TEST(PacedCaptureStream, TimesAscendEvenWhenContentIsOlderThanTheLastPicture) {
    ArrivingContent content;
    const Recorded recorded(content, 0.01);
    content.show(9, hostClockSeconds());
    ASSERT_TRUE(recorded.awaitValue(9));
    content.show(1, 1.0);  // long ago
    ASSERT_TRUE(recorded.awaitValue(1));
    content.show(2, hostClockSeconds() + 60);  // not yet
    ASSERT_TRUE(recorded.awaitValue(2));
    const auto seen = recorded.seen();
    for (std::size_t i = 1; i < seen.size(); ++i) {
        EXPECT_GT(seen[i].hostSeconds, seen[i - 1].hostSeconds);
        EXPECT_LE(seen[i].hostSeconds, seen[i].arrivedAt);
    }
}

}  // namespace
}  // namespace lumivastor::platform
