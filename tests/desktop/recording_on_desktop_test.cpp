// SPDX-License-Identifier: GPL-3.0-or-later

// The program itself, on a display server and a sound server of the tests' own. Longer runs of the same with figures:
// tools/recording-trials.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "base/formatted.h"
#include "base/host_clock.h"
#include "capture/journal/journal_records.h"
#include "desktop/desktop_recording.h"
#include "media/reading/asset.h"
#include "model/capture_info.h"
#include "model/pointer_track.h"
#include "model/recording_quality.h"
#include "support/await.h"
#include "support/beeper.h"
#include "support/desktop_rig/rig_window.h"
#include "support/desktop_rig/scripted_pointer.h"
#include "support/heard_sound.h"
#include "support/program_run.h"

namespace lumivastor {
namespace {

void sleepFor(double seconds) {
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

// A thread that keeps a window's picture changing, so that there is always something new to record.
class Motion {
  public:
    explicit Motion(RigWindow& window)
        : thread_([this, &window] {
              for (int i = 0; !stop_; ++i) {
                  window.drawCounter(i);
                  sleepFor(0.02);
              }
          }) {}
    ~Motion() {
        stop_ = true;
        thread_.join();
    }

  private:
    std::atomic<bool> stop_ = false;
    std::thread thread_;
};

TEST_F(RecordingOnDesktop, PictureSoundAndPointerLieOnTheHostClock) {
    const int seconds = trialSetting("LUMI_SYNC_SECONDS", 5);
    RigWindow window(desktop_.displayName(), {.x = 0, .y = 0, .width = 200, .height = 200, .color = 0});
    ScriptedPointer pointer(desktop_.displayName());
    pointer.moveTo(600, 600);
    const Beeper system(sound_.address(), "sysout");
    const Beeper microphone(sound_.address(), "micfeed");
    const auto run = startRecording({"--system-audio", "--microphone"});
    std::vector<double> flashes;
    std::vector<double> clicks;
    for (int i = 0; i < seconds; ++i) {
        sleepFor(0.4);
        flashes.push_back(hostClockSeconds());
        window.fill(0xffffff);
        sleepFor(0.2);
        window.fill(0x000000);
        sleepFor(0.2);
        clicks.push_back(pointer.press(1));
        pointer.release(1);
        sleepFor(0.2);
    }
    // Clicks of the last second before the last event are taken for those that stop a recording.
    sleepFor(1.2);
    pointer.moveTo(610, 600);
    ASSERT_TRUE(await([&] {
        const auto events = capture::loadJournal(folder_).pointer.events;
        return !events.empty() && events.back().t > clicks.back() + 1;
    }));
    sleepFor(0.3);
    run->signal(SIGINT);
    ASSERT_EQ(run->wait(), 0) << run->err();
    expectCompleteFolder();
    const auto quality = model::RecordingQuality::find(folder_);
    ASSERT_TRUE(quality);
    EXPECT_TRUE(quality->ok) << quality->summary;
    EXPECT_EQ(quality->sounds.size(), 2U);
    EXPECT_EQ(quality->picturesCounted, quality->pictures);

    const auto pictures = picturesAt(100, 100);
    std::vector<double> late;
    for (const double flash : flashes) {
        const auto seen = std::find_if(pictures.begin(), pictures.end(), [flash](const SeenBrightness& picture) {
            return picture.hostSeconds >= flash - 0.1 && picture.brightness > 200;
        });
        ASSERT_NE(seen, pictures.end());
        late.push_back(seen->hostSeconds - flash);
    }
    const model::PointerTrack track = model::PointerTrack::load(folder_);
    std::vector<double> presses;
    for (const model::PointerSample& each : track.events) {
        if (each.kind == model::PointerKind::down) presses.push_back(each.t + info().t0HostClock);
    }
    ASSERT_EQ(presses.size(), clicks.size()) << "recorded " << testing::PrintToString(presses) << ", done "
                                             << testing::PrintToString(clicks) << ", zero " << info().t0HostClock;
    std::vector<double> pointerLate;
    for (std::size_t i = 0; i < clicks.size(); ++i) pointerLate.push_back(presses[i] - clicks[i]);
    const auto systemErrors = beepErrors(beepsIn(0), system.beeps());
    const auto microphoneErrors = beepErrors(beepsIn(1), microphone.beeps());
    std::printf("flashes     %s\nsystem      %s\nmicrophone  %s\npresses     %s\n", describeErrors(late).c_str(),
                describeErrors(systemErrors).c_str(), describeErrors(microphoneErrors).c_str(),
                describeErrors(pointerLate).c_str());
    // Half a second is a machine that is short of time; a wrong clock or a forgotten latency is off by more, or always.
    for (const double error : late) EXPECT_GT(error, -0.02);
    for (const double error : pointerLate) EXPECT_GT(error, -0.02);
    const auto middle = [](std::vector<double> errors) {
        std::sort(errors.begin(), errors.end());
        return errors.at(errors.size() / 2);
    };
    EXPECT_LT(middle(late), 0.5);
    EXPECT_LT(middle(pointerLate), 0.5);
    ASSERT_GE(systemErrors.size(), static_cast<std::size_t>(seconds));
    ASSERT_GE(microphoneErrors.size(), static_cast<std::size_t>(seconds));
    EXPECT_LT(std::abs(middle(systemErrors)), 0.05);
    EXPECT_LT(std::abs(middle(microphoneErrors)), 0.05);
}

// Flashes, beeps and presses go on while the recording is paused again and again. Those that are recorded keep the
// distances that they have without pauses.
TEST_F(RecordingOnDesktop, AWindowIsRecordedAlthoughItMovesAndIsCovered) {
    RigWindow window(desktop_.displayName(), {.x = 300, .y = 200, .width = 400, .height = 300, .color = 0xff0000});
    ScriptedPointer pointer(desktop_.displayName());
    pointer.moveTo(310, 220);
    const auto run = startRecording({"--window", std::to_string(window.id()), "--fps", "30"});
    sleepFor(0.5);
    window.moveTo(100, 50);
    const RigWindow cover(desktop_.displayName(), {.x = 0, .y = 0, .width = 800, .height = 600, .color = 0xffffff});
    // Until the window's new place was noted.
    EXPECT_TRUE(await([this] {
        const auto track = capture::loadJournal(folder_).windowTrack;
        return !track.empty() && track.back().rect.x == 100;
    }));
    pointer.moveTo(120, 90);
    sleepFor(0.5);
    run->signal(SIGTERM);
    ASSERT_EQ(run->wait(), 0) << run->err();
    expectCompleteFolder();
    EXPECT_EQ(info().sourceKind, "window");
    EXPECT_EQ(info().windowTitle, "Probe – Probe");
    EXPECT_EQ(info().pixelWidth, 400);
    EXPECT_EQ(info().pixelHeight, 300);
    EXPECT_EQ(info().displayX, 300);
    for (const SeenBrightness& each : picturesAt(200, 150)) EXPECT_LT(each.brightness, 20) << "green shows no red";
    const model::PointerTrack track = model::PointerTrack::load(folder_);
    ASSERT_TRUE(track.windowFrames.has_value());
    EXPECT_EQ(track.windowFrames->front().x, 300);
    EXPECT_EQ(track.windowFrames->back().x, 100);
    EXPECT_EQ(track.events.front().px, 10);
    EXPECT_EQ(track.events.front().py, 20);
    EXPECT_EQ(track.events.back().px, 20);
    EXPECT_EQ(track.events.back().py, 40);
}

// Most pictures of such a recording are not the encoder's.
TEST_F(RecordingOnDesktop, ADesktopOnWhichLittleChangesDecodesWithoutErrorsAndIsSharp) {
    constexpr int kWidth = 480;
    constexpr int kHeight = 320;
    RigWindow still(desktop_.displayName(), {.x = 40, .y = 40, .width = kWidth, .height = kHeight});
    // Every other pixel of a text differs from its neighbours, but not like noise.
    const auto marks = [](int x, int y) { return (x / 3 * 7 + y / 5 * 13) % 4 == 0 ? 0x202030U : 0xf0f0e8U; };
    std::vector<std::uint32_t> page;
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) page.push_back(marks(x, y));
    }
    RigWindow counter(desktop_.displayName(), {.x = 200, .y = 500, .width = 160, .height = 30});
    RigWindow traveller(desktop_.displayName(), {.x = 60, .y = 60, .width = 40, .height = 60, .color = 0xc03020});
    const auto run = startRecording({"--fps", "60"});
    still.drawPixels(page);
    {
        const Motion motion(counter);
        for (int step = 0; step < 150; ++step) {
            traveller.moveTo(60 + 5 * step, 60 + step % 40);
            sleepFor(0.02);
        }
        traveller.moveTo(700, 400);
    }
    counter.drawCounter(0xffff);
    sleepFor(1.5);
    run->signal(SIGINT);
    ASSERT_EQ(run->wait(), 0) << run->err();
    expectCompleteFolder();

    // In the movie's own time base: in that of the rate, two pictures of a busy machine may have one number.
    ProgramRun decoder({"ffmpeg", "-nostdin", "-v", "warning", "-err_detect", "explode", "-i", folder_ / "source.mov",
                        "-fps_mode", "passthrough", "-enc_time_base", "-1", "-f", "null", "-"},
                       environment());
    EXPECT_EQ(decoder.wait(), 0);
    EXPECT_EQ(decoder.err(), "");

    const auto last = lastPicture();
    ASSERT_TRUE(last);
    double squares = 0;
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            squares += std::pow(last->pixel(40 + x, 40 + y)[1] - static_cast<int>(marks(x, y) >> 8 & 0xff), 2);
        }
    }
    EXPECT_GT(10 * std::log10(255.0 * 255.0 * kWidth * kHeight / squares), 38) << "where the traveller was";
    EXPECT_GT(last->pixel(205, 515)[1], 240) << "the counter's last number";
    EXPECT_LT(last->pixel(720, 430)[1], 70) << "the traveller";
}

TEST_F(RecordingOnDesktop, ARegionShowsWhatLiesThere) {
    const RigWindow window(desktop_.displayName(), {.x = 100, .y = 100, .width = 51, .height = 51, .color = 0xffffff});
    const auto run = startRecording({"--region", "90,95,101,80", "--seconds", "1"});
    ASSERT_EQ(run->wait(), 0) << run->err();
    expectCompleteFolder();
    EXPECT_EQ(info().pixelWidth, 100);
    EXPECT_EQ(info().pixelHeight, 80);
    EXPECT_EQ(info().contentX, 90);
    EXPECT_GT(picturesAt(30, 30).back().brightness, 230);
    EXPECT_LT(picturesAt(70, 70).back().brightness, 25);
}

TEST_F(RecordingOnDesktop, AHangUpEndsTheRecordingAsAnyOtherStop) {
    const auto run = startRecording({});
    run->signal(SIGHUP);
    ASSERT_EQ(run->wait(), 0) << run->err();
    EXPECT_EQ(run->out().find("endedEarly"), std::string::npos) << run->out();
    expectCompleteFolder();
}

TEST_F(RecordingOnDesktop, AClosedWindowEndsTheRecordingAndItIsKept) {
    auto window = std::make_unique<RigWindow>(desktop_.displayName());
    const auto run = startRecording({"--window", std::to_string(window->id())});
    sleepFor(1);
    window.reset();
    ASSERT_EQ(run->wait(), 0) << run->err();
    EXPECT_NE(run->err().find("Die Aufnahme wurde beendet: "), std::string::npos) << run->err();
    expectEndedEarly(*run);
    expectCompleteFolder();
    EXPECT_GE(info().duration, 0.9);
}

TEST_F(RecordingOnDesktop, ADisplayServerThatGoesAwayEndsTheRecordingAndItIsKept) {
    const auto run = startRecording({});
    sleepFor(1);
    desktop_.killServer();
    ASSERT_EQ(run->wait(), 0) << run->err();
    expectEndedEarly(*run);
    expectCompleteFolder();
}

TEST_F(RecordingOnDesktop, ASoundServerThatGoesAwayIsSaidAndTheRestGoesOn) {
    RigWindow window(desktop_.displayName());
    const auto run = startRecording({"--system-audio", "--microphone"});
    sleepFor(3);  // the sound's clock takes a second to be known
    sound_.kill();
    EXPECT_TRUE(await([&run] { return run->err().find("Systemton") != std::string::npos; })) << run->err();
    {
        const Motion motion(window);
        sleepFor(2);
    }
    EXPECT_TRUE(run->isRunning());
    run->signal(SIGINT);
    ASSERT_EQ(run->wait(), 0) << run->err();
    std::printf("%s", run->err().c_str());
    expectCompleteFolder();
    EXPECT_GE(info().duration, 2.5);
    EXPECT_EQ(media::Asset(folder_ / "source.mov").tracks(media::TrackKind::audio).size(), 2u);
}

TEST_F(RecordingOnDesktop, WithoutASoundServerRecordingSoundFailsAndLeavesNothing) {
    sound_.kill();
    ProgramRun run(recordWords({"--system-audio", "--seconds", "1"}), environment());
    EXPECT_EQ(run.wait(), 1);
    EXPECT_NE(run.out().find("\"error\""), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(folder_));
}

TEST_F(RecordingOnDesktop, AKilledRecordingIsCompletedAfterwards) {
    const int kills = trialSetting("LUMI_KILLS", 2);
    RigWindow window(desktop_.displayName(), {.x = 50, .y = 50, .width = 640, .height = 400});
    ScriptedPointer pointer(desktop_.displayName());
    std::mt19937 random(static_cast<unsigned>(trialSetting("LUMI_SEED", 1)));
    std::printf("killed after   movie lasts   missing   pointer missing   recovered in\n");
    for (int i = 0; i < kills; ++i) {
        std::filesystem::remove_all(folder_);
        const auto run = startRecording({"--system-audio"});
        const double started = hostClockSeconds();
        const double life = 3.5 + std::uniform_real_distribution<>(0, 4)(random);
        double lastMove = 0;
        {
            const Motion motion(window);
            for (int x = 0; hostClockSeconds() < started + life; ++x) {
                lastMove = pointer.moveTo(100 + x % 500, 100);
                sleepFor(0.01);
            }
        }
        const double killed = hostClockSeconds();
        run->signal(SIGKILL);
        ASSERT_EQ(run->wait(), -SIGKILL);
        std::string err;
        const double before = hostClockSeconds();
        ASSERT_EQ(recover(&err), 0) << err;
        const double took = hostClockSeconds() - before;
        expectCompleteFolder();
        const model::CaptureInfo capture = info();
        const double missing = killed - (capture.t0HostClock + capture.duration);
        const double pointerMissing =
            lastMove - (capture.t0HostClock + model::PointerTrack::load(folder_).events.back().t);
        std::printf("%10.2f s %11.2f s %7.2f s %15.2f s %12.2f s\n", killed - capture.t0HostClock, capture.duration,
                    missing, pointerMissing, took);
        // Two seconds of a fragment, and what a busy machine had not encoded yet.
        EXPECT_LT(missing, 4);
        EXPECT_LT(pointerMissing, 2);
        EXPECT_EQ(decodedPictures(), capture.framesWritten);
    }
}

TEST_F(RecordingOnDesktop, ARecordingThatRunsIsNotRecovered) {
    const auto run = startRecording({});
    std::string err;
    EXPECT_EQ(recover(&err), 1);
    EXPECT_EQ(err, "Diese Aufnahme läuft noch oder wird gerade vervollständigt.\n");
    run->signal(SIGINT);
    EXPECT_EQ(run->wait(), 0) << run->err();
    expectCompleteFolder();
    EXPECT_EQ(recover(), 0);
}

TEST_F(RecordingOnDesktop, AFileThatTakesNoMoreEndsTheRecordingAndItIsKept) {
    RigWindow window(desktop_.displayName(), {.x = 0, .y = 0, .width = 1280, .height = 800});
    // As a full disk does, at 3 MB, with a signal that must not end the program.
    std::vector<std::string> words = {"sh", "-c", "trap '' XFSZ; ulimit -f 6000; exec \"$@\"", "sh"};
    for (const std::string& word : recordWords({})) words.push_back(word);
    const auto run = startProgram(words);
    for (int seed = 0; run->isRunning() && seed < 3000; ++seed) {
        window.drawPattern(seed);
        sleepFor(0.01);
    }
    ASSERT_EQ(run->wait(), 0) << run->err();
    EXPECT_NE(run->err().find("Was bis dahin aufgenommen wurde, ist gesichert."), std::string::npos) << run->err();
    expectCompleteFolder();
    EXPECT_GT(info().duration, 0);
    EXPECT_EQ(decodedPictures(), info().framesWritten);
}

TEST_F(RecordingOnDesktop, ADiskThatFillsUpEndsTheRecordingInTime) {
    RigWindow window(desktop_.displayName(), {.x = 0, .y = 0, .width = 1280, .height = 800});
    // A small volume that only this program sees, and that is copied before it goes.
    const std::filesystem::path volume = temporary_ / "volume";
    std::filesystem::create_directory(volume);
    const std::string script =
        "mount -t tmpfs -o size=8m tmpfs \"$1\" || exit 9; \"$3\" record --json --out \"$1/r\"; "
        "status=$?; cp -r \"$1/r\" \"$2\"; exit $status";
    const std::string unshare = geteuid() == 0 ? "-m" : "-rm";
    ProgramRun trial({"unshare", unshare, "mount", "-t", "tmpfs", "tmpfs", volume.string()}, {});
    ASSERT_EQ(trial.wait(), 0) << "Needs a name space for mounts: privileges, or user name spaces. " << trial.err();
    ProgramRun run({"unshare", unshare, "sh", "-c", script, "sh", volume.string(), folder_.string(), LUMI_PROGRAM},
                   environment());
    for (int seed = 0; run.isRunning() && seed < 20000; ++seed) {
        window.drawPattern(seed);
        sleepFor(0.01);
    }
    ASSERT_EQ(run.wait(), 0) << run.err();
    EXPECT_TRUE(run.err().ends_with(
        "Die Aufnahme wurde beendet: Der Datenträger ist fast voll. Die Aufnahme endet, solange sie "
        "sich noch abschließen lässt.\n"))
        << run.err();
    expectEndedEarly(run);
    expectCompleteFolder();
    EXPECT_GT(info().duration, 2);
}

TEST_F(RecordingOnDesktop, RecordsIntoANewFolderInTheUsersMovies) {
    const TemporaryFolder home;
    auto variables = environment();
    variables["HOME"] = home.path().string();
    ProgramRun run({LUMI_PROGRAM, "record", "--seconds", "0.5"}, variables);
    ASSERT_EQ(run.wait(), 0) << run.err();
    EXPECT_TRUE(run.out().starts_with("Fertig: ")) << run.out();
    int folders = 0;
    for (const auto& each : std::filesystem::directory_iterator(home / "Movies/LumiVastor")) {
        ++folders;
        EXPECT_NO_THROW(model::CaptureInfo::load(each.path()));
    }
    EXPECT_EQ(folders, 1);
}

TEST_F(RecordingOnDesktop, ListsWhatIsThere) {
    const RigWindow window(desktop_.displayName(),
                           {.title = "Bericht", .className = "Schreiber", .width = 500, .height = 400});
    const RigWindow small(desktop_.displayName(), {.title = "klein", .width = 150, .height = 100});
    ProgramRun run({LUMI_PROGRAM, "sources", "--json"}, environment());
    ASSERT_EQ(run.wait(), 0) << run.err();
    const std::string text = run.out();
    EXPECT_NE(text.find("\"width\" : 1280"), std::string::npos) << text;
    EXPECT_NE(text.find(formatted("\"id\" : %u", window.id())), std::string::npos) << text;
    EXPECT_NE(text.find("\"title\" : \"Bericht\""), std::string::npos) << text;
    EXPECT_EQ(text.find("klein"), std::string::npos) << text;
}

TEST_F(RecordingOnDesktop, IsExaminedAsHealthy) {
    // As where there is no PipeWire, whose library has words of its own for that.
    auto variables = environment();
    variables["PIPEWIRE_CONFIG_DIR"] = temporary_.path().string() + "/none";
    ProgramRun run({LUMI_PROGRAM, "doctor"}, variables);
    EXPECT_EQ(run.wait(), 0) << run.out();
    EXPECT_EQ(run.err(), "");
    EXPECT_EQ(run.out().find("✗"), std::string::npos) << run.out();
}

}  // namespace
}  // namespace lumivastor
