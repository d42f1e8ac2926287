// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/export_plan.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "base/recorder_error.h"
#include "render/read_ahead.h"

namespace lumivastor::render {
namespace {

TEST(ExportPlan, TheCanvasIsSixteenToNineRoundedDown) {
    EXPECT_EQ(exportCanvas(720), (PixelSize{1280, 720}));
    EXPECT_EQ(exportCanvas(1080), (PixelSize{1920, 1080}));
    EXPECT_EQ(exportCanvas(1440), (PixelSize{2560, 1440}));
    EXPECT_EQ(exportCanvas(2160), (PixelSize{3840, 2160}));
    EXPECT_EQ(exportCanvas(101), (PixelSize{179, 101})) << "not made even";
    for (const std::int64_t height : {-1, 0, 1, 4321, 1 << 30}) EXPECT_THROW(exportCanvas(height), RecorderError);
}

TEST(ExportPlan, FrameRatesThatCannotBeTimedAreRefused) {
    for (const std::int64_t fps : {1, 24, 25, 30, 60, 120, 144, 600}) EXPECT_NO_THROW(checkFrameRate(fps));
    for (const std::int64_t fps : {-60, 0, 601, 1 << 30}) EXPECT_THROW(checkFrameRate(fps), RecorderError);
}

TEST(ExportPlan, ThereIsAlwaysOneFrame) {
    EXPECT_EQ(frameCount(0, 60), 1);
    EXPECT_EQ(frameCount(0.002, 60), 1);
    EXPECT_EQ(frameCount(1, 60), 60);
    EXPECT_EQ(frameCount(1.999 / 60, 60), 1);
    EXPECT_EQ(frameCount(2.5, 25), 62);
}

TEST(ExportPlan, NoVideoHasMoreFramesThanCanBeCounted) {
    EXPECT_EQ(frameCount(1e300, 60), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(frameCount(-1e300, 60), 1);
}

TEST(ExportPlan, FramesFallOnDistinctTicks) {
    for (std::int64_t fps = 1; fps <= 600; ++fps) {
        std::int64_t last = -1;
        for (std::int64_t i = 0; i < 2 * fps; ++i) {
            const std::int64_t tick = MediaTime::fromSeconds(frameSeconds(i, fps), kExportTimescale).value;
            ASSERT_GT(tick, last) << fps;
            last = tick;
        }
    }
}

TEST(ExportPlan, BitsFollowPixels) {
    EXPECT_EQ(exportBitRate({2560, 1440}, 60), 22118400);
    EXPECT_EQ(exportBitRate({179, 101}, 30), 54237);
}

TEST(ExportPlan, AFilmsPictures) {
    const media::VideoSettings settings = exportVideoSettings({2560, 1440}, 60, std::nullopt);
    EXPECT_EQ(settings.width, 2560);
    EXPECT_EQ(settings.height, 1440);
    EXPECT_EQ(settings.averageBitRate, 22118400);
    EXPECT_EQ(settings.maxKeyFrameInterval, 120);
    EXPECT_EQ(settings.frameRate, 60);
    EXPECT_TRUE(settings.make);
}

TEST(ExportPlan, ARectanglesPixelsBeginAtTheTop) {
    const PixelSize canvas{100, 60};
    EXPECT_EQ(pixelsTouchedBy({10, 20, 30, 15}, canvas), (PixelRect{10, 25, 30, 15}));
    EXPECT_EQ(pixelsTouchedBy({10.5, 20.5, 30, 15}, canvas), (PixelRect{10, 24, 31, 16}));
    EXPECT_EQ(pixelsTouchedBy({-5, -5, 20, 20}, canvas), (PixelRect{0, 45, 15, 15}));
    EXPECT_TRUE(pixelsTouchedBy({200, 0, 20, 20}, canvas).isEmpty());
}

TEST(ExportPlan, ProgressComesEveryThirtyFramesAndStaysBelowTheEnd) {
    double last = 0;
    for (std::int64_t done = 1; done <= 1000; ++done) {
        const auto progress = progressAfter(done - 1, done, 1000);
        ASSERT_EQ(progress.has_value(), done % 30 == 0) << done;
        if (!progress) continue;
        EXPECT_DOUBLE_EQ(*progress, std::min(static_cast<double>(done) / 1000, 0.97));
        EXPECT_GE(*progress, last);
        last = *progress;
    }
    EXPECT_EQ(last, 0.97);
    EXPECT_DOUBLE_EQ(*progressAfter(299, 300, 1000, 0.1), 0.37) << "behind what was done before the pictures";
    EXPECT_TRUE(progressAfter(100, 215, 1000)) << "several at once";
    EXPECT_FALSE(progressAfter(100, 115, 1000));
}

TEST(ExportPlan, AMixWithinFullScaleIsLeftAlone) {
    const SplitMix mix = splitMix({{1, 0.0F}, {2, 1.0F}});
    EXPECT_EQ(mix.gain, 1);
    EXPECT_EQ(mix.inputs.at(0).volume, 0);
    EXPECT_EQ(mix.inputs.at(1).volume, 1);
    EXPECT_EQ(splitMix({}).gain, 1);
    std::vector<float> values = {-3, -0.5F, 0, 1, 1.25F};
    const std::vector<float> before = values;
    amplify(values, 1);
    EXPECT_EQ(values, before) << "not even limited";
    amplify(values, 1.0005F);
    EXPECT_EQ(values, before);
}

TEST(ExportPlan, WhatIsLouderIsSplitIntoMixAndGain) {
    const SplitMix mix = splitMix({{1, 1.5F}, {2, 0.75F}});
    EXPECT_EQ(mix.gain, 1.5F);
    EXPECT_FLOAT_EQ(mix.inputs.at(0).volume, 1);
    EXPECT_FLOAT_EQ(mix.inputs.at(1).volume, 0.5F);
    std::vector<float> values = {-3, -0.5F, 0, 0.25F, 0.9F};
    amplify(values, mix.gain);
    EXPECT_EQ(values, (std::vector<float>{-1, -0.75F, 0, 0.375F, 1}));
}

TEST(RestartPolicy, OnlyAFailureBeforeTheEndCalls) {
    EXPECT_TRUE(RestartPolicy::isCalledFor(true, 0, 5));
    EXPECT_TRUE(RestartPolicy::isCalledFor(true, 4.94, 5));
    EXPECT_FALSE(RestartPolicy::isCalledFor(true, 4.96, 5));
    EXPECT_FALSE(RestartPolicy::isCalledFor(false, 1, 5)) << "a source that ends early is held";
    EXPECT_FALSE(RestartPolicy::isCalledFor(true, 0, 0.03));
}

TEST(RestartPolicy, StepsGrowAndTheThirteenthFailureIsTheLast) {
    RestartPolicy policy;
    const std::vector<double> skips = {0.001, 0.001, 0.5, 1, 1.5, 2, 2.5, 3, 3.5, 4, 4.5, 5};
    ASSERT_EQ(skips.size(), static_cast<std::size_t>(RestartPolicy::kLimit));
    for (std::size_t i = 0; i < skips.size(); ++i) {
        const auto attempt = policy.next(7.5);
        ASSERT_TRUE(attempt);
        EXPECT_EQ(attempt->number, static_cast<int>(i) + 1);
        EXPECT_EQ(attempt->time, MediaTime::fromSeconds(7.5 + skips[i], 600)) << i;
    }
    EXPECT_FALSE(policy.next(7.5));
    EXPECT_FALSE(policy.next(100)) << "the limit is for the whole export";
}

TEST(RestartPolicy, NothingIsReadBeforeTheBeginning) {
    RestartPolicy policy;
    EXPECT_EQ(policy.next(-1)->time, (MediaTime{1, 600}));
}

struct Sample {
    double seconds;
};

// Gives samples at these times, then none.
class Source {
  public:
    explicit Source(std::vector<double> times) : times_(std::move(times)) {}

    std::optional<Sample> operator()() {
        if (next_ == times_.size()) return std::nullopt;
        return Sample{times_[next_++]};
    }
    std::size_t read() const { return next_; }

  private:
    std::vector<double> times_;
    std::size_t next_ = 0;
};

TEST(ReadAhead, ShowsTheLastSampleAtOrBeforeTheMoment) {
    const std::vector<double> times = {0.1, 0.2, 0.25, 0.6, 0.61, 0.62, 1.4};
    Source source(times);
    ReadAhead<Sample> slots(0);
    slots.setPending(source());
    for (int i = 0; i <= 200; ++i) {
        const double t = i / 100.0;
        slots.advance(t, [&] { return source(); });
        const Sample* expected = nullptr;
        Sample found{};
        std::size_t seen = 0;
        for (const double time : times) {
            if (time > t + 1e-6) continue;
            found.seconds = time;
            expected = &found;
            ++seen;
        }
        ASSERT_EQ(slots.current() != nullptr, expected != nullptr) << t;
        if (expected != nullptr) {
            EXPECT_EQ(slots.current()->seconds, expected->seconds) << t;
            EXPECT_EQ(slots.lastSeconds(), expected->seconds);
        }
        EXPECT_EQ(slots.pending() != nullptr, seen < times.size());
        EXPECT_EQ(source.read(), std::min(seen + 1, times.size())) << "one sample ahead and no more";
    }
}

TEST(ReadAhead, RoundedTimesCountAsReached) {
    Source source({0.1});
    ReadAhead<Sample> slots(-1);
    slots.setPending(source());
    EXPECT_EQ(slots.lastSeconds(), -1);
    slots.advance(0.0998, [&] { return source(); });
    EXPECT_EQ(slots.current(), nullptr);
    slots.advance(0.09995, [&] { return source(); });
    EXPECT_NE(slots.current(), nullptr);
}

TEST(ReadAhead, ASampleAfterAGapLeavesTheOldOneInPlace) {
    ReadAhead<Sample> slots(0);
    slots.setPending(Sample{1});
    const auto none = [] { return std::optional<Sample>(); };
    slots.advance(1, none);
    EXPECT_EQ(slots.pending(), nullptr);
    slots.setPending(Sample{3});
    slots.advance(2, none);
    EXPECT_EQ(slots.current()->seconds, 1);
    slots.advance(3, none);
    EXPECT_EQ(slots.current()->seconds, 3);
}

}  // namespace
}  // namespace lumivastor::render
