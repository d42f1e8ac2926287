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

}  // namespace
}  // namespace lumivastor::pulse
