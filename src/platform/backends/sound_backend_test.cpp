// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/backends/sound_backend.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "base/recorder_error.h"
#include "support/beeper.h"
#include "support/heard_sound.h"
#include "support/pipewire_beeper.h"
#include "support/sound_rig.h"

namespace lumivastor::platform {
namespace {

TEST(SoundBackend, ChoosesTheServerThatProgramsPlayTo) {
    EXPECT_EQ(chooseSoundServer({}), SoundServerKind::none);
    EXPECT_EQ(chooseSoundServer({.pulse = true}), SoundServerKind::pulse);
    EXPECT_EQ(chooseSoundServer({.pulse = true, .pipeWireHasSound = true}), SoundServerKind::pulse);
    EXPECT_EQ(chooseSoundServer({.pulse = true, .pulseIsPipeWire = true, .pipeWireHasSound = true}),
              SoundServerKind::pipeWire);
    EXPECT_EQ(chooseSoundServer({.pulse = true, .pulseIsPipeWire = true}), SoundServerKind::pulse);
    EXPECT_EQ(chooseSoundServer({.pipeWireHasSound = true}), SoundServerKind::pipeWire);
}

TEST(SoundBackend, WithoutAServerStartingSaysSo) {
    const TemporaryFolder folder;
    const auto sounds = openSoundSystem({nobodysAddress(folder), (folder / "nobody").string()});
    EXPECT_FALSE(sounds->defaultMicrophone());
    const auto handler = [](const SoundBuffer&) {};
    for (const bool isMicrophone : {false, true}) {
        const auto source = isMicrophone ? sounds->microphone(48000) : sounds->systemAudio(48000, 2);
        try {
            source->start(handler, nullptr);
            ADD_FAILURE() << "it started";
        } catch (const RecorderError& error) {
            EXPECT_EQ(error.message(), "Kein Tonserver gefunden.");
        }
        source->stop();
    }
}

TEST(SoundBackend, ListensToPulseAudio) {
    const TemporaryFolder folder;
    const PulseRig rig;
    const auto sounds = openSoundSystem({rig.address(), (folder / "nobody").string()});
    ASSERT_TRUE(sounds->defaultMicrophone());
    EXPECT_EQ(sounds->defaultMicrophone()->id, "testmic");
    const Beeper beeper(rig.address(), "micfeed");
    HeardSound heard;
    const auto source = sounds->microphone(48000);
    source->start(heard.handler(), heard.endHandler());
    EXPECT_TRUE(heard.awaitBeeps(2));
    source->stop();
}

TEST(SoundBackend, ListensToPipeWire) {
    const PipeWireRig rig;
    const auto sounds = openSoundSystem({rig.pulseAddress(), rig.remote()});
    const PipeWireBeeper beeper(rig.remote(), "sysout");
    HeardSound heard;
    const auto source = sounds->systemAudio(48000, 2);
    source->start(heard.handler(), heard.endHandler());
    EXPECT_TRUE(heard.awaitBeeps(4));
    source->stop();
    // So close only PipeWire's own interface is; a cycle that a busy machine loses moves single beeps.
    std::vector<double> errors = beepErrors(heard.beeps(), beeper.beeps());
    ASSERT_FALSE(errors.empty());
    std::sort(errors.begin(), errors.end(), [](double a, double b) { return std::abs(a) < std::abs(b); });
    EXPECT_LT(std::abs(errors[errors.size() / 2]), 0.001);
}

}  // namespace
}  // namespace lumivastor::platform
