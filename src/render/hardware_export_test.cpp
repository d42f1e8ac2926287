// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "base/recorder_error.h"
#include "media/reading/asset.h"
#include "media/writing/h264_bitstream.h"
#include "render/movie_renderer.h"
#include "support/export_fixture.h"
#include "support/test_movie.h"

// Exports with hardware that works, and with hardware that does not go on working. Software replaces it.

namespace lumivastor::render {
namespace {

class StandInHardware final : public media::PictureEncoder {
  public:
    enum class Fault { none, fails, losesPictures };

    StandInHardware(media::VideoSettings settings, Fault fault, int goodPictures)
        : fault_(fault), left_(goodPictures), encoder_(software(std::move(settings))) {}

    ffmpeg::CodecParametersHandle parameters() const override { return encoder_.parameters(); }
    void encode(const std::shared_ptr<imaging::PlanarBuffer>& picture, const imaging::KnownDamage& damage,
                std::int64_t ticks, const media::PacketConsumer& consume) override {
        if (--left_ < 0 && fault_ == Fault::fails) throw RecorderError("Die Karte antwortet nicht.");
        if (left_ < 0 && fault_ == Fault::losesPictures) return;
        encoder_.encode(picture, damage, ticks, consume);
    }
    void repeat(std::int64_t ticks, const media::PacketConsumer& consume) override { encoder_.repeat(ticks, consume); }
    void finish(const media::PacketConsumer& consume) override { encoder_.finish(consume); }

  private:
    static media::VideoSettings software(media::VideoSettings settings) {
        settings.make = nullptr;
        settings.encoder = "libx264";
        return settings;
    }

    Fault fault_;
    int left_;
    media::VideoEncoder encoder_;
};

class HardwareExport : public ExportFixture {
  protected:
    static constexpr const char* kName = "h264_standin";

    HardwareExport() {
        options_.sounds = {{}};
        info_.systemAudio = true;
    }

    // Options with hardware that has this fault after so many pictures.
    RenderOptions withHardware(StandInHardware::Fault fault, int goodPictures = 40) {
        RenderOptions options;
        options.chooseEncoder = [this, fault, goodPictures](const media::VideoSettings& settings) {
            asked_ = settings;
            return media::EncoderChoice{{media::VideoCodec::h264, kName, ""},
                                        "zum Test",
                                        [this, fault, goodPictures](const media::VideoSettings& given) {
                                            ++opened_;
                                            return std::make_unique<StandInHardware>(given, fault, goodPictures);
                                        }};
        };
        options.progress = [this](double progress) { progress_.push_back(progress); };
        return options;
    }

    void expectWholeExport(std::size_t frames) {
        expectCutTimeline(frames);
        const media::Asset movie(folder_ / "studio-output.mp4");
        ASSERT_EQ(movie.tracks(media::TrackKind::audio).size(), 1u);
        EXPECT_NEAR(movie.tracks(media::TrackKind::audio)[0].end.seconds(), static_cast<double>(frames) / 30, 0.05);
        EXPECT_TRUE(std::is_sorted(progress_.begin(), progress_.end())) << "never falling";
        EXPECT_EQ(std::count(progress_.begin(), progress_.end(), 1.0), 1);
    }

    media::VideoSettings asked_;
    int opened_ = 0;
    std::vector<double> progress_;
};

TEST_F(HardwareExport, HardwareThatWorksIsUsed) {
    makeRecording(3);
    EXPECT_EQ(render(withHardware(StandInHardware::Fault::none)).frames, 90);
    EXPECT_EQ(opened_, 1);
    expectWholeExport(90);
    EXPECT_EQ(count(logText(), "fiel aus"), 0);
    EXPECT_EQ(asked_.width, kSize.width);
    EXPECT_EQ(asked_.maxKeyFrameInterval, 60);
    EXPECT_TRUE(asked_.highProfile);
}

TEST_F(HardwareExport, HardwareThatFailsMidwayIsFollowedBySoftware) {
    makeRecording(3);
    EXPECT_EQ(render(withHardware(StandInHardware::Fault::fails)).frames, 90);
    EXPECT_EQ(opened_, 1) << "not tried again";
    expectWholeExport(90);
    EXPECT_EQ(
        count(logText(),
              "h264_standin fiel aus, der Export beginnt in Software von vorn - Grund: Die Karte antwortet nicht."),
        1)
        << logText();
}

TEST_F(HardwareExport, HardwareThatLosesPicturesIsFollowedBySoftware) {
    makeRecording(3);
    EXPECT_EQ(render(withHardware(StandInHardware::Fault::losesPictures)).frames, 90);
    expectWholeExport(90);
    EXPECT_EQ(count(logText(), "h264_standin fiel aus, der Export beginnt"), 1) << logText();
}

TEST_F(HardwareExport, HardwareThatDoesNotOpenIsFollowedBySoftware) {
    makeRecording(1);
    RenderOptions options = withHardware(StandInHardware::Fault::none);
    options.chooseEncoder = [](const media::VideoSettings&) {
        return media::EncoderChoice{{media::VideoCodec::h264, "h264_nowhere", ""}, "zum Test"};
    };
    EXPECT_EQ(render(options).frames, 30);
    expectWholeExport(30);
}

TEST_F(HardwareExport, WhatElseFailsIsNotBlamedOnIt) {
    makeRecording(3);
    EXPECT_EQ(messageOf(withHardware(StandInHardware::Fault::none),
                        [](const imaging::Picture& source, const std::optional<imaging::Picture>& webcam, double t) {
                            if (t > 1) throw RecorderError("Ein Fehler.");
                            return sourceFilling(kSize)(source, webcam, t);
                        }),
              "Ein Fehler.");
    EXPECT_EQ(opened_, 1);
    EXPECT_EQ(count(logText(), "fiel aus"), 0);
}

TEST_F(HardwareExport, OneThatIsCancelledDoesNotBeginAgain) {
    makeRecording(3);
    std::stop_source source;
    RenderOptions options = withHardware(StandInHardware::Fault::fails, 20);
    options.stop = source.get_token();
    int frames = 0;
    EXPECT_EQ(messageOf(options,
                        [&](const imaging::Picture& picture, const std::optional<imaging::Picture>& webcam, double t) {
                            if (++frames == 20) source.request_stop();
                            return sourceFilling(kSize)(picture, webcam, t);
                        }),
              "Abgebrochen.");
    EXPECT_EQ(opened_, 1);
}

TEST_F(HardwareExport, SoftwareMakesAStreamOfProfileHigh) {
    makeRecording(1);
    render();
    const std::string bytes = folder_.read("studio-output.mp4");
    // The parameters of the decoder: their version, then the profile.
    const std::size_t at = bytes.find("avcC");
    ASSERT_NE(at, std::string::npos);
    EXPECT_EQ(static_cast<unsigned char>(bytes[at + 5]), media::kH264High);
}

}  // namespace
}  // namespace lumivastor::render
