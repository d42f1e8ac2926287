// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "media/reading/samples.h"
#include "media/writing/audio_encoder.h"
#include "platform/sound_buffer.h"

namespace lumivastor::capture {

/// Live sound as the writers take it, in so many channels: one channel is given to all, all are averaged into one, and
/// otherwise surplus ones are left out and missing ones silent. A track keeps the number of channels that it began
/// with, whatever device takes over.
media::PcmSample pcmSample(const platform::SoundBuffer& sound, int channels);

/// Whether the encoder takes such sound.
bool canAddSound(const media::AudioSettings& settings);

/// 48 kHz with 192,000 bits a second, 128,000 for one channel.
media::AudioSettings liveSoundSettings(int channels);

/// How many channels a microphone's track gets. `reported` is 0 where nothing is known.
int microphoneChannels(int reported);

}  // namespace lumivastor::capture
