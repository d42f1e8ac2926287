// SPDX-License-Identifier: GPL-3.0-or-later

// The program itself, paused while it records. Ten pauses instead of two: tools/pause-trials.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <thread>
#include <utility>
#include <vector>

#include "base/host_clock.h"
#include "capture/journal/journal_records.h"
#include "desktop/desktop_recording.h"
#include "model/pointer_track.h"
#include "model/recording_quality.h"
#include "support/await.h"
#include "support/beeper.h"
#include "support/desktop_rig/rig_window.h"
#include "support/desktop_rig/scripted_pointer.h"
#include "support/heard_sound.h"

namespace lumivastor {
namespace {

/// The parts of a recording between its pauses.
class Parts {
  public:
    /// `begins`: movie times of all but the first, ascending.
    explicit Parts(std::vector<double> begins) : begins_(std::move(begins)) {}

    /// By how many milliseconds the middle error of a part differs from that of the first. `errors` are seconds, each
    /// at one of `times`.
    double step(std::size_t part, const std::vector<double>& times, const std::vector<double>& errors) const {
        return 1000 * (middle(part, times, errors) - middle(0, times, errors));
    }

  private:
    double middle(std::size_t part, const std::vector<double>& times, const std::vector<double>& errors) const {
        std::vector<double> own;
        for (std::size_t i = 0; i < times.size(); ++i) {
            const auto at = std::upper_bound(begins_.begin(), begins_.end(), times[i]) - begins_.begin();
            if (static_cast<std::size_t>(at) == part) own.push_back(errors[i]);
        }
        if (own.empty()) return std::nan("");
        std::sort(own.begin(), own.end());
        return own[own.size() / 2];
    }

    std::vector<double> begins_;
};

TEST_F(RecordingOnDesktop, PausesLeavePictureSoundAndPointerInStep) {
    const int count = trialSetting("LUMI_PAUSES", 2);
    // For comparison: the same without pauses.
    const bool isPaused = trialSetting("LUMI_PAUSED", 1) != 0;
    const int flashesInPart = trialSetting("LUMI_FLASHES", 2);
    const auto sleepFor = [](double seconds) { std::this_thread::sleep_for(std::chrono::duration<double>(seconds)); };
    RigWindow window(desktop_.displayName(), {.x = 0, .y = 0, .width = 200, .height = 200, .color = 0});
    ScriptedPointer pointer(desktop_.displayName());
    pointer.moveTo(600, 600);
    const Beeper system(sound_.address(), "sysout");
    const auto run = startRecording({"--system-audio", "--fps", "60"});
    std::vector<double> flashes;
    std::vector<double> clicks;
    const auto flash = [&] {
        flashes.push_back(hostClockSeconds());
        window.fill(0xffffff);
        clicks.push_back(pointer.press(1));
        pointer.release(1);
        sleepFor(0.15);
        window.fill(0x000000);
        sleepFor(0.25);
    };
    std::vector<double> partsBegin;  // host times; that of the first is missing
    const auto toggle = [&](std::size_t pauses, bool pausesNow) {
        if (!isPaused) return;
        run->signal(SIGUSR1);
        ASSERT_TRUE(await([&] {
            const capture::Pauses& now = capture::loadJournal(folder_).pauses;
            return now.list().size() == pauses && now.isPaused() == pausesNow;
        })) << run->err();
    };
    for (int j = 0; j < flashesInPart; ++j) flash();
    for (int i = 1; i <= count; ++i) {
        toggle(static_cast<std::size_t>(i), true);
        if (isPaused) flash();
        toggle(static_cast<std::size_t>(i), false);
        partsBegin.push_back(hostClockSeconds());
        sleepFor(0.1);
        for (int j = 0; j < flashesInPart; ++j) flash();
    }
    // Clicks of the last second before the last event are taken for those that stop a recording.
    sleepFor(1.2);
    pointer.moveTo(610, 600);
    ASSERT_TRUE(await([&] {
        const auto events = capture::loadJournal(folder_).pointer.events;
        return !events.empty() && events.back().t > clicks.back() + 1;
    }));
    const capture::Pauses pauses = capture::loadJournal(folder_).pauses;
    run->signal(SIGINT);
    ASSERT_EQ(run->wait(), 0) << run->err();
    expectCompleteFolder();
    const auto quality = model::RecordingQuality::find(folder_);
    ASSERT_TRUE(quality);
    EXPECT_TRUE(quality->ok) << quality->summary;

    const auto recorded = [&](const std::vector<double>& hostTimes) {
        std::vector<double> times;
        for (const double t : hostTimes) {
            if (const auto movieTime = pauses.movieTime(t)) times.push_back(*movieTime);
        }
        return times;
    };
    for (double& each : partsBegin) each = pauses.nearestMovieTime(each);
    // Movie times, like those that the movie and the documents have behind the host time of their zero.
    flashes = recorded(flashes);
    clicks = recorded(clicks);
    ASSERT_EQ(flashes.size(), static_cast<std::size_t>(flashesInPart * (count + 1)));
    const auto pictures = picturesAt(100, 100);
    std::vector<double> late;
    for (const double each : flashes) {
        const auto seen = std::find_if(pictures.begin(), pictures.end(), [each](const SeenBrightness& picture) {
            return picture.hostSeconds >= each - 0.05 && picture.brightness > 200;
        });
        ASSERT_NE(seen, pictures.end());
        late.push_back(seen->hostSeconds - each);
    }
    std::vector<double> presses;
    for (const model::PointerSample& each : model::PointerTrack::load(folder_).events) {
        if (each.kind == model::PointerKind::down) presses.push_back(each.t + info().t0HostClock);
    }
    ASSERT_EQ(presses.size(), clicks.size()) << "recorded " << testing::PrintToString(presses) << ", done "
                                             << testing::PrintToString(clicks) << ", zero " << info().t0HostClock;
    std::vector<double> pointerLate;
    for (std::size_t i = 0; i < clicks.size(); ++i) pointerLate.push_back(presses[i] - clicks[i]);
    // Those that a pause cut are no beeps of the movie.
    std::vector<double> played;
    for (const double t : system.beeps()) {
        if (pauses.movieTime(t) && pauses.nearestMovieTime(t + 0.03) - pauses.nearestMovieTime(t - 0.03) > 0.059) {
            played.push_back(pauses.nearestMovieTime(t));
        }
    }
    const std::vector<double> heard = beepsIn(0);
    std::vector<double> soundErrors;
    std::vector<double> soundTimes;
    for (const double t : played) {
        for (const double each : heard) {
            if (std::abs(each - t) >= 0.03) continue;
            soundErrors.push_back(each - t);
            soundTimes.push_back(t);
        }
    }
    std::printf("flashes     %s\nsystem      %s\npresses     %s\n", describeErrors(late).c_str(),
                describeErrors(soundErrors).c_str(), describeErrors(pointerLate).c_str());
    const auto middle = [](std::vector<double> errors, std::size_t from, std::size_t end) {
        std::sort(errors.begin() + static_cast<std::ptrdiff_t>(from),
                  errors.begin() + static_cast<std::ptrdiff_t>(end));
        return errors.at((from + end) / 2);
    };
    if (count > 2) {
        const Parts parts(partsBegin);
        std::printf("milliseconds by which each part is off from the first: picture, sound, pointer\n");
        for (std::size_t i = 1; i <= partsBegin.size(); ++i) {
            std::printf("%3zu  %7.2f %7.2f %7.2f\n", i, parts.step(i, flashes, late),
                        parts.step(i, soundTimes, soundErrors), parts.step(i, clicks, pointerLate));
        }
    }
    for (const double error : pointerLate) EXPECT_GT(error, -0.02);
    EXPECT_LT(middle(pointerLate, 0, pointerLate.size()), 0.5);
    EXPECT_LT(middle(late, 0, late.size()), 0.5);
    ASSERT_GE(soundErrors.size(), static_cast<std::size_t>(2 * count));
    // What pauses shift, they shift more with each of them: half a buffer of the server is more than this already. The
    // fit of arrival times moves sound by some milliseconds in the first seconds, with pauses and without.
    const std::size_t half = soundErrors.size() / 2;
    EXPECT_LT(std::abs(middle(soundErrors, 0, half) - middle(soundErrors, half, soundErrors.size())), 0.01);
}

}  // namespace
}  // namespace lumivastor
