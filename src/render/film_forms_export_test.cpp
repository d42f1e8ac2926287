// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>
#include <webp/demux.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "media/animation/animated_picture.h"
#include "media/reading/webm_tracks.h"
#include "render/film_form.h"
#include "render/movie_renderer.h"
#include "support/export_fixture.h"
#include "support/test_movie.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

// Whole exports of small recordings in forms besides MP4 and MOV, decoded again.

namespace lumivastor::render {
namespace {

class FilmForms : public ExportFixture {
  protected:
    RenderResult renderAs(FilmForm form, const AnimationOptions& animation = {}) {
        RenderOptions options;
        options.form = form;
        options.animation = animation;
        return render(options);
    }

    std::string messageAs(FilmForm form, const AnimationOptions& animation = {}) {
        RenderOptions options;
        options.form = form;
        options.animation = animation;
        return messageOf(options);
    }

    bool nothingIsLeft() const {
        const std::filesystem::directory_iterator all(folder_.path());
        return std::none_of(begin(all), end(all), [](const auto& each) {
            const std::string name = each.path().filename().string();
            return name.starts_with(".lumivastor-export-") || name.starts_with("studio-output");
        });
    }

    // The same small proportions as the canvas.
    static AnimationOptions small(int rate = 10) {
        AnimationOptions animation;
        animation.width = kSize.width;
        animation.rate = rate;
        return animation;
    }
};

struct ShownPicture {
    int number;
    double from, to;
};

// What a WebP file shows, decoded by its library.
std::vector<ShownPicture> shownByWebP(const std::string& bytes) {
    const WebPData data{reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()};
    WebPAnimDecoderOptions options;
    WebPAnimDecoderOptionsInit(&options);
    options.color_mode = MODE_BGRA;
    const std::unique_ptr<WebPAnimDecoder, decltype(&WebPAnimDecoderDelete)> decoder(
        WebPAnimDecoderNew(&data, &options), WebPAnimDecoderDelete);
    WebPAnimInfo info;
    EXPECT_NE(WebPAnimDecoderGetInfo(decoder.get(), &info), 0);
    const int width = static_cast<int>(info.canvas_width);
    const int height = static_cast<int>(info.canvas_height);
    imaging::BgraPremultipliedBuffer picture(width, height);
    std::vector<ShownPicture> shown;
    double from = 0;
    while (WebPAnimDecoderHasMoreFrames(decoder.get()) != 0) {
        std::uint8_t* pixels = nullptr;
        int end = 0;
        EXPECT_NE(WebPAnimDecoderGetNext(decoder.get(), &pixels, &end), 0);
        for (int y = 0; y < height; ++y) {
            std::copy_n(pixels + std::ptrdiff_t{y} * width * 4, width * 4, picture.row(y));
        }
        shown.push_back({testPictureNumber(picture), from, end / 1000.0});
        from = end / 1000.0;
    }
    return shown;
}

// What a GIF file shows, decoded by FFmpeg.
std::vector<ShownPicture> shownByGif(const std::filesystem::path& path) {
    std::vector<ShownPicture> shown;
    for (const DecodedTestPicture& each : decodeTestMovie(path)) {
        imaging::BgraPremultipliedBuffer picture(each.width, each.height);
        // FFmpeg's decoder delivers BGRA in the first plane.
        const auto& plane = each.picture.luma;
        for (int y = 0; y < each.height; ++y) {
            std::copy_n(plane.samples + plane.stride * y, each.width * 4, picture.row(y));
        }
        if (!shown.empty()) shown.back().to = each.seconds;
        shown.push_back({testPictureNumber(picture), each.seconds, 0});
    }
    return shown;
}

TEST_F(FilmForms, AWebMFilmShowsEveryPictureAtItsTime) {
    settings_.cuts = {{0.5, 1.5}};
    makeRecording(3);
    const RenderResult result = renderAs(FilmForm::webm);
    EXPECT_EQ(result.url, folder_ / "studio-output.webm");
    EXPECT_EQ(result.frames, 60);
    EXPECT_EQ(result.seconds, 2);
    const auto pictures = decodeTestMovie(result.url);
    ASSERT_EQ(pictures.size(), 60u);
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        const double seconds = static_cast<double>(i) / 30;
        EXPECT_NEAR(pictures[i].seconds, seconds, 0.0006) << "a clock of milliseconds";
        EXPECT_EQ(testPictureNumber(pictures[i].picture), expectedNumber(seconds)) << i;
    }
    const auto tracks = media::webMTracks(result.url);
    ASSERT_EQ(tracks.size(), 1u);
    EXPECT_EQ(tracks[0].codec, "vp9");
    EXPECT_TRUE(tracks[0].colourTagged);
}

TEST_F(FilmForms, AWebMFilmSoundsWhenItFlashes) {
    options_.sounds = {TestSound{}};
    info_.systemAudio = true;
    makeRecording(3);
    const RenderResult result = renderAs(FilmForm::webm);
    const auto tracks = media::webMTracks(result.url);
    ASSERT_EQ(tracks.size(), 2u);
    EXPECT_EQ(tracks[1].codec, "opus");
    EXPECT_EQ(tracks[1].sampleRate, 48000);
    EXPECT_NEAR(tracks[1].end.seconds(), 3, 0.05);

    AVFormatContext* opened = nullptr;
    ASSERT_GE(avformat_open_input(&opened, result.url.c_str(), nullptr, nullptr), 0);
    const std::unique_ptr<AVFormatContext, void (*)(AVFormatContext*)> movie(
        opened, [](AVFormatContext* each) { avformat_close_input(&each); });
    ASSERT_GE(avformat_find_stream_info(opened, nullptr), 0);
    EXPECT_EQ(av_cmp_q(opened->streams[0]->avg_frame_rate, {30, 1}), 0) << "a constant rate";
    const AVStream& stream = *opened->streams[1];
    const std::unique_ptr<AVCodecContext, void (*)(AVCodecContext*)> codec(
        avcodec_alloc_context3(avcodec_find_decoder(stream.codecpar->codec_id)),
        [](AVCodecContext* each) { avcodec_free_context(&each); });
    avcodec_parameters_to_context(codec.get(), stream.codecpar);
    codec->pkt_timebase = stream.time_base;
    ASSERT_GE(avcodec_open2(codec.get(), nullptr, nullptr), 0);
    ASSERT_EQ(codec->sample_fmt, AV_SAMPLE_FMT_FLTP);
    const std::unique_ptr<AVPacket, void (*)(AVPacket*)> packet(av_packet_alloc(),
                                                                [](AVPacket* each) { av_packet_free(&each); });
    const std::unique_ptr<AVFrame, void (*)(AVFrame*)> frame(av_frame_alloc(),
                                                             [](AVFrame* each) { av_frame_free(&each); });
    std::vector<double> beeps;
    double lastLoud = -1;
    while (av_read_frame(opened, packet.get()) >= 0) {
        if (packet->stream_index == 1 && avcodec_send_packet(codec.get(), packet.get()) >= 0) {
            while (avcodec_receive_frame(codec.get(), frame.get()) >= 0) {
                const auto* samples = reinterpret_cast<const float*>(frame->extended_data[0]);
                const double start = static_cast<double>(frame->pts) * av_q2d(stream.time_base);
                for (int i = 0; i < frame->nb_samples; ++i) {
                    if (std::abs(samples[i]) < 0.2F) continue;
                    const double at = start + i / 48000.0;
                    if (lastLoud < 0 || at - lastLoud > 0.5) beeps.push_back(at);
                    lastLoud = at;
                }
            }
        }
        av_packet_unref(packet.get());
    }
    std::vector<double> flashes;
    for (const auto& picture : decodeTestMovie(result.url)) {
        if (isTestFlash(picture.picture)) flashes.push_back(picture.seconds);
    }
    ASSERT_EQ(beeps.size(), flashes.size());
    ASSERT_GE(beeps.size(), 2u);
    for (std::size_t i = 0; i < beeps.size(); ++i) EXPECT_NEAR(beeps[i], flashes[i], 0.01);
}

TEST_F(FilmForms, AWebPPictureShowsWhatTheFilmShowsAndLoops) {
    makeRecording(2);
    const RenderResult result = renderAs(FilmForm::webp, small());
    EXPECT_EQ(result.url, folder_ / "studio-output.webp");
    const auto shown = shownByWebP(folder_.read("studio-output.webp"));
    EXPECT_EQ(static_cast<std::int64_t>(shown.size()), result.frames);
    ASSERT_EQ(shown.size(), 20u);
    for (const ShownPicture& each : shown) {
        EXPECT_EQ(each.number, expectedNumber(each.from)) << each.from;
        EXPECT_NEAR(each.to - each.from, 0.1, 0.0011);
    }
    EXPECT_EQ(shown.back().to, 2);
    const auto facts = media::readAnimatedPicture(media::AnimationForm::webp, result.url);
    EXPECT_EQ(facts.loops, 0);
    EXPECT_EQ(facts.size.width, kSize.width);
    EXPECT_EQ(facts.size.height, kSize.height);
}

TEST_F(FilmForms, AGifShowsWhatTheFilmShowsAndLoops) {
    makeRecording(2);
    const RenderResult result = renderAs(FilmForm::gif, small());
    EXPECT_EQ(result.url, folder_ / "studio-output.gif");
    const auto shown = shownByGif(result.url);
    EXPECT_EQ(static_cast<std::int64_t>(shown.size()), result.frames);
    ASSERT_EQ(shown.size(), 20u);
    for (const ShownPicture& each : shown) EXPECT_EQ(each.number, expectedNumber(each.from)) << each.from;
    const auto facts = media::readAnimatedPicture(media::AnimationForm::gif, result.url);
    EXPECT_NEAR(facts.seconds, 2, 0.011);
    const std::string bytes = folder_.read("studio-output.gif");
    const auto loop = bytes.find("NETSCAPE2.0");
    ASSERT_NE(loop, std::string::npos);
    EXPECT_EQ(bytes.substr(loop + 11, 4), std::string("\x03\x01\x00\x00", 4)) << "without end";
}

// Seven pictures in two seconds; the film asks for twenty a second.
TEST_F(FilmForms, UnchangedPicturesBecomeLongerOnes) {
    options_.pictureTicks = {0, 180, 360, 540, 720, 900, 1080};
    makeRecording(2);
    for (const FilmForm form : {FilmForm::webp, FilmForm::gif}) {
        const RenderResult result = renderAs(form, small(20));
        EXPECT_EQ(result.frames, 7);
        const auto shown =
            form == FilmForm::webp ? shownByWebP(folder_.read("studio-output.webp")) : shownByGif(result.url);
        ASSERT_EQ(shown.size(), 7u);
        for (std::size_t i = 0; i + 1 < shown.size(); ++i) {
            EXPECT_EQ(shown[i].number, static_cast<int>(i));
            EXPECT_NEAR(shown[i].to - shown[i].from, 0.3, 0.011) << i;
        }
        const auto kind = form == FilmForm::webp ? media::AnimationForm::webp : media::AnimationForm::gif;
        EXPECT_NEAR(media::readAnimatedPicture(kind, result.url).seconds, 2, 0.011);
    }
}

TEST_F(FilmForms, APartBeginsWhereItIsAskedFor) {
    makeRecording(4);
    AnimationOptions animation = small();
    animation.from = 2.5;
    animation.to = 3;
    const RenderResult result = renderAs(FilmForm::webp, animation);
    EXPECT_EQ(result.seconds, 0.5);
    const auto shown = shownByWebP(folder_.read("studio-output.webp"));
    ASSERT_EQ(shown.size(), 5u);
    for (const ShownPicture& each : shown) EXPECT_EQ(each.number, expectedNumber(2.5 + each.from));
    EXPECT_EQ(shown.back().to, 0.5);
}

TEST_F(FilmForms, AStillFilmIsOnePicture) {
    options_.pictureTicks = {0};
    makeRecording(1);
    for (const FilmForm form : {FilmForm::webp, FilmForm::gif}) {
        EXPECT_EQ(renderAs(form, small()).frames, 1);
    }
}

TEST_F(FilmForms, HostileSettingsAreSentencesAndLeaveNothing) {
    makeRecording(1);
    for (const FilmForm form : {FilmForm::webp, FilmForm::gif}) {
        AnimationOptions animation = small();
        animation.width = 1'000'000;
        EXPECT_EQ(messageAs(form, animation), "Die Breite des bewegten Bildes ist unzulässig: 1000000.");
        animation = small(0);
        EXPECT_EQ(messageAs(form, animation), "Die Bildrate des bewegten Bildes ist unzulässig: 0.");
        animation = small();
        animation.from = 5;
        EXPECT_EQ(messageAs(form, animation), "Der Ausschnitt ist leer: Der Film dauert 1.0 Sekunden.");
    }
    settings_.cuts = {{0, 1}};
    for (const FilmForm form : {FilmForm::webm, FilmForm::webp, FilmForm::gif}) {
        EXPECT_NE(messageAs(form, small()), "no error");
    }
    EXPECT_TRUE(nothingIsLeft());
}

TEST_F(FilmForms, ACancelledExportLeavesNothing) {
    makeRecording(3);
    for (const FilmForm form : {FilmForm::webm, FilmForm::webp, FilmForm::gif}) {
        std::stop_source stop;
        RenderOptions options;
        options.form = form;
        options.animation = small();
        options.stop = stop.get_token();
        options.progress = [&](double) { stop.request_stop(); };
        EXPECT_EQ(messageOf(options), "Abgebrochen.");
        EXPECT_TRUE(nothingIsLeft());
    }
}

TEST_F(FilmForms, TheRecordingsOwnFilesAreNotReplaced) {
    makeRecording(1);
    for (const FilmForm form : {FilmForm::webm, FilmForm::webp, FilmForm::gif}) {
        RenderOptions options;
        options.form = form;
        options.animation = small();
        options.file = folder_ / "source.mov";
        EXPECT_EQ(messageOf(options), "source.mov gehört zur Aufnahme und wird nicht durch das Video ersetzt.");
    }
}

}  // namespace
}  // namespace lumivastor::render
