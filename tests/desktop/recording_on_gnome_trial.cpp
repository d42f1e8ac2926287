// SPDX-License-Identifier: GPL-3.0-or-later

// The program itself on a GNOME desktop. Not part of the tests, because GNOME is large and draws slowly without a
// graphics card: tools/gnome-trials runs it.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

#include "base/host_clock.h"
#include "desktop/wayland_recording.h"
#include "support/await.h"
#include "support/wayland_rig/coded_window.h"
#include "support/wayland_rig/gnome_rig.h"

namespace lumivastor {
namespace {

constexpr int kWidth = 1280;
constexpr int kHeight = 300;

// Where the pointer was put, and when.
struct PointerStep {
    double hostSeconds = 0;
    double x = 0;
    double y = 0;
};

void waitUntil(double hostSeconds) {
    await(std::max(0.0, hostSeconds - hostClockSeconds()), [] { return false; });
}

class RecordingOnGnome : public testing::Test {
  protected:
    // A recording that the user has allowed, and that has begun.
    std::unique_ptr<WaylandRecording> record(const std::vector<std::string>& options) {
        auto recording = std::make_unique<WaylandRecording>(rig_.environment(), options);
        rig_.share();
        EXPECT_TRUE(recording->awaitBegin()) << recording->err();
        return recording;
    }

    // Draws numbers at 20 a second for that long, or as fast as the desktop paints them, and puts the pointer on a
    // circle around that place 60 times a second.
    void draw(CodedWindow& window, double seconds, double x = 0, double y = 0, double radius = 0) {
        const double start = hostClockSeconds();
        for (int turn = 0; turn < seconds * 60; ++turn) {
            waitUntil(start + turn / 60.0);
            if (turn % 3 == 0 && window.isShown()) {
                ++number_;
                drawn_.push_back({number_, window.show(number_)});
            }
            if (radius == 0) continue;
            const double angle = turn / 60.0 * 2 * std::numbers::pi;
            const double nextX = std::round(x + radius * std::cos(angle));
            const double nextY = std::round(y + radius * std::sin(angle));
            steps_.push_back({rig_.movePointer(nextX, nextY), nextX, nextY});
        }
    }

    // Until what was drawn last is in the recording.
    void settle(CodedWindow& window) {
        await([&] { return window.isShown(); });
        waitUntil(hostClockSeconds() + 0.5);
    }

    // Expects that the recorded moves are where the pointer was put, when it was put there.
    void expectPositions(const WaylandRecording& recording) const {
        const double zero = recording.info().t0HostClock;
        const model::PointerTrack track = recording.pointer();
        int moves = 0;
        int far = 0;
        std::vector<double> late;
        for (const model::PointerSample& event : track.events) {
            const double host = zero + event.t;
            if (event.kind != model::PointerKind::move || host < steps_.front().hostSeconds ||
                host > steps_.back().hostSeconds) {
                continue;
            }
            ++moves;
            // The last one before the event that is there; the circle comes back to each place after a second.
            const auto found = std::find_if(steps_.rbegin(), steps_.rend(), [&](const PointerStep& step) {
                return step.hostSeconds <= host && host - step.hostSeconds < 0.5 && std::abs(step.x - event.px) <= 1 &&
                       std::abs(step.y - event.py) <= 1;
            });
            if (found == steps_.rend()) {
                ++far;
            } else {
                late.push_back(host - found->hostSeconds);
            }
        }
        ASSERT_FALSE(late.empty());
        std::sort(late.begin(), late.end());
        const double soon =
            static_cast<double>(std::count_if(late.begin(), late.end(), [](double one) { return one <= 0.020; })) /
            moves;
        std::printf(
            "pointer     %zu steps, %d moves recorded, %d elsewhere; late: median %.1f ms, 95 %% %.1f ms, "
            "most %.1f ms; %.1f %% within 20 ms\n",
            steps_.size(), moves, far, median(late) * 1e3, late[late.size() * 95 / 100] * 1e3, late.back() * 1e3,
            soon * 100);
        EXPECT_EQ(far, 0);
        // A desktop that draws in software on a busy machine reports some moves late.
        EXPECT_LE(median(late), 0.020);
        EXPECT_GE(moves, static_cast<int>(steps_.size()) / 5);
    }

    // Expects that the recording shows what was drawn, from some number on, in order, to the last. Returns the first.
    // The desktop itself leaves out pictures when it is short of time.
    int expectPictures(const WaylandRecording& recording) const {
        const auto shown = recording.numbers();
        if (shown.empty()) {
            ADD_FAILURE() << "no number is shown";
            return 0;
        }
        const int between = drawn_.back().number - shown.front().number + 1;
        expectInOrder(shown, drawn_);
        const auto late = lateness(shown, drawn_);
        std::printf("pictures    %d drawn, %zu recorded; late: median %.1f ms, 95 %% within %.1f ms of it\n", between,
                    shown.size(), median(late) * 1e3, spread(late) * 1e3);
        EXPECT_GE(static_cast<double>(shown.size()), 0.8 * between);
        return shown.front().number;
    }

    GnomeRig rig_{{kWidth, kHeight}};
    std::uint16_t number_ = 0;
    std::vector<DrawnNumber> drawn_;
    std::vector<PointerStep> steps_;
};

// How many pixels are purple, which nothing is but the window's pointer.
int purplePixels(const imaging::BgraPremultipliedBuffer& picture) {
    int count = 0;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const std::uint8_t* const pixel = picture.pixel(x, y);
            if (pixel[0] > 170 && pixel[1] < 90 && pixel[2] > 170) ++count;
        }
    }
    return count;
}

TEST_F(RecordingOnGnome, PicturesAreCompleteAndThePointerIsBesideThem) {
    const auto recording = record({});
    CodedWindow window(rig_.display());
    ASSERT_EQ(window.width(), kWidth);
    window.setPointer(CodedWindow::Pointer{24, 5, 3, 0xff00ff});
    draw(window, 0.5);
    draw(window, 4, 900, 150, 100);
    const double hiddenAt = hostClockSeconds();
    window.setPointer(std::nullopt);
    draw(window, 1, 900, 150, 100);
    const double otherAt = hostClockSeconds();
    window.setPointer(CodedWindow::Pointer{32, 16, 31, 0xff00ff});
    draw(window, 1.5, 900, 150, 100);
    settle(window);
    ASSERT_EQ(recording->stop(), 0) << recording->err();
    recording->expectFinished();
    EXPECT_EQ(recording->info().pixelWidth, kWidth);
    EXPECT_EQ(recording->info().pixelHeight, kHeight);

    EXPECT_LE(expectPictures(*recording), 3);
    int purple = 0;
    recording->forEachPicture([&](double, const auto& picture) { purple = std::max(purple, purplePixels(picture)); });
    EXPECT_EQ(purple, 0) << "the pointer is painted in the picture";

    expectPositions(*recording);
    const model::PointerTrack track = recording->pointer();
    const double zero = recording->info().t0HostClock;
    std::printf("shapes     ");
    for (const model::CursorChange& change : track.cursorChanges) {
        std::printf(" %s at %.2f s", change.id.c_str(), change.t);
    }
    std::printf("; hidden at %.2f s, another at %.2f s\n", hiddenAt - zero, otherAt - zero);
    const auto shapeFrom = [&](double from, double until) {
        for (const model::CursorChange& change : track.cursorChanges) {
            if (zero + change.t < from || zero + change.t > until) continue;
            const auto image = std::find_if(track.cursorImages.begin(), track.cursorImages.end(),
                                            [&](const model::CursorImage& one) { return one.id == change.id; });
            if (image != track.cursorImages.end()) return *image;
        }
        return model::CursorImage{};
    };
    const model::CursorImage first = shapeFrom(drawn_.front().hostSeconds - 0.1, hiddenAt);
    EXPECT_TRUE(first.visible);
    const model::CursorImage hidden = shapeFrom(hiddenAt, otherAt);
    EXPECT_FALSE(hidden.visible);
    const model::CursorImage other = shapeFrom(otherAt, otherAt + 1);
    EXPECT_TRUE(other.visible);
    const auto describe = [](const model::CursorImage& image) {
        return std::vector<double>{image.width, image.height, image.hotspotX, image.hotspotY, image.scale};
    };
    EXPECT_EQ(describe(other), (std::vector<double>{32, 32, 16, 31, 1}));
    const bool hasFirst = std::any_of(track.cursorImages.begin(), track.cursorImages.end(), [&](const auto& image) {
        return describe(image) == std::vector<double>{24, 24, 5, 3, 1};
    });
    EXPECT_TRUE(hasFirst) << "the first shape is missing";
}

TEST_F(RecordingOnGnome, AWindowIsRecordedInItsSizeWhileItIsResized) {
    auto window = std::make_unique<CodedWindow>(rig_.display(), 900, 200);
    draw(*window, 0.5);
    rig_.placeWindow(CodedWindow::kTitle, 100, 50, 900, 200);
    draw(*window, 0.5);
    const auto recording = record({"--window", "0"});
    // In the window's pixels the circle is elsewhere by the window's corner.
    draw(*window, 2, 500, 200, 60);
    const double smallerAt = hostClockSeconds();
    rig_.placeWindow(CodedWindow::kTitle, 100, 50, 700, 160);
    draw(*window, 1.5);
    const double largerAt = hostClockSeconds();
    rig_.placeWindow(CodedWindow::kTitle, 50, 40, 1000, 240);
    draw(*window, 1.5);
    settle(*window);
    const double closedAt = hostClockSeconds();
    window.reset();
    ASSERT_EQ(recording->wait(), 0) << recording->err();
    std::printf("the recording ends %.2f s after its window\n", hostClockSeconds() - closedAt);
    EXPECT_LT(hostClockSeconds() - closedAt, 2);
    recording->expectFinished();
    EXPECT_NE(recording->out().find("endedEarly"), std::string::npos) << recording->out();
    EXPECT_EQ(recording->info().pixelWidth, 900);
    EXPECT_EQ(recording->info().pixelHeight, 200);
    EXPECT_EQ(recording->info().sourceKind, "window");

    expectPictures(*recording);
    int others = 0;
    recording->forEachPicture([&](double hostSeconds, const imaging::BgraPremultipliedBuffer& picture) {
        // The window takes its new size a moment later.
        const bool isSmall = hostSeconds > smallerAt + 0.5 && hostSeconds < largerAt;
        const bool isFull = hostSeconds < smallerAt || hostSeconds > largerAt + 0.5;
        if (!isSmall && !isFull) return;
        const auto expectColor = [&](int x, int y, bool isGround) {
            const std::uint8_t* const pixel = picture.pixel(x, y);
            const bool isBlack = pixel[0] < 25 && pixel[1] < 25 && pixel[2] < 25;
            const bool isGrey =
                std::abs(pixel[0] - 0x80) < 25 && std::abs(pixel[1] - 0x60) < 25 && std::abs(pixel[2] - 0x40) < 25;
            if (isGround ? !isGrey : !isBlack) ++others;
        };
        expectColor(10, 10, true);
        expectColor(690, 150, true);
        expectColor(890, 190, isFull);
        expectColor(710, 100, isFull);
        expectColor(300, 170, isFull);
    });
    EXPECT_EQ(others, 0) << "something else than the window, or old pixels";

    for (PointerStep& step : steps_) {
        step.x -= 100;
        step.y -= 50;
    }
    expectPositions(*recording);
}

TEST_F(RecordingOnGnome, TheSecondRecordingAsksNothing) {
    const auto first = record({});
    EXPECT_EQ(first->stop(), 0) << first->err();
    WaylandRecording second(rig_.environment(), {"--seconds", "1"});
    bool hasAsked = false;
    await([&] {
        hasAsked = hasAsked || rig_.hasDialog();
        return hasAsked || !second.isRunning();
    });
    EXPECT_FALSE(hasAsked);
    ASSERT_EQ(second.wait(), 0) << second.err();
    second.expectFinished();
    EXPECT_NEAR(second.info().duration, 1, 0.3);
    // Unless it is to ask again.
    const auto third = record({"--ask"});
    EXPECT_EQ(third->stop(), 0) << third->err();
}

TEST_F(RecordingOnGnome, ARefusedDialogLeavesNothing) {
    WaylandRecording recording(rig_.environment(), {});
    rig_.refuse();
    EXPECT_EQ(recording.wait(), 1);
    EXPECT_NE(recording.err().find("Die Aufnahme wurde im Dialog abgelehnt."), std::string::npos) << recording.err();
    EXPECT_FALSE(std::filesystem::exists(recording.folder()));
}

TEST_F(RecordingOnGnome, AnInterruptTakesTheDialogAway) {
    WaylandRecording recording(rig_.environment(), {});
    ASSERT_TRUE(await([this] { return rig_.hasDialog(); }));
    EXPECT_EQ(recording.stop(), 1);
    EXPECT_FALSE(std::filesystem::exists(recording.folder()));
    EXPECT_TRUE(await(5, [this] { return !rig_.hasDialog(); }));
    std::printf("the portal's backend %s\n", rig_.isPortalRunning() ? "goes on" : "has crashed");
}

TEST_F(RecordingOnGnome, StoppingTheSharingFinishesTheRecording) {
    const auto recording = record({});
    CodedWindow window(rig_.display());
    draw(window, 1);
    settle(window);
    const double stoppedAt = hostClockSeconds();
    rig_.stopSharing();
    ASSERT_EQ(recording->wait(), 0) << recording->err();
    std::printf("the recording ends %.2f s after the sharing: %s", hostClockSeconds() - stoppedAt,
                recording->err().c_str());
    EXPECT_LT(hostClockSeconds() - stoppedAt, 2);
    EXPECT_NE(recording->out().find("endedEarly"), std::string::npos) << recording->out();
    recording->expectFinished();
    expectPictures(*recording);
}

TEST_F(RecordingOnGnome, AKilledShellFinishesTheRecording) {
    const auto recording = record({});
    CodedWindow window(rig_.display());
    draw(window, 2);
    settle(window);
    const double killedAt = hostClockSeconds();
    rig_.killShell();
    ASSERT_EQ(recording->wait(), 0) << recording->err();
    std::printf("the recording ends %.2f s after the shell: %s", hostClockSeconds() - killedAt,
                recording->err().c_str());
    EXPECT_LT(hostClockSeconds() - killedAt, 2);
    EXPECT_NE(recording->out().find("endedEarly"), std::string::npos) << recording->out();
    recording->expectFinished();
    expectPictures(*recording);
}

}  // namespace
}  // namespace lumivastor
