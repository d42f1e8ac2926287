// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/backends/device_watch.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <thread>

#include "support/await.h"
#include "support/sound_rig.h"
#include "support/temporary_folder.h"

namespace lumivastor::platform {
namespace {

/// Counts reports.
class DeviceWatchTest : public testing::Test {
  protected:
    std::function<void()> counting() {
        return [this] { ++reports_; };
    }
    SoundServerAddresses nowhere() const { return {nobodysAddress(folder_), (folder_ / "nobody").string()}; }
    // Until reports come whatever the test does meanwhile.
    bool awaitReport(int before) {
        return await([this, before] { return reports_ > before; });
    }

    TemporaryFolder folder_;
    std::atomic<int> reports_ = 0;
};

TEST_F(DeviceWatchTest, ACameraThatIsPluggedInIsReported) {
    const auto watch = watchDevices(counting(), nowhere(), folder_.path().string());
    // The watch may begin after the first of them.
    const auto plugOneIn = [this, i = 0]() mutable {
        folder_.write("video" + std::to_string(i++), "");
        std::this_thread::sleep_for(std::chrono::milliseconds(400));
    };
    EXPECT_TRUE(await(
        kPatience, [this] { return reports_ > 0; }, plugOneIn));
}

TEST_F(DeviceWatchTest, MicrophonesOfPulseAudioAreReported) {
    const PulseRig rig;
    const auto watch =
        watchDevices(counting(), {rig.address(), (folder_ / "nobody").string()}, folder_.path().string());
    ASSERT_TRUE(awaitReport(0)) << "the server itself";
    const int before = reports_;
    PluggedMicrophone plugged(rig.address());
    plugged.plugIn();
    ASSERT_TRUE(awaitReport(before));
    plugged.plugOut();
    EXPECT_TRUE(awaitReport(before + 1));
}

TEST_F(DeviceWatchTest, MicrophonesOfPipeWireAreReported) {
    const PipeWireRig rig;
    const auto watch = watchDevices(counting(), {nobodysAddress(folder_), rig.remote()}, folder_.path().string());
    ASSERT_TRUE(awaitReport(0)) << "the server itself";
    const int before = reports_;
    PluggedMicrophone plugged(rig.pulseAddress());
    plugged.plugIn();
    EXPECT_TRUE(awaitReport(before));
}

}  // namespace
}  // namespace lumivastor::platform
