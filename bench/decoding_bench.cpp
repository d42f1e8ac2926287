// SPDX-License-Identifier: GPL-3.0-or-later

// What decoding costs, picture by picture: the constants of media/writing/key_distance.cpp come from here.
//
// Each scene is encoded as a recording of a screen is, with one key picture, and decoded as seeks do it: two frame
// threads. "MsEach" is the wall time of one picture behind the key picture, the least of several rounds, "CpuMsEach"
// the processor time of all threads, which says more on a busy machine; "BytesEach" and "ChangedEach" (macroblocks) are
// what the picture has, "EstimatedMs" what `KeyDistance` takes it for. The same of the key picture, decoded alone,
// begins with "Key".
//
// Arguments: width, height, scene, codec (0: H.264, 1: HEVC, which has no region pictures).

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <ctime>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "capture/live_video.h"
#include "ffmpeg/ffmpeg_handles.h"
#include "imaging/picture_pool.h"
#include "media/region/picture_changes.h"
#include "media/region/region_video_encoder.h"
#include "screen_page.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace lumivastor {
namespace {

constexpr int kFps = 60;
constexpr int kPictures = 100;
constexpr int kThreads = 2;
constexpr int kRounds = 15;

double seconds(clockid_t clock) {
    struct timespec now {};
    ::clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

enum Scene { repeats, typing, area, noisyArea, scroll, encoderScroll, noise };
constexpr const char* kScenes[] = {"repeats",          "typing", "an area that scrolls", "an area with noise", "scroll",
                                   "encoder's scroll", "noise"};

void paint(const Screen& screen, Scene scene, int frame, const imaging::YuvDestination& to) {
    screen.show(to, scene == scroll || scene == encoderScroll ? 4 * frame : 0);
    if (scene == typing) {
        for (int i = 0; i < frame; ++i) Screen::box(to, 104 + 10 * i, 404, 109 + 10 * i, 412 + i * 5 % 9, 30);
    }
    if (scene == area) screen.scrollPanel(to, 320, 160, 960, 520, 16 * (frame % 40));
    if (scene == noisyArea) Screen::bubble(to, 320, 160, 400, static_cast<unsigned>(frame));
    if (scene == noise) {
        std::mt19937 random(static_cast<unsigned>(frame));
        for (int y = 0; y < to.height; ++y) {
            for (int x = 0; x < to.width; ++x) {
                const double wave = 120 + 50 * std::sin(x * 0.021 + frame * 0.03) + 40 * std::cos(y * 0.017);
                to.luma[y * to.lumaStride + x] = static_cast<std::uint8_t>(std::lround(wave) + random() % 5);
            }
        }
    }
}

struct Stream {
    std::vector<std::uint8_t> parameterSets;
    std::vector<std::vector<std::uint8_t>> packets;
    double changed = 0;
    int codec = AV_CODEC_ID_H264;
};

imaging::YuvPicture viewOf(const imaging::YuvDestination& planes) {
    imaging::YuvPicture picture;
    picture.width = planes.width;
    picture.height = planes.height;
    picture.luma = {planes.luma, planes.lumaStride};
    picture.cb = {planes.cb, planes.chromaStride};
    picture.cr = {planes.cr, planes.chromaStride};
    return picture;
}

Stream encodeScene(media::VideoSettings settings, Scene scene) {
    const Screen screen(settings.width, settings.height, PageText::ragged);
    settings.maxKeyFrameInterval = 10 * kPictures;
    settings.maxSeekSeconds = settings.keySecondsAfterChange = 0;
    if (scene == encoderScroll) settings.make = {};
    const auto encoder = media::makePictureEncoder(settings);
    Stream stream;
    const auto parameters = encoder->parameters();
    stream.codec = parameters->codec_id;
    stream.parameterSets.assign(parameters->extradata, parameters->extradata + parameters->extradata_size);
    const media::PacketConsumer consume = [&](AVPacket& packet) {
        stream.packets.emplace_back(packet.data, packet.data + packet.size);
    };
    imaging::PicturePool pool(settings.width, settings.height, {});
    std::shared_ptr<imaging::PlanarBuffer> before;
    media::MacroblockMap map;
    for (int frame = 0; frame <= kPictures; ++frame) {
        if (scene == repeats && frame > 0) {
            encoder->repeat(frame * 1000, consume);
            continue;
        }
        auto picture = pool.makePlanar();
        paint(screen, scene, frame, picture->destination());
        if (before) {
            stream.changed +=
                media::markChanges(viewOf(picture->destination()), viewOf(before->destination()), std::nullopt, map);
        }
        before = picture;
        encoder->encode(picture, std::nullopt, frame * 1000, consume);
    }
    encoder->finish(consume);
    stream.changed /= kPictures;
    return stream;
}

struct Cost {
    double wall = 1e9;
    double processor = 1e9;
};

// Of packets from the first up to `end`.
Cost decode(const Stream& stream, std::size_t end) {
    Cost cost;
    for (int round = 0; round < kRounds; ++round) {
        const AVCodec* decoder = avcodec_find_decoder(static_cast<AVCodecID>(stream.codec));
        const ffmpeg::CodecHandle codec(avcodec_alloc_context3(decoder));
        codec->extradata =
            static_cast<std::uint8_t*>(av_mallocz(stream.parameterSets.size() + AV_INPUT_BUFFER_PADDING_SIZE));
        std::copy(stream.parameterSets.begin(), stream.parameterSets.end(), codec->extradata);
        codec->extradata_size = static_cast<int>(stream.parameterSets.size());
        codec->thread_count = kThreads;
        codec->thread_type = FF_THREAD_FRAME | FF_THREAD_SLICE;
        codec->err_recognition = AV_EF_EXPLODE;
        codec->error_concealment = FF_EC_DEBLOCK;
        avcodec_open2(codec.get(), nullptr, nullptr);
        const ffmpeg::FrameHandle frame(av_frame_alloc());
        const ffmpeg::PacketHandle packet(av_packet_alloc());
        const auto run = [&] {
            for (std::size_t i = 0; i < end; ++i) {
                av_new_packet(packet.get(), static_cast<int>(stream.packets[i].size()));
                std::copy(stream.packets[i].begin(), stream.packets[i].end(), packet->data);
                avcodec_send_packet(codec.get(), packet.get());
                av_packet_unref(packet.get());
                while (avcodec_receive_frame(codec.get(), frame.get()) == 0) {
                }
            }
            avcodec_send_packet(codec.get(), nullptr);
            while (avcodec_receive_frame(codec.get(), frame.get()) == 0) {
            }
            avcodec_flush_buffers(codec.get());
        };
        run();  // its memory is there from then on
        const double wall = seconds(CLOCK_MONOTONIC);
        const double processor = seconds(CLOCK_PROCESS_CPUTIME_ID);
        run();
        cost.wall = std::min(cost.wall, seconds(CLOCK_MONOTONIC) - wall);
        cost.processor = std::min(cost.processor, seconds(CLOCK_PROCESS_CPUTIME_ID) - processor);
    }
    return cost;
}

// What `KeyDistance` adds for one of these pictures.
double estimated(const media::VideoSettings& settings, int changed, double bytes, bool isKey) {
    media::KeyDistance keys(media::keyDistanceSettings(settings));
    keys.add(0, 0, true);
    const double before = isKey ? 0 : keys.seekSeconds();
    if (!isKey) keys.add(1000, changed, false);
    keys.wrote(static_cast<std::size_t>(bytes), isKey);
    return (keys.seekSeconds() - before) * 1000;
}

void decoding(benchmark::State& state) {
    const int width = static_cast<int>(state.range(0));
    const int height = static_cast<int>(state.range(1));
    const auto scene = static_cast<Scene>(state.range(2));
    const bool isHevc = state.range(3) != 0;
    media::VideoSettings settings =
        capture::screenVideoSettings(width, height, kFps, capture::averageBitRate(width, height, kFps));
    settings.preset = "ultrafast";
    if (isHevc) settings.codec = media::VideoCodec::hevc;
    const Stream stream = encodeScene(settings, scene);
    double bytes = 0;
    for (const auto& packet : stream.packets) bytes += static_cast<double>(packet.size());
    const auto keyBytes = static_cast<double>(stream.packets.front().size());
    bytes = (bytes - keyBytes) / kPictures;
    for (auto _ : state) {
        const Cost all = decode(stream, stream.packets.size());
        const Cost key = decode(stream, 1);
        state.counters["MsEach"] = (all.wall - key.wall) * 1000 / kPictures;
        state.counters["CpuMsEach"] = (all.processor - key.processor) * 1000 / kPictures;
        state.counters["BytesEach"] = bytes;
        state.counters["ChangedEach"] = stream.changed;
        state.counters["EstimatedMs"] = estimated(settings, static_cast<int>(stream.changed), bytes, false);
        state.counters["KeyMs"] = key.wall * 1000;
        state.counters["KeyBytes"] = keyBytes;
        state.counters["KeyEstimatedMs"] = estimated(settings, 0, keyBytes, true);
        state.SetLabel(std::string(kScenes[scene]) + (isHevc ? ", HEVC" : ""));
    }
}

BENCHMARK(decoding)
    ->ArgsProduct({{2560}, {1440}, {0, 1, 2, 3, 4, 5, 6}, {0}})
    ->ArgsProduct({{1280}, {720}, {0, 1, 2, 3, 4, 5, 6}, {0}})
    ->ArgsProduct({{1280}, {720}, {0, 1, 2, 3, 5}, {1}})
    ->Iterations(1)
    ->Unit(benchmark::kSecond);

}  // namespace
}  // namespace lumivastor

BENCHMARK_MAIN();
