// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "media/reading/samples.h"
#include "media/writing/audio_encoder.h"
#include "platform/sound_buffer.h"

namespace lumivastor::capture {

/// Converts live sound for the writers, to this number of channels: one channel is copied to all, several are averaged
/// into one; otherwise surplus channels are left out and missing ones are silent. A track keeps its initial number of
/// channels, whatever device takes over.
media::PcmSample pcmSample(const platform::SoundBuffer& sound, int channels);

/// Whether the encoder accepts such sound.
bool canAddSound(const media::AudioSettings& settings);

/// 48 kHz with 192,000 bits a second, 128,000 for one channel.
media::AudioSettings liveSoundSettings(int channels);

/// The number of channels of a microphone's track. `reported` is 0 when unknown.
int microphoneChannels(int reported);

}  // namespace lumivastor::capture
