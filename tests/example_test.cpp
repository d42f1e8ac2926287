// SPDX-License-Identifier: GPL-3.0-or-later

// The examples, and what it takes to run them: that documents and edit model stand on their own is seen here.

#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

#include "model/project_settings.h"
#include "support/one_click_recording.h"
#include "support/program_run.h"
#include "support/temporary_folder.h"

namespace lumivastor {
namespace {

class Example : public testing::Test {
  protected:
    Example() {
        oneClickCapture().save(folder_.path());
        oneClickTrack().save(folder_.path());
    }

    TemporaryFolder folder_;
};

TEST_F(Example, PrintsTheZoomsOfARecording) {
    const Outcome proposed = runProgram({LUMI_PRINT_ZOOMS, folder_.path().string()});
    EXPECT_EQ(proposed.status, 0) << proposed.err;
    EXPECT_EQ(proposed.out,
              "1 zooms, proposed from clicks\n"
              "4.45 s to 7.00 s, 1.6 times\n"
              "  at 5.15 s on 480, 270\n");
    model::ProjectSettings settings;
    settings.zooms.emplace();
    settings.save(folder_.path());
    EXPECT_EQ(runProgram({LUMI_PRINT_ZOOMS, folder_.path().string()}).out, "0 zooms, made by hand\n");
}

TEST_F(Example, SaysWhatIsWrongWithAFolder) {
    const Outcome missing = runProgram({LUMI_PRINT_ZOOMS, (folder_ / "missing").string()});
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.err, "„capture.json“ konnte nicht gelesen werden: Datei oder Ordner nicht gefunden.\n");
    EXPECT_EQ(runProgram({LUMI_PRINT_ZOOMS}).status, 2);
}

// Whether a program loads a library of this family, itself or through another.
bool loads(const std::string& program, const std::string& family) {
    const Outcome outcome = runProgram({"ldd", program});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    return std::regex_search(outcome.out, std::regex("\\slib" + family + "[^ ]*\\.so"));
}

TEST(EditModel, NeedsNeitherMoviesNorWindowsNorADesktop) {
    EXPECT_TRUE(loads(LUMI_PRINT_ZOOMS, "simdjson")) << "it reads the documents";
    for (const char* family :
         {"av(codec|format|util)", "sw(scale|resample)", "Qt6", "xcb", "X11", "pulse", "pipewire"}) {
        EXPECT_FALSE(loads(LUMI_PRINT_ZOOMS, family)) << family;
        // The application does, so that the question can be answered with yes.
        EXPECT_TRUE(loads(LUMI_PROGRAM, family)) << family;
    }
}

}  // namespace
}  // namespace lumivastor
