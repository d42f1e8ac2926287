// SPDX-License-Identifier: GPL-3.0-or-later

// The program itself, where there is no desktop that it could record as a whole.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "model/capture_info.h"
#include "support/desktop_rig/rig_window.h"
#include "support/desktop_rig/xwayland_rig.h"
#include "support/outcome.h"
#include "support/program_run.h"
#include "support/temporary_folder.h"

namespace lumivastor {
namespace {

// The program in a Wayland session, where it has only the server for X11 programs.
class RecordingOnXwayland : public testing::Test {
  protected:
    Outcome run(std::vector<std::string> words) const {
        words.insert(words.begin(), LUMI_PROGRAM);
        auto environment = rig_.environment();
        // Nothing of this machine's is to answer.
        environment["HOME"] = temporary_.path().string();
        environment["PULSE_SERVER"] = "unix:" + temporary_.path().string() + "/none";
        environment["PIPEWIRE_REMOTE"] = temporary_.path().string() + "/none";
        ProgramRun program(words, environment);
        const int status = program.wait();
        return {status, program.out(), program.err()};
    }

    const XwaylandRig rig_;
    const TemporaryFolder temporary_;
};

TEST_F(RecordingOnXwayland, ScreensAreRefusedInsteadOfRecordedBlack) {
    for (const std::vector<std::string>& source :
         std::vector<std::vector<std::string>>{{}, {"--display", "0"}, {"--region", "10,10,200,100"}}) {
        const std::filesystem::path folder = temporary_ / "recording";
        std::vector<std::string> words = {"record", "--seconds", "1", "--out", folder.string()};
        words.insert(words.end(), source.begin(), source.end());
        const Outcome outcome = run(words);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_NE(outcome.err.find("Melde dich ab und wähle beim Anmelden eine Xorg-Sitzung."), std::string::npos)
            << outcome.err;
        EXPECT_FALSE(std::filesystem::exists(folder));
    }
}

TEST_F(RecordingOnXwayland, AWindowIsRecorded) {
    RigWindow window(rig_.displayName(), {.x = 50, .y = 40, .width = 320, .height = 240});
    const Outcome outcome = run({"record", "--seconds", "1", "--out", (temporary_ / "recording").string(), "--window",
                                 std::to_string(window.id())});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(model::CaptureInfo::load(temporary_ / "recording").pixelWidth, 320);
}

TEST_F(RecordingOnXwayland, IsExaminedAndListedAsWhatItIs) {
    const Outcome doctor = run({"doctor"});
    EXPECT_EQ(doctor.status, 1);
    EXPECT_NE(doctor.out.find("✗ Unter Wayland lassen sich nur Fenster von X11-Programmen aufnehmen"),
              std::string::npos)
        << doctor.out;
    const Outcome json = run({"sources", "--json"});
    EXPECT_EQ(json.status, 0) << json.err;
    EXPECT_NE(json.out.find("\"displays\" : []"), std::string::npos) << json.out;
    EXPECT_NE(run({"sources"}).out.find("Unter Wayland"), std::string::npos);
}

TEST(WithoutADesktop, RecordingAndListingFailWithASentence) {
    for (const char* verb : {"record", "sources", "doctor"}) {
        ProgramRun run({LUMI_PROGRAM, verb}, {{"DISPLAY", ":64999"}, {"PULSE_SERVER", "unix:/nirgends"}});
        EXPECT_EQ(run.wait(), 1) << verb;
        EXPECT_FALSE(run.err().empty()) << verb;
    }
}

}  // namespace
}  // namespace lumivastor
