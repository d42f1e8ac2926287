// SPDX-License-Identifier: GPL-3.0-or-later

// What region pictures save, and what they look like.
//
// Scenes of a tutorial at 60 pictures a second, on a page of real text: a pointer that moves, typing, a ring around a
// click, a panel that scrolls, a camera's bubble with noise, and all of them in turn. Each scene is encoded three
// times in one run, processor milliseconds a picture without painting: by libx264 at the average rate without region
// pictures, which repeats pictures that do not change ("Today"), by libx264 at a low rate factor ("Alone"), and with
// region pictures at the quality of films ("Woven"). "Ratio" is woven to today. Luma PSNR of the decoded pictures
// against the painted ones: "Db" of whole pictures in the mean, "ChangedDb" of what changed in each, "WorstDb" that of
// the worst picture's changes.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <ctime>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "imaging/picture_pool.h"
#include "media/region/picture_changes.h"
#include "media/region/region_video_encoder.h"
#include "render/export_plan.h"
#include "screen_page.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace lumivastor {
namespace {

constexpr int kFps = 60;

double processorSeconds() {
    struct timespec now {};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

enum class Scene { pointer, typing, ring, bubble, panel, tutorial };
constexpr const char* kScenes[] = {"pointer", "typing", "ring", "bubble", "panel of 10 %", "tutorial"};
constexpr int kTutorialSeconds = 10;
int framesOf(Scene scene) {
    return scene == Scene::tutorial ? kTutorialSeconds * kFps : 4 * kFps;
}

// What is to be seen; two equal states are equal pictures.
struct State {
    Point pointer{400, 300};
    int typed = 0;
    bool caret = true;
    int ring = -1;
    int bubble = -1;
    int panel = 0;
    int scrolled = 0;

    bool operator==(const State& other) const {
        return pointer.x == other.pointer.x && pointer.y == other.pointer.y && typed == other.typed &&
               caret == other.caret && ring == other.ring && bubble == other.bubble && panel == other.panel &&
               scrolled == other.scrolled;
    }
};

State stateAt(Scene scene, int frame, int width, int height) {
    State state;
    const auto along = [&](double turn) {
        return Point{std::round(16 * (0.5 + 0.35 * std::sin(turn)) * width) / 16,
                     std::round(16 * (0.5 + 0.3 * std::cos(1.3 * turn)) * height) / 16};
    };
    switch (scene) {
        case Scene::pointer:
            state.pointer = along(frame * 0.02);
            break;
        case Scene::typing:
            state.typed = frame / 6;
            state.caret = frame / 30 % 2 == 0;
            break;
        case Scene::ring:
            state.ring = frame % 60 < 36 ? frame % 60 : -1;
            break;
        case Scene::bubble:
            state.bubble = frame / 2;
            state.pointer = along(frame * 0.02);
            break;
        case Scene::panel:
            state.panel = frame % 60 * 16;
            break;
        case Scene::tutorial: {
            // Moves for two seconds, clicks, types for three, scrolls for less than one, rests.
            state.pointer = along(std::min(frame, 120) * 0.02 + std::clamp(frame - 420, 0, 60) * 0.02);
            if (frame >= 120 && frame < 156) state.ring = frame - 120;
            state.typed = std::clamp(frame - 180, 0, 180) / 6;
            state.caret = frame / 30 % 2 == 0;
            state.scrolled = std::clamp(frame - 380, 0, 40) * 16;
            break;
        }
    }
    return state;
}

void paint(const Screen& screen, const State& state, const imaging::YuvDestination& to) {
    screen.show(to, state.scrolled);
    const int width = to.width;
    const int height = to.height;
    if (state.panel > 0) {
        screen.scrollPanel(to, width / 4 & ~1, height / 4 & ~1, width * 13 / 20 & ~1, height / 2 & ~1, state.panel);
    }
    const int line = (height * 2 / 3) & ~15;
    Screen::box(to, 100, line, width / 2, line + 24, 235);
    for (int i = 0; i < state.typed; ++i) {
        for (int bar = 0; bar < 3; ++bar) {
            const int left = 104 + 10 * i + 3 * bar;
            Screen::box(to, left, line + 4 + i * 7 % 5, left + 2, line + 12 + (i * 5 + bar * 3) % 9, 30);
        }
    }
    if (state.caret) Screen::box(to, 104 + 10 * state.typed, line + 2, 106 + 10 * state.typed, line + 22, 16);
    if (state.bubble >= 0) {
        Screen::bubble(to, width - 400 > 0 ? width - 400 : 0, height - 400 > 0 ? height - 400 : 0, 360,
                       static_cast<unsigned>(state.bubble));
    }
    if (state.ring >= 0) Screen::ring(to, state.pointer, 10.0 + 1.5 * state.ring, 1 - state.ring / 36.0);
    Screen::pointer(to, state.pointer);
}

struct Encoded {
    double milliseconds = 0;  // a picture
    std::vector<std::vector<std::uint8_t>> packets;
    std::vector<std::uint8_t> parameterSets;

    double megabits(int frames) const {
        double bytes = 0;
        for (const auto& packet : packets) bytes += static_cast<double>(packet.size());
        return bytes * 8 / 1e6 * kFps / frames;
    }
};

Encoded encode(media::PictureEncoder& encoder, const Screen& screen, Scene scene, int width, int height) {
    Encoded encoded;
    const auto parameters = encoder.parameters();
    encoded.parameterSets.assign(parameters->extradata, parameters->extradata + parameters->extradata_size);
    const media::PacketConsumer consume = [&encoded](AVPacket& packet) {
        encoded.packets.emplace_back(packet.data, packet.data + packet.size);
    };
    imaging::PicturePool pool(width, height, {});
    double seconds = 0;
    for (int frame = 0; frame < framesOf(scene); ++frame) {
        const State state = stateAt(scene, frame, width, height);
        const bool isRepeat = frame > 0 && state == stateAt(scene, frame - 1, width, height);
        std::shared_ptr<imaging::PlanarBuffer> picture;
        if (!isRepeat) {
            // libx264's threads work on while this paints; their time must not be lost.
            picture = pool.makePlanar();
            struct timespec before {
            }, after{};
            ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &before);
            paint(screen, state, picture->destination());
            ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &after);
            seconds -= static_cast<double>(after.tv_sec - before.tv_sec) +
                       static_cast<double>(after.tv_nsec - before.tv_nsec) / 1e9;
        }
        if (isRepeat) {
            encoder.repeat(frame * 10, consume);
        } else {
            encoder.encode(picture, std::nullopt, frame * 10, consume);
        }
    }
    encoder.finish(consume);
    encoded.milliseconds = seconds;
    return encoded;
}

Encoded timed(media::PictureEncoder& encoder, const Screen& screen, Scene scene, int width, int height) {
    const double before = processorSeconds();
    Encoded encoded = encode(encoder, screen, scene, width, height);
    encoded.milliseconds = (processorSeconds() - before + encoded.milliseconds) * 1000 / framesOf(scene);
    return encoded;
}

struct Sharpness {
    double whole = 0;
    double changed = 0;
    double worst = 99;
};

double decibels(double squares, double samples) {
    return squares <= 0 || samples <= 0 ? 99 : 10 * std::log10(255.0 * 255.0 * samples / squares);
}

imaging::YuvPicture viewOf(const imaging::YuvDestination& planes) {
    imaging::YuvPicture picture;
    picture.width = planes.width;
    picture.height = planes.height;
    picture.luma = {planes.luma, planes.lumaStride};
    picture.cb = {planes.cb, planes.chromaStride};
    picture.cr = {planes.cr, planes.chromaStride};
    return picture;
}

Sharpness sharpnessOf(const Encoded& encoded, const Screen& screen, Scene scene, int width, int height) {
    const ffmpeg::CodecHandle codec(avcodec_alloc_context3(avcodec_find_decoder(AV_CODEC_ID_H264)));
    codec->extradata =
        static_cast<std::uint8_t*>(av_mallocz(encoded.parameterSets.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    std::copy(encoded.parameterSets.begin(), encoded.parameterSets.end(), codec->extradata);
    codec->extradata_size = static_cast<int>(encoded.parameterSets.size());
    codec->thread_count = 2;
    avcodec_open2(codec.get(), nullptr, nullptr);
    const ffmpeg::FrameHandle frame(av_frame_alloc());
    const ffmpeg::PacketHandle packet(av_packet_alloc());
    imaging::PlanarBuffer now(width, height, {});
    imaging::PlanarBuffer before(width, height, {});
    Sharpness sharpness;
    int shown = 0;
    double allSquares = 0;
    double changedSquares = 0;
    double changedSamples = 0;
    media::MacroblockMap changed;
    const auto take = [&] {
        while (avcodec_receive_frame(codec.get(), frame.get()) == 0) {
            paint(screen, stateAt(scene, shown, width, height), now.destination());
            if (shown > 0) paint(screen, stateAt(scene, shown - 1, width, height), before.destination());
            const auto& planes = now.destination();
            const int count = media::markChanges(viewOf(planes), viewOf(before.destination()), std::nullopt, changed);
            double squares = 0;
            double samples = 0;
            for (int y = 0; y < height; ++y) {
                const std::uint8_t* const marks = changed.data() + y / 16 * ((width + 15) / 16);
                for (int x = 0; x < width; ++x) {
                    const int off = frame->data[0][y * frame->linesize[0] + x] - planes.luma[y * planes.lumaStride + x];
                    allSquares += off * off;
                    if (marks[x / 16] == 0) continue;
                    squares += off * off;
                    ++samples;
                }
            }
            if (shown > 0 && count > 0) {
                changedSquares += squares;
                changedSamples += samples;
                sharpness.worst = std::min(sharpness.worst, decibels(squares, samples));
            }
            ++shown;
        }
    };
    for (const auto& bytes : encoded.packets) {
        av_new_packet(packet.get(), static_cast<int>(bytes.size()));
        std::copy(bytes.begin(), bytes.end(), packet->data);
        avcodec_send_packet(codec.get(), packet.get());
        av_packet_unref(packet.get());
        take();
    }
    avcodec_send_packet(codec.get(), nullptr);
    take();
    sharpness.whole = decibels(allSquares, static_cast<double>(width) * height * shown);
    sharpness.changed = decibels(changedSquares, changedSamples);
    return sharpness;
}

// Arguments: canvas height, scene.
void weaving(benchmark::State& state) {
    const PixelSize canvas = render::exportCanvas(state.range(0));
    const auto scene = static_cast<Scene>(state.range(1));
    const Screen screen(canvas.width, canvas.height);
    media::VideoSettings settings;
    settings.width = canvas.width;
    settings.height = canvas.height;
    settings.averageBitRate = render::exportBitRate(canvas, kFps);
    settings.maxKeyFrameInterval = 2 * kFps;
    media::RegionVideoSettings region;
    region.policy.averageBytes = static_cast<double>(settings.averageBitRate) / 8 / kFps / 2;
    if (scene == Scene::bubble) {
        region.planner.camera = PixelRect{canvas.width - 400, canvas.height - 400, 360, 360};
    }
    for (auto _ : state) {
        const auto run = [&](auto& encoder) { return timed(encoder, screen, scene, canvas.width, canvas.height); };
        Encoded today, alone, woven;
        media::RegionVideoEncoder::Counts counts;
        {
            media::VideoEncoder encoder(settings);
            today = run(encoder);
        }
        media::VideoSettings fine = settings;
        fine.constantQuality = 8;
        {
            media::VideoEncoder encoder(fine);
            alone = run(encoder);
        }
        {
            media::RegionVideoEncoder encoder(fine, region);
            woven = run(encoder);
            counts = encoder.counts();
        }
        state.SetIterationTime(woven.milliseconds / 1000);
        const int frames = framesOf(scene);
        state.counters["TodayMs"] = today.milliseconds;
        state.counters["AloneMs"] = alone.milliseconds;
        state.counters["WovenMs"] = woven.milliseconds;
        state.counters["Ratio"] = woven.milliseconds / today.milliseconds;
        state.counters["TodayMbit"] = today.megabits(frames);
        state.counters["AloneMbit"] = alone.megabits(frames);
        state.counters["WovenMbit"] = woven.megabits(frames);
        for (const auto& [name, encoded] : {std::pair{"Today", &today}, {"Alone", &alone}, {"Woven", &woven}}) {
            const Sharpness sharpness = sharpnessOf(*encoded, screen, scene, canvas.width, canvas.height);
            state.counters[std::string(name) + "Db"] = sharpness.whole;
            state.counters[std::string(name) + "ChangedDb"] = sharpness.changed;
            state.counters[std::string(name) + "WorstDb"] = sharpness.worst;
        }
        state.counters["Regions"] = counts.regionPictures;
        state.counters["RegionBytes"] =
            counts.regionPictures == 0 ? 0 : static_cast<double>(counts.regionBytes) / counts.regionPictures;
        state.counters["TooLarge"] = counts.tooLarge;
        state.SetLabel(kScenes[state.range(1)]);
    }
}

BENCHMARK(weaving)
    ->ArgsProduct({{1440}, {0, 1, 2, 3, 4, 5}})
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

// A page of text, of which every macroblock that is asked for is coded from nothing, or against itself with a little
// noise. Arguments: macroblocks a row of the page from the left, whether against itself. "UsEach" and "BytesEach" are
// of one macroblock.
void coding(benchmark::State& state) {
    constexpr int kWidth = 2560;
    constexpr int kHeight = 1440;
    const Screen screen(kWidth, kHeight);
    imaging::PlanarBuffer first(kWidth, kHeight, {});
    imaging::PlanarBuffer second(kWidth, kHeight, {});
    screen.show(first.destination(), 0);
    screen.show(second.destination(), 0);
    std::mt19937 random(1);
    for (int y = 0; y < kHeight; ++y) {
        std::uint8_t* const row = second.destination().luma + y * second.destination().lumaStride;
        for (int x = 0; x < kWidth; ++x)
            row[x] = static_cast<std::uint8_t>(std::clamp<int>(row[x] + static_cast<int>(random() % 5) - 2, 0, 255));
    }
    media::RegionCoder coder(kWidth, kHeight, 0);
    media::RegionPlan plan;
    for (int mb = 0; mb < coder.widthInMbs() * coder.heightInMbs(); ++mb) {
        const bool isCoded = mb % coder.widthInMbs() < state.range(0);
        plan.kinds.push_back(isCoded ? media::MacroblockKind::coded : media::MacroblockKind::skipped);
    }
    media::RegionCoderSettings settings;
    settings.mayPredictFromPicture = state.range(1) != 0;
    int number = 0;
    double bytes = 0;
    int coded = 0;
    for (auto _ : state) {
        const auto region =
            coder.code(viewOf(++number % 2 == 0 ? first.destination() : second.destination()), plan, settings);
        bytes += static_cast<double>(region->bits.size());
        coded += region->counts.coded();
    }
    state.counters["BytesEach"] = bytes / std::max(1, coded);
    state.counters["UsEach"] =
        benchmark::Counter(coded / 1e6, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

// Finding out what changed in a picture that did not. Argument: whether a damage of 64 x 64 is known.
void comparing(benchmark::State& state) {
    constexpr int kWidth = 2560;
    constexpr int kHeight = 1440;
    const Screen screen(kWidth, kHeight);
    imaging::PlanarBuffer first(kWidth, kHeight, {});
    imaging::PlanarBuffer second(kWidth, kHeight, {});
    screen.show(first.destination(), 0);
    screen.show(second.destination(), 0);
    imaging::DamageArea damage;
    damage.add({1000, 700, 64, 64});
    media::MacroblockMap changed;
    for (auto _ : state) {
        const imaging::KnownDamage known = state.range(0) != 0 ? imaging::KnownDamage(damage) : std::nullopt;
        benchmark::DoNotOptimize(
            media::markChanges(viewOf(first.destination()), viewOf(second.destination()), known, changed));
    }
}

BENCHMARK(coding)->Args({160, 0})->Args({160, 1})->Args({0, 0})->Unit(benchmark::kMillisecond);
BENCHMARK(comparing)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace lumivastor

BENCHMARK_MAIN();
