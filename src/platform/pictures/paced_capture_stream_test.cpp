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
#include <thread>
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
    PixelRect damage{0, 0, kEdge, kEdge};
    PixelRect added;  // what painting updates besides
    std::optional<std::string> ended;
    bool outlastsItsEnd = false;
    std::function<void()> beforePainting;

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

    void update(imaging::DamageArea& damage) override {
        const std::lock_guard hold(content_.lock);
        if (std::exchange(content_.changed, false)) damage.add(content_.damage);
        shownAt_ = content_.shownAt;
    }
    bool isHidden() const override { return shownAt_ == 0; }
    std::optional<std::string> ended() const override {
        const std::lock_guard hold(content_.lock);
        return content_.ended;
    }
    bool outlastsItsEnd() const override {
        const std::lock_guard hold(content_.lock);
        return content_.outlastsItsEnd;
    }
    std::optional<Point> takeOrigin() override { return std::nullopt; }
    std::optional<std::string> takeNotice() override { return std::nullopt; }
    bool paint(imaging::DamageArea& damage, imaging::BgraPremultipliedBuffer& picture) override {
        if (content_.beforePainting) content_.beforePainting();
        const std::lock_guard hold(content_.lock);
        shownAt_ = content_.shownAt;
        damage.add(content_.added);
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
    imaging::KnownDamage damage;
};

// A stream at a frame interval, and the pictures it delivered.
class Recorded {
  public:
    Recorded(ArrivingContent& content, double interval, int queueDepth = 8)
        : stream_("test.paced", [&content] { return std::make_unique<ArrivingSource>(content); }, nullptr,
                  {.width = kEdge, .height = kEdge, .minimumFrameInterval = interval, .queueDepth = queueDepth}) {
        stream_.addScreenOutput(queue_, [this](const ScreenSample& sample) {
            if (!sample.image) return;
            const std::lock_guard hold(lock_);
            seen_.push_back({*sample.image->pixel(0, 0), sample.hostSeconds, hostClockSeconds(), sample.damage});
            held_.push_back(sample.image);
            if (!holds_) held_.clear();
        });
        stream_.start();
    }
    ~Recorded() { stop(); }
    Recorded(const Recorded&) = delete;
    Recorded& operator=(const Recorded&) = delete;

    void stop() {
        stream_.stop();
        queue_.drain();
    }
    // A client that keeps its pictures, as an encoder does that is behind.
    void hold(bool holds) {
        const std::lock_guard hold(lock_);
        holds_ = holds;
        if (!holds) held_.clear();
    }

    std::vector<Seen> seen() const {
        const std::lock_guard hold(lock_);
        return seen_;
    }
    std::int64_t missed() const { return stream_.picturesMissed(); }
    bool awaitValue(int value) const {
        return await([&] {
            const auto all = seen();
            return !all.empty() && all.back().value == value;
        });
    }

  private:
    mutable std::mutex lock_;
    // Guarded by lock_.
    std::vector<Seen> seen_;
    std::vector<std::shared_ptr<const imaging::BgraPremultipliedBuffer>> held_;
    bool holds_ = false;
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

TEST(PacedCaptureStream, TheLastChangeWaitsForAnEncoderThatIsBehind) {
    ArrivingContent content;
    Recorded recorded(content, 0.01, 2);
    recorded.hold(true);
    for (std::uint8_t value = 1; value <= 2; ++value) {
        content.show(value, hostClockSeconds());
        ASSERT_TRUE(recorded.awaitValue(value));
    }
    // No buffer is free for it.
    content.show(3, hostClockSeconds());
    await(0.1, [] { return false; });
    ASSERT_EQ(recorded.seen().back().value, 2);
    std::thread encoder([&] {
        await(0.1, [] { return false; });
        recorded.hold(false);
    });
    recorded.stop();
    encoder.join();
    EXPECT_EQ(recorded.seen().back().value, 3);
}

TEST(PacedCaptureStream, WhatCameBeforeTheEndIsTakenWhereItCanBePainted) {
    for (const bool outlasts : {true, false}) {
        ArrivingContent content;
        Recorded recorded(content, 0.01, 2);
        recorded.hold(true);
        for (std::uint8_t value = 1; value <= 2; ++value) {
            content.show(value, hostClockSeconds());
            ASSERT_TRUE(recorded.awaitValue(value));
        }
        content.show(3, hostClockSeconds());
        {
            const std::lock_guard hold(content.lock);
            content.outlastsItsEnd = outlasts;
            content.ended = "Der Desktop ist weg.";
        }
        // A tick that looked before sees no room.
        await(0.1, [] { return false; });
        recorded.hold(false);
        recorded.stop();
        EXPECT_EQ(recorded.seen().back().value, outlasts ? 3 : 2);
    }
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

TEST(PacedCaptureStream, TellsWhereAPictureDiffersFromTheOneBefore) {
    ArrivingContent content;
    const Recorded recorded(content, 0.02);
    const double begun = hostClockSeconds();
    content.show(1, begun);
    ASSERT_TRUE(recorded.awaitValue(1));
    EXPECT_FALSE(recorded.seen().back().damage) << "there is none before it";
    content.show(2, hostClockSeconds());
    ASSERT_TRUE(recorded.awaitValue(2));
    const auto damage = recorded.seen().back().damage;
    ASSERT_TRUE(damage);
    ASSERT_EQ(damage->rects().size(), 1u);
    EXPECT_EQ(damage->rects()[0], (PixelRect{0, 0, kEdge, kEdge}));
    ASSERT_TRUE(await([&] { return recorded.seen().size() >= 3; }));
    const auto repeated = recorded.seen()[2].damage;
    ASSERT_TRUE(repeated);
    EXPECT_TRUE(repeated->isEmpty()) << "the same picture again";
}

TEST(PacedCaptureStream, DamageHasWhatThePainterAdded) {
    ArrivingContent content;
    content.damage = {2, 2, 4, 4};
    const Recorded recorded(content, 0.02);
    content.show(1, hostClockSeconds());
    ASSERT_TRUE(recorded.awaitValue(1));
    {
        const std::lock_guard hold(content.lock);
        content.added = {0, 0, 3, 3};
    }
    content.show(2, hostClockSeconds());
    ASSERT_TRUE(recorded.awaitValue(2));
    const auto damage = recorded.seen().back().damage;
    ASSERT_TRUE(damage);
    ASSERT_EQ(damage->rects().size(), 1u);
    EXPECT_EQ(damage->rects()[0], (PixelRect{0, 0, 6, 6}));
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

TEST(PacedCaptureStream, ContentThatArrivesBeforeItIsPaintedIsNotShownEarly) {
    ArrivingContent content;
    double newerAt = 0;
    content.beforePainting = [&] {
        if (std::exchange(content.beforePainting, nullptr) == nullptr) return;
        newerAt = hostClockSeconds();
        content.show(8, newerAt);
    };
    const Recorded recorded(content, 0.01);
    content.show(7, hostClockSeconds());
    ASSERT_TRUE(recorded.awaitValue(8));
    EXPECT_EQ(recorded.seen().front().value, 8);
    EXPECT_EQ(recorded.seen().front().hostSeconds, newerAt);
}

TEST(PacedCaptureStream, CountsWhatASlowScreenMakesItMiss) {
    ArrivingContent content;
    std::uint8_t value = 1;
    content.beforePainting = [&] {
        await(0.03, [] { return false; });  // three intervals
        if (value < 4) content.show(++value, hostClockSeconds());
    };
    const Recorded recorded(content, 0.01);
    content.show(value, hostClockSeconds());
    ASSERT_TRUE(recorded.awaitValue(4));
    EXPECT_TRUE(await([&] { return recorded.missed() >= 1; }));
}

TEST(PacedCaptureStream, WhatStandsStillMissesNothing) {
    ArrivingContent content;
    content.beforePainting = [] { await(0.03, [] { return false; }); };
    Recorded recorded(content, 0.01);
    content.show(1, hostClockSeconds());
    ASSERT_TRUE(recorded.awaitValue(1));
    recorded.stop();
    EXPECT_EQ(recorded.missed(), 0);
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
