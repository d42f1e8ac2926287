// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/sound_samples.h"

#include <algorithm>
#include <numeric>

#include "capture/recording_progress.h"

namespace lumivastor::capture {

media::PcmSample pcmSample(const platform::SoundBuffer& sound, int channels) {
    media::PcmSample sample{hostTime(sound.hostSeconds), {sound.sampleRate, channels}, {}};
    if (sound.channels == channels) {
        sample.values = sound.values;
        return sample;
    }
    const auto from = static_cast<std::size_t>(sound.channels);
    const auto to = static_cast<std::size_t>(channels);
    sample.values.resize(sound.frames() * to);
    for (std::size_t frame = 0; frame < sound.frames(); ++frame) {
        const float* in = sound.values.data() + frame * from;
        float* out = sample.values.data() + frame * to;
        if (from == 1) {
            std::fill_n(out, to, *in);
        } else if (to == 1) {
            *out = std::accumulate(in, in + from, 0.0F) / static_cast<float>(from);
        } else {
            std::copy_n(in, std::min(from, to), out);
        }
    }
    return sample;
}

bool canAddSound(const media::AudioSettings& settings) {
    // The encoder knows layouts of up to six channels, and of eight.
    return settings.sampleRate > 0 && settings.bitRate > 0 && settings.channels >= 1 &&
           (settings.channels <= 6 || settings.channels == 8);
}

media::AudioSettings liveSoundSettings(int channels) {
    return {48000, channels, channels > 1 ? 192000 : 128000};
}

int microphoneChannels(int reported) {
    if (reported < 1) return 1;
    // Interfaces with more channels than the encoder accepts have unrelated inputs; the first two are kept.
    return canAddSound(liveSoundSettings(reported)) ? reported : 2;
}

}  // namespace lumivastor::capture
