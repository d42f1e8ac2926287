// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pulse/pulse_sound_system.h"

#include <gtest/gtest.h>

#include "support/heard_sound.h"
#include "support/sound_rig.h"
#include "support/temporary_folder.h"

namespace lumivastor::pulse {
namespace {

TEST(PulseSound, AServerThatSaysNothingIsGivenUp) {
    PulseRig rig;
    PulseSoundSystem sounds(rig.address());
    EXPECT_TRUE(sounds.probe());
    rig.freeze(true);
    EXPECT_EQ(startFailure(*sounds.systemAudio(48000, 2)), "Der Tonserver antwortet nicht.");
    rig.freeze(false);
}

TEST(PulseSound, WithoutAServerSaysSo) {
    const TemporaryFolder folder;
    PulseSoundSystem sounds(nobodysAddress(folder));
    EXPECT_FALSE(sounds.probe());
    EXPECT_FALSE(sounds.defaultMicrophone());
    EXPECT_EQ(startFailure(*sounds.systemAudio(48000, 2)), "Kein Tonserver gefunden.");
    EXPECT_EQ(startFailure(*sounds.microphone(48000)), "Kein Tonserver gefunden.");
}

TEST(PulseSound, TellsWhereTheHardwareOfAnInputIs) {
    const PulseRig rig;
    askSoundServer(rig.address(), {"load-module", "module-remap-source", "master=micfeed.monitor", "source_name=card",
                                   "source_properties=sysfs.path=/devices/usb2/2-1/2-1:1.3/sound/card1"});
    PulseSoundSystem sounds(rig.address());
    const auto all = sounds.microphones();
    ASSERT_EQ(all.size(), 2U);
    EXPECT_EQ(all[0].place, "");
    EXPECT_TRUE(all[0].isDefault);
    EXPECT_EQ(all[1].place, "/sys/devices/usb2/2-1/2-1:1.3/sound/card1");
}

}  // namespace
}  // namespace lumivastor::pulse
