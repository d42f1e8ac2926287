// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pipewire/pipewire_sound_system.h"

#include <gtest/gtest.h>

#include <iostream>

#include "platform/pulse/pulse_sound_system.h"
#include "support/heard_sound.h"
#include "support/pipewire_beeper.h"
#include "support/sound_rig.h"
#include "support/temporary_folder.h"

namespace lumivastor::pipewire {
namespace {

TEST(PipeWireSound, IsHeardInPlaceOverPulseAudiosProtocolToo) {
    const PipeWireRig rig;
    pulse::PulseSoundSystem sounds(rig.pulseAddress());
    const auto server = sounds.probe();
    ASSERT_TRUE(server);
    EXPECT_TRUE(server->isPipeWire);
    for (const bool isMicrophone : {false, true}) {
        const PipeWireBeeper beeper(rig.remote(), isMicrophone ? "micfeed" : "sysout");
        // Without priority the server loses a cycle now and then on a busy machine, here unseen: what follows then lies
        // 11 ms off until a new line is found. A wrong clock is wrong in each try.
        constexpr int kTries = 3;
        bool inPlace = false;
        for (int tries = 0; tries < kTries && !inPlace; ++tries) {
            HeardSound heard;
            const auto source = isMicrophone ? sounds.microphone(48000) : sounds.systemAudio(48000, 2);
            source->start(heard.handler(), heard.endHandler());
            EXPECT_TRUE(heard.awaitBeeps(10));
            source->stop();
            EXPECT_FALSE(heard.ranBackward());
            const auto errors = beepErrors(heard.beeps(), beeper.beeps());
            std::cout << (isMicrophone ? "microphone" : "monitor") << ": " << describeErrors(errors) << "\n";
            inPlace = areInPlace(errors);
        }
        EXPECT_TRUE(inPlace) << (isMicrophone ? "microphone" : "monitor");
    }
}

TEST(PipeWireSound, WithoutAServerSaysSo) {
    const TemporaryFolder folder;
    PipeWireSoundSystem sounds((folder / "nobody").string());
    EXPECT_FALSE(sounds.hasSound());
    EXPECT_FALSE(sounds.defaultMicrophone());
    EXPECT_EQ(startFailure(*sounds.systemAudio(48000, 2)), "Kein PipeWire-Server gefunden.");
    EXPECT_EQ(startFailure(*sounds.microphone(48000)), "Kein PipeWire-Server gefunden.");
}

}  // namespace
}  // namespace lumivastor::pipewire
