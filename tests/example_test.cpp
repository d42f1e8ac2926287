// SPDX-License-Identifier: GPL-3.0-or-later

// The examples.

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace lumivastor
