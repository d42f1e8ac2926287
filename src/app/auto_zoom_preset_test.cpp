// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/auto_zoom_preset.h"

#include <gtest/gtest.h>

#include "base/recorder_error.h"
#include "model/project_settings.h"
#include "support/temporary_folder.h"

namespace lumivastor::app {
namespace {

TEST(PresetZoomsOff, WritesADocumentThatSwitchesZoomsOff) {
    const TemporaryFolder folder;
    EXPECT_TRUE(presetZoomsOff(folder.path()));
    EXPECT_EQ(folder.read("project.json"), "{\"zoomScale\": 1.0}");
    EXPECT_EQ(model::ProjectSettings::load(folder.path()).zoomScale, 1.0);
}

TEST(PresetZoomsOff, LeavesADocumentAlone) {
    const TemporaryFolder folder;
    folder.write("project.json", "{\"zoomScale\": 2.5}");
    EXPECT_FALSE(presetZoomsOff(folder.path()));
    EXPECT_EQ(folder.read("project.json"), "{\"zoomScale\": 2.5}");
}

TEST(PresetZoomsOff, SaysWhenTheFolderRefuses) {
    const TemporaryFolder folder;
    EXPECT_THROW(presetZoomsOff(folder / "fehlt"), RecorderError);
}

}  // namespace
}  // namespace lumivastor::app
