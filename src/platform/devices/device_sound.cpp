// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/devices/device_sound.h"

#include <array>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/frame.h>
#include <libswresample/swresample.h>
}

namespace lumivastor::devices {

double DeviceSound::delay() const {
    if (!resampler_) return 0;
    constexpr std::int64_t kMicrosecond = 1000000;
    return static_cast<double>(swr_get_delay(resampler_.get(), kMicrosecond)) / kMicrosecond;
}

std::vector<float> DeviceSound::convert(const AVFrame& frame) {
    const int channels = frame.ch_layout.nb_channels;
    if (!resampler_ || frame.format != format_ || frame.sample_rate != sampleRate_ || channels != channels_) {
        AVChannelLayout stereo{};
        AVChannelLayout own{};
        av_channel_layout_default(&stereo, kChannels);
        if (frame.ch_layout.order == AV_CHANNEL_ORDER_UNSPEC) {
            av_channel_layout_default(&own, channels);
        } else {
            av_channel_layout_copy(&own, &frame.ch_layout);
        }
        SwrContext* made = nullptr;
        const int result =
            swr_alloc_set_opts2(&made, &stereo, AV_SAMPLE_FMT_FLT, kSampleRate, &own,
                                static_cast<AVSampleFormat>(frame.format), frame.sample_rate, 0, nullptr);
        av_channel_layout_uninit(&own);
        resampler_.reset(made);
        if (result < 0) return {};
        // Mono keeps its level in both channels.
        constexpr std::array<double, 2> kSameInBoth{1.0, 1.0};
        if (channels == 1 && swr_set_matrix(resampler_.get(), kSameInBoth.data(), 1) < 0) return {};
        if (swr_init(resampler_.get()) < 0) {
            resampler_.reset();
            return {};
        }
        format_ = frame.format;
        sampleRate_ = frame.sample_rate;
        channels_ = channels;
    }
    const int maximum = swr_get_out_samples(resampler_.get(), frame.nb_samples);
    if (maximum <= 0) return {};
    std::vector<float> values(static_cast<std::size_t>(maximum) * kChannels);
    std::array<std::uint8_t*, 1> target{reinterpret_cast<std::uint8_t*>(values.data())};
    const int frames = swr_convert(resampler_.get(), target.data(), maximum,
                                   const_cast<const std::uint8_t**>(frame.extended_data), frame.nb_samples);
    values.resize(static_cast<std::size_t>(frames > 0 ? frames : 0) * kChannels);
    return values;
}

}  // namespace lumivastor::devices
