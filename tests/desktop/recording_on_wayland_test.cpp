// SPDX-License-Identifier: GPL-3.0-or-later

// The program itself on a Wayland desktop of the tests' own.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "base/host_clock.h"
#include "desktop/wayland_recording.h"
#include "media/reading/asset.h"
#include "model/capture_info.h"
#include "platform/pipewire/screen_stream.h"
#include "platform/wayland/portal_screencast.h"
#include "support/await.h"
#include "support/heard_sound.h"
#include "support/pipewire_beeper.h"
#include "support/program_run.h"
#include "support/temporary_folder.h"
#include "support/wayland_rig/coded_window.h"
#include "support/wayland_rig/sway_rig.h"

namespace lumivastor {
namespace {

// A little in every test run, more where somebody wants figures.
double trialSeconds() {
    const char* text = std::getenv("LUMI_SYNC_SECONDS");  // NOLINT(concurrency-mt-unsafe): no thread changes it
    return text == nullptr ? 4 : std::atof(text);
}

void waitUntil(double hostSeconds) {
    await(std::max(0.0, hostSeconds - hostClockSeconds()), [] { return false; });
}

std::string withoutSpaces(std::string text) {
    std::erase_if(text, [](char letter) { return letter == ' ' || letter == '\n'; });
    return text;
}

Outcome runOn(const std::map<std::string, std::string>& environment, const std::vector<std::string>& words) {
    std::vector<std::string> command{LUMI_PROGRAM};
    command.insert(command.end(), words.begin(), words.end());
    ProgramRun program(command, environment);
    const int status = program.wait();
    return {status, program.out(), program.err()};
}

// Draws the numbers from `first` on for that long, as many a second, or as fast as the compositor paints them when
// `rate` is 0; and the last for a while.
std::vector<DrawnNumber> draw(CodedWindow& window, std::uint16_t first, double seconds, double rate) {
    std::vector<DrawnNumber> drawn;
    const double start = hostClockSeconds();
    for (int i = 0; hostClockSeconds() < start + seconds; ++i) {
        if (rate > 0) waitUntil(start + i / rate);
        // A number that no picture of the compositor's shows cannot be recorded.
        if (!await([&] { return window.isShown(); })) throw std::runtime_error("the compositor paints no more");
        const auto number = static_cast<std::uint16_t>(first + i);
        drawn.push_back({number, window.show(number)});
    }
    // A portal that finds none of its buffers free leaves a picture out, on a busy machine also the last one.
    for (int i = 0; i < 10; ++i) {
        await([&] { return window.isShown(); });
        waitUntil(hostClockSeconds() + 0.1);
        window.show(drawn.back().number);
    }
    return drawn;
}

// Expects that the numbers are recorded in their order. How many are missing is told, not tested: on a busy machine the
// portal is late for some, and a machine that is short of time skips more.
void expectUpToTheLast(const WaylandRecording& recording, const std::vector<DrawnNumber>& drawn) {
    const auto shown = recording.numbers();
    const int missing = expectInOrder(shown, drawn);
    std::printf("%d of %zu numbers are missing\n", missing, drawn.size());
}

// Of a process, in seconds.
double processorTime(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string text((std::istreambuf_iterator<char>(file)), {});
    std::istringstream fields(text.substr(text.rfind(')') + 1));
    std::string skipped;
    for (int i = 0; i < 11; ++i) fields >> skipped;
    double user = 0;
    double system = 0;
    fields >> user >> system;
    return (user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

class RecordingOnWayland : public testing::Test {
  protected:
    Outcome run(const std::vector<std::string>& words) { return runOn(rig_.environment(), words); }

    std::unique_ptr<WaylandRecording> startRecording(const std::vector<std::string>& options) {
        auto recording = std::make_unique<WaylandRecording>(rig_.environment(), options);
        EXPECT_TRUE(recording->awaitBegin()) << recording->err();
        return recording;
    }

    SwayRig rig_;
};

TEST_F(RecordingOnWayland, SourcesAreChosenByTheDesktop) {
    const Outcome json = run({"sources", "--json"});
    EXPECT_EQ(json.status, 0) << json.err;
    EXPECT_NE(withoutSpaces(json.out).find(
                  R"("displays":[{"index":0,"name":"Bildschirm","chosenBy":"portal"}],"windows":[])"),
              std::string::npos)
        << json.out;
    const Outcome text = run({"sources"});
    EXPECT_NE(text.out.find("Bildschirme und Fenster wählt auf diesem Desktop sein eigener Dialog."),
              std::string::npos);
    EXPECT_NE(text.out.find("--display 0  Bildschirm – im Dialog zu wählen"), std::string::npos);
}

TEST_F(RecordingOnWayland, DoctorSaysWhatTheDesktopTells) {
    Outcome result = run({"doctor", "--json"});
    result.out = withoutSpaces(result.out);
    EXPECT_NE(result.out.find(R"({"name":"display","ok":true)"), std::string::npos) << result.out;
    EXPECT_NE(result.out.find(R"({"name":"pointer","ok":false)"), std::string::npos) << result.out;
    EXPECT_NE(result.out.find(R"({"name":"clicks","ok":false)"), std::string::npos) << result.out;
    EXPECT_NE(result.out.find(R"({"name":"shortcut","ok":false)"), std::string::npos) << result.out;
    EXPECT_EQ(result.status, 0) << result.out;
}

TEST_F(RecordingOnWayland, RecordsUntilAnotherProcessStopsIt) {
    CodedWindow window(rig_.display());
    window.show(1);
    const auto recording = startRecording({});
    const auto drawn = draw(window, 2, 1.5, 20);
    const Outcome stop = run({"stop"});
    EXPECT_EQ(stop.status, 0) << stop.err;
    EXPECT_EQ(recording->wait(), 0) << recording->err();
    EXPECT_NE(recording->err().find("Dieser Desktop verrät nicht, wo der Mauszeiger ist; er ist fest im Bild."),
              std::string::npos);
    recording->expectFinished();
    expectUpToTheLast(*recording, drawn);
    EXPECT_EQ(recording->info().pixelWidth, 1280);
    EXPECT_EQ(recording->info().pixelHeight, 720);
    EXPECT_EQ(recording->info().pointerKnown, model::KnownPointer::embedded);

    const Outcome again = run({"stop"});
    EXPECT_EQ(again.status, 1);
    EXPECT_NE(again.err.find("Es läuft keine Aufnahme."), std::string::npos);
}

TEST_F(RecordingOnWayland, OtherNumbersAndWindowsAreRefused) {
    const TemporaryFolder temporary;
    const std::filesystem::path folder = temporary / "recording";
    const Outcome second = run({"record", "--display", "1", "--out", folder.string()});
    EXPECT_EQ(second.status, 1);
    EXPECT_NE(second.err.find("wählt auf diesem Desktop sein eigener Dialog"), std::string::npos) << second.err;
    const Outcome window = run({"record", "--window", "0", "--out", folder.string()});
    EXPECT_EQ(window.status, 1);
    EXPECT_NE(window.err.find("Dieser Desktop gibt nur ganze Bildschirme frei, keine einzelnen Fenster."),
              std::string::npos)
        << window.err;
    EXPECT_FALSE(std::filesystem::exists(folder));
}

TEST_F(RecordingOnWayland, PictureAndSoundLieOnTheHostClock) {
    CodedWindow window(rig_.display());
    window.show(1);
    const PipeWireBeeper beeper(rig_.sound().remote(), "sysout");
    const auto recording = startRecording({"--system-audio"});
    const auto drawn = draw(window, 2, trialSeconds(), 30);
    waitUntil(hostClockSeconds() + 1);  // the sound's clock takes a second to be known
    ASSERT_EQ(recording->stop(), 0) << recording->err();
    recording->expectFinished();

    expectUpToTheLast(*recording, drawn);
    const auto late = lateness(recording->numbers(), drawn);
    const auto sound = beepErrors(recording->beeps(), beeper.beeps());
    ASSERT_FALSE(sound.empty());
    std::printf(
        "pictures    %zu drawn, late: median %.1f ms, 95 %% within %.1f ms of it\nsound       %s\n"
        "together    sound %.1f ms behind the picture\n",
        drawn.size(), median(late) * 1e3, spread(late) * 1e3, describeErrors(sound).c_str(),
        (median(sound) - median(late)) * 1e3);
    // The compositor paints up to a frame after it was given a picture. Half a second is a machine that is short of
    // time; a wrong clock is off by more, or always.
    for (const double one : late) EXPECT_GT(one, -0.02);
    EXPECT_LT(median(late), 0.5);
    EXPECT_LT(std::abs(median(sound)), 0.05);
}

// A client that does nothing but receive, and the program: each in its own time, because two clients of this portal
// share its pictures.
TEST(RecordingOnWaylandInFullSize, PicturesThatComeAsFastAsTheyCanKeepTheirOrder) {
    const SwayRig rig({1920, 1080, 1});
    CodedWindow window(rig.display());
    window.show(1);
    std::set<std::uint16_t> received;
    std::vector<DrawnNumber> drawn;
    {
        wayland::PortalConnection connection(rig.busAddress());
        const auto session = wayland::PortalSession::open(connection, {});
        pipewire::PipeWireConnection server(session->takeServer());
        pipewire::ScreenStream::Callbacks callbacks;
        callbacks.picture = [&](const pipewire::ScreenPicture& picture) {
            imaging::BgraPremultipliedBuffer copy(CodedWindow::kX + CodedWindow::kCells * CodedWindow::kCell,
                                                  CodedWindow::kY + CodedWindow::kCell);
            pipewire::copyOpaque(picture, {0, 0, copy.width(), copy.height()}, copy);
            if (const auto number = codeAt(copy)) received.insert(*number);
        };
        const pipewire::ScreenStream stream(server, session->node(), {}, callbacks);
        std::atomic<bool> isDone = false;
        std::thread drawer([&] {
            drawn = draw(window, 2, trialSeconds() / 2, 0);
            isDone = true;
        });
        while (!isDone) server.run(0.01);
        drawer.join();
    }
    const auto share = [](const std::set<std::uint16_t>& got, const std::vector<DrawnNumber>& of) {
        const auto has = [&](const DrawnNumber& one) { return got.contains(one.number); };
        return static_cast<double>(std::count_if(of.begin(), of.end(), has)) / static_cast<double>(of.size());
    };

    WaylandRecording recording(rig.environment(), {});
    ASSERT_TRUE(recording.awaitBegin()) << recording.err();
    const auto second = draw(window, 0x8000, trialSeconds() / 2, 0);
    ASSERT_EQ(recording.stop(), 0) << recording.err();
    const auto numbers = recording.numbers();
    expectInOrder(numbers, second);
    std::set<std::uint16_t> shown;
    for (const DrawnNumber& one : numbers) shown.insert(one.number);
    // How many there are is told, not tested: a machine that encodes as well is short of time.
    const model::CaptureInfo info = recording.info();
    std::printf(
        "another client gets %.1f %% of %zu pictures, the program records %.1f %% of %zu; %lld pictures were too "
        "many for the encoder\n",
        share(received, drawn) * 100, drawn.size(), share(shown, second) * 100, second.size(),
        static_cast<long long>(info.framesDroppedBackpressure));
}

TEST_F(RecordingOnWayland, AStillScreenCostsLittle) {
    CodedWindow window(rig_.display());
    window.show(1);
    for (const char* which : {"first", "second"}) {
        const auto recording = startRecording({});
        // The beginning looks for an encoder.
        waitUntil(hostClockSeconds() + 3);
        const double before = processorTime(recording->process());
        const double begin = hostClockSeconds();
        waitUntil(begin + trialSeconds());
        const double cost = (processorTime(recording->process()) - before) / (hostClockSeconds() - begin);
        ASSERT_EQ(recording->stop(), 0) << recording->err();
        const model::CaptureInfo info = recording->info();
        std::printf("%s recording: %.2f %% of a core, %lld pictures in %.2f s\n", which, cost * 100,
                    static_cast<long long>(info.framesWritten), info.duration);
        EXPECT_LT(cost, 0.1);
        EXPECT_LE(static_cast<double>(info.framesWritten), 4 + 2 * info.duration);
        EXPECT_GE(info.duration, trialSeconds());
        const auto shown = recording->numbers();
        ASSERT_EQ(shown.size(), 1u);
        EXPECT_EQ(shown[0].number, 1);
    }
}

TEST_F(RecordingOnWayland, ARegionIsCutOutToThePixel) {
    CodedWindow window(rig_.display());
    window.show(7);
    const auto recording = startRecording({"--region", "40,30,600,200", "--seconds", "1"});
    ASSERT_EQ(recording->wait(), 0) << recording->err();
    recording->expectFinished();
    EXPECT_EQ(recording->info().pixelWidth, 600);
    EXPECT_EQ(recording->info().pixelHeight, 200);
    EXPECT_EQ(recording->info().contentX, 40);
    EXPECT_EQ(recording->info().sourceKind, "region");
    const auto shown = recording->numbers(CodedWindow::kX - 40, CodedWindow::kY - 30);
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_EQ(shown[0].number, 7);
}

TEST_F(RecordingOnWayland, ItsSizeStaysWhenTheScreenChanges) {
    CodedWindow window(rig_.display());
    window.show(1);
    const auto recording = startRecording({});
    auto drawn = draw(window, 2, 0.5, 20);
    for (const char* mode : {"1024x600", "1280x720"}) {
        rig_.command(std::string("output HEADLESS-1 mode --custom ") + mode + "@60Hz");
        const auto next = draw(window, static_cast<std::uint16_t>(drawn.back().number + 1), 1, 20);
        drawn.insert(drawn.end(), next.begin(), next.end());
    }
    ASSERT_EQ(recording->stop(), 0) << recording->err();
    recording->expectFinished();
    EXPECT_EQ(recording->info().pixelWidth, 1280);
    EXPECT_EQ(recording->info().pixelHeight, 720);
    EXPECT_NE(recording->err().find("ist jetzt 1024 × 600 Pixel groß; die Aufnahme behält ihre Größe."),
              std::string::npos)
        << recording->err();
    // While the size changes, the compositor shows some pictures to nobody, too.
    expectUpToTheLast(*recording, drawn);
}

TEST(RecordingOnWaylandInScale, PixelsAndPointsAreToldApart) {
    const SwayRig rig({1920, 1080, 2});
    const CodedWindow window(rig.display());
    WaylandRecording recording(rig.environment(), {"--seconds", "0.5"});
    ASSERT_EQ(recording.wait(), 0) << recording.err();
    const model::CaptureInfo info = recording.info();
    EXPECT_EQ(info.pixelWidth, 1920);
    EXPECT_EQ(info.pixelHeight, 1080);
    EXPECT_EQ(info.displayWidth, 960);
    EXPECT_EQ(info.displayHeight, 540);
    EXPECT_EQ(info.pointPixelScale, 2);
}

class RecordingOnWaylandLoss : public testing::TestWithParam<const char*> {};

INSTANTIATE_TEST_SUITE_P(Of, RecordingOnWaylandLoss, testing::Values("compositor", "portal", "pipewire"));

TEST_P(RecordingOnWaylandLoss, LeavesAFinishedRecording) {
    SwayRig rig;
    auto window = std::make_unique<CodedWindow>(rig.display());
    window->show(1);
    WaylandRecording recording(rig.environment(), {});
    ASSERT_TRUE(recording.awaitBegin()) << recording.err();
    const auto drawn = draw(*window, 2, 1, 20);
    const double lostAt = hostClockSeconds();
    const std::string what = GetParam();
    if (what == "compositor") rig.killCompositor();
    if (what == "portal") rig.killPortal();
    if (what == "pipewire") rig.killPipeWire();
    // Completing the movie takes the rest.
    EXPECT_TRUE(await(2, [&] { return recording.err().find("Die Aufnahme wurde beendet: ") != std::string::npos; }))
        << recording.err();
    std::printf("noticed %.2f s later, ", hostClockSeconds() - lostAt);
    ASSERT_EQ(recording.wait(), 0) << recording.err();
    std::printf("finished %.2f s later: %s", hostClockSeconds() - lostAt, recording.err().c_str());
    EXPECT_NE(recording.out().find("endedEarly"), std::string::npos) << recording.out();
    recording.expectFinished();
    expectUpToTheLast(recording, drawn);
}

// Without the manager of PipeWire's sessions the stream only rests, as it does behind a locked screen.
TEST_F(RecordingOnWayland, AStreamThatRestsIsSaidAndWhatWasRecordedIsKept) {
    CodedWindow window(rig_.display());
    window.show(1);
    const auto recording = startRecording({});
    const auto drawn = draw(window, 2, 1, 20);
    rig_.killSessionManager();
    EXPECT_TRUE(await(2, [&] {
        return recording->err().find("Der Desktop schickt keine Bilder mehr") != std::string::npos;
    })) << recording->err();
    ASSERT_EQ(recording->stop(), 0) << recording->err();
    recording->expectFinished();
    expectUpToTheLast(*recording, drawn);
}

TEST(RecordingOnTurnedScreen, SizesAndScaleAreThoseThatTheUserSees) {
    SwayRig::Options options;
    options.screens = 2;
    options.granted = "HEADLESS-2";
    options.more =
        "output HEADLESS-2 mode --custom 1600x900@60Hz\noutput HEADLESS-2 scale 1.25\n"
        "output HEADLESS-2 transform 90\noutput HEADLESS-2 position 1280 0";
    const SwayRig rig(options);
    const TemporaryFolder temporary;
    const auto folder = temporary / "recording";
    ProgramRun program({LUMI_PROGRAM, "record", "--out", folder.string(), "--seconds", "1"}, rig.environment());
    EXPECT_EQ(program.wait(), 0) << program.err();
    const model::CaptureInfo info = model::CaptureInfo::load(folder);
    EXPECT_EQ(info.displayX, 1280);
    EXPECT_EQ(info.displayY, 0);
    EXPECT_EQ(info.displayWidth, 720);
    EXPECT_EQ(info.displayHeight, 1280);
    EXPECT_EQ(info.pointPixelScale, 1.25);
    EXPECT_EQ(info.pixelWidth, 900);
    EXPECT_EQ(info.pixelHeight, 1600);
    const media::Asset movie(folder / "source.mov");
    EXPECT_EQ(movie.tracks().at(0).width, 900);
    EXPECT_EQ(movie.tracks().at(0).height, 1600);
}

}  // namespace
}  // namespace lumivastor
