// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pictures/device_outputs.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <future>
#include <string>

#include "base/log.h"
#include "support/text_file.h"

namespace lumivastor::platform {
namespace {

std::string logText() {
    Log::drain();
    return std::filesystem::exists(Log::url()) ? readText(Log::url()) : "";
}

// What the log says of so many pictures and sounds that come while the queue is held up.
std::string toldOf(int pictures, int sounds) {
    const std::size_t before = logText().size();
    SerialQueue queue("test.device");
    std::promise<void> release;
    queue.async([gate = release.get_future().share()] { gate.wait(); });
    {
        DeviceOutputs outputs("Karte");
        outputs.setVideo(queue, true, [](const DeviceSample&) {});
        outputs.setAudio(queue, [](const SoundBuffer&) {});
        for (int i = 0; i < pictures; ++i) outputs.deliver(DeviceSample{});
        for (int i = 0; i < sounds; ++i) outputs.deliver(SoundBuffer{});
    }
    release.set_value();
    return logText().substr(before);
}

TEST(DeviceOutputs, TheLogTellsWhatWasDropped) {
    const std::string told =
        toldOf(DeviceOutputs::kWaitingPicturesWhenDiscarding + 3, DeviceOutputs::kWaitingSounds + 1);
    EXPECT_NE(told.find("[Device] Karte: 3 Bilder verworfen, weil zu viele warteten\n"), std::string::npos) << told;
    EXPECT_NE(told.find("[Device] Karte: 1 Tonstücke verworfen, weil zu viele warteten\n"), std::string::npos) << told;
}

TEST(DeviceOutputs, TheLogIsSilentWhenNothingWas) {
    EXPECT_EQ(toldOf(DeviceOutputs::kWaitingPicturesWhenDiscarding, DeviceOutputs::kWaitingSounds), "");
}

TEST(DeviceOutputs, WhatHasNoOutputIsNotLost) {
    const std::size_t before = logText().size();
    {
        DeviceOutputs outputs("Karte");
        outputs.deliver(DeviceSample{});
        outputs.deliver(SoundBuffer{});
    }
    EXPECT_EQ(logText().substr(before), "");
}

}  // namespace
}  // namespace lumivastor::platform
