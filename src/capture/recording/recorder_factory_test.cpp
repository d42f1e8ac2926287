// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/recorder_factory.h"

#include <gtest/gtest.h>

#include "capture/recording/recorder.h"
#include "support/recorder_rig.h"

namespace lumivastor::capture {
namespace {

class RecorderFactory : public RecorderRig {};

TEST_F(RecorderFactory, TheRequestDecidesWhichRecorderIsMade) {
    CaptureOptions options;
    options.source = DisplaySource{mainDisplay()};
    const auto desktop = makeRecorder(services_, DesktopRecording{desktop_, options}, folder_);
    EXPECT_NE(dynamic_cast<const Recorder*>(desktop.get()), nullptr);
    EXPECT_EQ(desktop->folder(), folder_);
    EXPECT_TRUE(desktop->snapshot().pointerEvents.has_value());

    const auto device = makeRecorder(services_, DeviceRecording{{"dev", "Telefon", true, 0}, {}}, folder_);
    const auto* recorder = dynamic_cast<const DeviceRecorder*>(device.get());
    ASSERT_NE(recorder, nullptr);
    EXPECT_EQ(recorder->deviceName(), "Telefon");
    EXPECT_EQ(device->folder(), folder_);
    EXPECT_FALSE(device->snapshot().pointerEvents.has_value());
    EXPECT_FALSE(std::filesystem::exists(folder_)) << "nothing is started";
}

}  // namespace
}  // namespace lumivastor::capture
