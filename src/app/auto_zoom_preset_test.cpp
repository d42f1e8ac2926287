// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/auto_zoom_preset.h"

#include <gtest/gtest.h>

#include <optional>

#include "base/recorder_error.h"
#include "model/look.h"
#include "model/project_settings.h"
#include "support/temporary_folder.h"

namespace lumivastor::app {
namespace {

TEST(PresetZoomsOff, WritesADocumentThatSwitchesZoomsOff) {
    const TemporaryFolder folder;
    EXPECT_TRUE(presetZoomsOff(folder.path(), std::nullopt, false));
    EXPECT_EQ(folder.read("project.json"), "{\"zoomScale\": 1.0}");
    EXPECT_EQ(model::ProjectSettings::load(folder.path()).zoomScale, 1.0);
}

TEST(PresetZoomsOff, LeavesADocumentAlone) {
    const TemporaryFolder folder;
    folder.write("project.json", "{\"zoomScale\": 2.5}");
    EXPECT_FALSE(presetZoomsOff(folder.path(), model::ProjectSettings(), false));
    EXPECT_EQ(folder.read("project.json"), "{\"zoomScale\": 2.5}");
}

TEST(PresetZoomsOff, TheRecordingHasTheLookOfNewOnes) {
    model::ProjectSettings look;
    look.zoomScale = 2;
    look.cursorScale = 2.5;
    look.padding = 0.1;
    for (const bool hasWebcam : {false, true}) {
        const TemporaryFolder folder;
        EXPECT_TRUE(presetZoomsOff(folder.path(), look, hasWebcam));
        model::ProjectSettings expected = model::withLook({}, look, hasWebcam);
        expected.zoomScale = 1;
        EXPECT_EQ(model::ProjectSettings::load(folder.path()), expected);
        EXPECT_EQ(expected.cursorScale, 2.5);
    }
}

TEST(PresetZoomsOff, SaysWhenTheFolderRefuses) {
    const TemporaryFolder folder;
    EXPECT_THROW(presetZoomsOff(folder / "fehlt", std::nullopt, false), RecorderError);
}

}  // namespace
}  // namespace lumivastor::app
