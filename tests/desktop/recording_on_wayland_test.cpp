// SPDX-License-Identifier: GPL-3.0-or-later

// The program itself on a Wayland desktop of the tests' own.

#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "media/reading/asset.h"
#include "media/reading/asset_reader.h"
#include "model/capture_info.h"
#include "support/await.h"
#include "support/program_run.h"
#include "support/temporary_folder.h"
#include "support/wayland_rig/coded_window.h"
#include "support/wayland_rig/sway_rig.h"

namespace lumivastor {
namespace {

std::string withoutSpaces(std::string text) {
    std::erase_if(text, [](char letter) { return letter == ' ' || letter == '\n'; });
    return text;
}

class RecordingOnWayland : public testing::Test {
  protected:
    Outcome run(const std::vector<std::string>& words) {
        std::vector<std::string> command{LUMI_PROGRAM};
        command.insert(command.end(), words.begin(), words.end());
        ProgramRun program(command, rig_.environment());
        const int status = program.wait();
        return {status, program.out(), program.err()};
    }

    std::unique_ptr<ProgramRun> startRecording(const std::vector<std::string>& options) {
        std::vector<std::string> command{LUMI_PROGRAM, "record", "--json", "--out", folder_.string()};
        command.insert(command.end(), options.begin(), options.end());
        auto program = std::make_unique<ProgramRun>(command, rig_.environment());
        const bool began = await([&] {
            return !program->isRunning() ||
                   (std::filesystem::exists(folder_ / "journal") &&
                    temporary_.read("recording/journal").find(" session ") != std::string::npos);
        });
        EXPECT_TRUE(began && program->isRunning()) << program->err();
        return program;
    }

    // The numbers that the movie shows, each once, in order.
    std::vector<int> recordedNumbers() const {
        const auto asset = std::make_shared<const media::Asset>(folder_ / "source.mov");
        media::AssetReader reader(asset);
        auto& output = reader.addVideoOutput(asset->tracks(media::TrackKind::video).at(0).id,
                                             media::PictureFormat::bgraPremultiplied);
        EXPECT_TRUE(reader.startReading());
        std::vector<int> numbers;
        while (const auto sample = output.copyNextSample()) {
            const auto number = codeAt(sample->bgra());
            if (number && (numbers.empty() || numbers.back() != *number)) numbers.push_back(*number);
        }
        return numbers;
    }

    SwayRig rig_;
    TemporaryFolder temporary_;
    const std::filesystem::path folder_ = temporary_ / "recording";
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
    const auto program = startRecording({});
    for (std::uint16_t number = 2; number <= 30; ++number) {
        window.show(number);
        await(0.05, [] { return false; });
    }
    const Outcome stop = run({"stop"});
    EXPECT_EQ(stop.status, 0) << stop.err;
    EXPECT_EQ(program->wait(), 0) << program->err();
    EXPECT_NE(program->err().find("Dieser Desktop verrät nicht, wo der Mauszeiger ist; er ist fest im Bild."),
              std::string::npos);
    const auto numbers = recordedNumbers();
    ASSERT_FALSE(numbers.empty());
    EXPECT_EQ(numbers.back(), 30);
    for (std::size_t i = 1; i < numbers.size(); ++i) EXPECT_EQ(numbers[i], numbers[i - 1] + 1);
    const model::CaptureInfo info = model::CaptureInfo::load(folder_);
    EXPECT_EQ(info.pixelWidth, 1280);
    EXPECT_EQ(info.pixelHeight, 720);

    const Outcome again = run({"stop"});
    EXPECT_EQ(again.status, 1);
    EXPECT_NE(again.err.find("Es läuft keine Aufnahme."), std::string::npos);
}

TEST_F(RecordingOnWayland, OtherNumbersAndWindowsAreRefused) {
    const Outcome second = run({"record", "--display", "1", "--out", folder_.string()});
    EXPECT_EQ(second.status, 1);
    EXPECT_NE(second.err.find("wählt auf diesem Desktop sein eigener Dialog"), std::string::npos) << second.err;
    const Outcome window = run({"record", "--window", "0", "--out", folder_.string()});
    EXPECT_EQ(window.status, 1);
    EXPECT_NE(window.err.find("Dieser Desktop gibt nur ganze Bildschirme frei, keine einzelnen Fenster."),
              std::string::npos)
        << window.err;
    EXPECT_FALSE(std::filesystem::exists(folder_));
}

TEST_F(RecordingOnWayland, ALostCompositorLeavesAFinishedRecording) {
    auto window = std::make_unique<CodedWindow>(rig_.display());
    window->show(1);
    const auto program = startRecording({});
    for (std::uint16_t number = 2; number <= 10; ++number) {
        window->show(number);
        await(0.05, [] { return false; });
    }
    rig_.killCompositor();
    EXPECT_EQ(program->wait(), 0) << program->err();
    EXPECT_NE(program->out().find("endedEarly"), std::string::npos) << program->out();
    const auto numbers = recordedNumbers();
    ASSERT_FALSE(numbers.empty());
    EXPECT_EQ(numbers.back(), 10);
}

}  // namespace
}  // namespace lumivastor
