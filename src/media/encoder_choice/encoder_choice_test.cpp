// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/encoder_choice/encoder_choice.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "media/encoder_choice/encoder_trial_cache.h"
#include "support/temporary_folder.h"

namespace lumivastor::media {
namespace {

const EncodingJob kJob{1920, 1080, 60, 10000000};
const std::vector<EncoderCandidate> kHardware{{VideoCodec::hevc, "hevc_first", ""},
                                              {VideoCodec::hevc, "hevc_second", ""}};

// Trials whose results are given, and which were asked for.
class Trials {
  public:
    explicit Trials(std::map<std::string, double> rates) : rates_(std::move(rates)) {}

    EncoderTrials function() {
        return [this](const EncoderCandidate& candidate, const EncodingJob& job) {
            EXPECT_EQ(job.width, kJob.width);
            asked.push_back(candidate.encoder);
            const auto found = rates_.find(candidate.encoder);
            return found == rates_.end() ? EncoderTrial{} : EncoderTrial{true, found->second};
        };
    }

    std::vector<std::string> asked;

  private:
    std::map<std::string, double> rates_;
};

TEST(RecordingEncoder, TheFirstHardwareThatWorksAndKeepsUpIsTaken) {
    Trials trials({{"hevc_first", 61}, {"hevc_second", 500}, {"libx265", 900}});
    const EncoderChoice choice = decideRecordingEncoder(kJob, kHardware, trials.function());
    EXPECT_EQ(choice.candidate, kHardware[0]);
    EXPECT_EQ(choice.reason, "HEVC mit der Hardware: hevc_first schafft 61 Bilder je Sekunde.");
    EXPECT_EQ(trials.asked, (std::vector<std::string>{"hevc_first"}));
}

TEST(RecordingEncoder, HardwareThatIsListedButDoesNotWorkIsPassedOver) {
    Trials trials({{"hevc_second", 60}, {"libx265", 900}});
    EXPECT_EQ(decideRecordingEncoder(kJob, kHardware, trials.function()).candidate, kHardware[1]);
    EXPECT_EQ(trials.asked, (std::vector<std::string>{"hevc_first", "hevc_second"}));
}

TEST(RecordingEncoder, SoftwareHevcNeedsHeadroom) {
    for (const double rate : {120.0, 121.0, 1000.0}) {
        Trials trials({{"libx265", rate}});
        const EncoderChoice choice = decideRecordingEncoder(kJob, kHardware, trials.function());
        EXPECT_EQ(choice.candidate, (EncoderCandidate{VideoCodec::hevc, "libx265", "ultrafast"}));
    }
    for (const double rate : {0.5, 59.0, 61.0, 119.9}) {
        Trials trials({{"libx265", rate}});
        const EncoderChoice choice = decideRecordingEncoder(kJob, kHardware, trials.function());
        EXPECT_EQ(choice.candidate, (EncoderCandidate{VideoCodec::h264, "libx264", "ultrafast"}));
    }
    Trials trials({{"libx265", 24.4}});
    EXPECT_EQ(decideRecordingEncoder(kJob, {}, trials.function()).reason,
              "H.264 in Software: kein Hardware-Encoder für HEVC arbeitet; libx265 schafft 24 Bilder je Sekunde, "
              "gebraucht werden mit Reserve 120.");
}

TEST(RecordingEncoder, HardwareThatDoesNotKeepUpIsNoBetterThanNone) {
    Trials trials({{"hevc_first", 59}, {"libx265", 30}});
    const EncoderChoice choice = decideRecordingEncoder(kJob, kHardware, trials.function());
    EXPECT_EQ(choice.candidate.encoder, "libx264");
    EXPECT_EQ(choice.reason,
              "H.264 in Software: hevc_first schafft nur 59 Bilder je Sekunde; libx265 schafft 30 Bilder je Sekunde, "
              "gebraucht werden mit Reserve 120.");
}

TEST(RecordingEncoder, WithoutAnyHevcItIsH264) {
    Trials trials({});
    const EncoderChoice choice = decideRecordingEncoder(kJob, kHardware, trials.function());
    EXPECT_EQ(choice.candidate, (EncoderCandidate{VideoCodec::h264, "libx264", "ultrafast"}));
    EXPECT_EQ(choice.reason, "H.264 in Software: kein Hardware-Encoder für HEVC arbeitet; libx265 arbeitet nicht.");
}

TEST(ExportEncoder, HardwareFirstAndSoftwareOtherwise) {
    std::vector<std::string> tried;
    const auto working = [&tried](const std::string& name) {
        return [&tried, name](const EncoderCandidate& candidate) {
            tried.push_back(candidate.encoder);
            return candidate.encoder == name;
        };
    };
    EXPECT_EQ(decideExportEncoder(kHardware, working("hevc_second")).candidate, kHardware[1]);
    EXPECT_EQ(tried, (std::vector<std::string>{"hevc_first", "hevc_second"}));
    const EncoderChoice choice = decideExportEncoder(kHardware, working("another"));
    EXPECT_EQ(choice.candidate, (EncoderCandidate{VideoCodec::h264, "libx264", "superfast"}));
    EXPECT_EQ(choice.reason, "H.264 in Software: kein Hardware-Encoder für H.264 arbeitet.");
}

// Stand-ins for hardware, made of software. What goes wrong with real cards goes wrong with them.
class StandIn final : public PictureEncoder {
  public:
    enum class Fault { none, baseline, swappedColours, movedColours, noColours };

    StandIn(VideoSettings settings, Fault fault)
        : fault_(fault), pool_(settings.width, settings.height, {}), encoder_(software(std::move(settings), fault)) {}

    ffmpeg::CodecParametersHandle parameters() const override { return encoder_.parameters(); }
    void encode(const std::shared_ptr<imaging::PlanarBuffer>& picture, const imaging::KnownDamage& damage,
                std::int64_t ticks, const PacketConsumer& consume) override {
        encoder_.encode(spoilt(picture), damage, ticks, consume);
    }
    void repeat(std::int64_t ticks, const PacketConsumer& consume) override { encoder_.repeat(ticks, consume); }
    void finish(const PacketConsumer& consume) override { encoder_.finish(consume); }

  private:
    static VideoSettings software(VideoSettings settings, Fault fault) {
        settings.make = nullptr;
        settings.encoder = "libx264";
        settings.preset = fault == Fault::baseline ? "ultrafast" : "superfast";
        return settings;
    }

    std::shared_ptr<imaging::PlanarBuffer> spoilt(const std::shared_ptr<imaging::PlanarBuffer>& picture) {
        const imaging::YuvDestination& from = picture->destination();
        auto copy = pool_.makePlanar();
        const imaging::YuvDestination& to = copy->destination();
        std::copy_n(from.luma, from.lumaStride * from.height, to.luma);
        const std::ptrdiff_t bytes = from.chromaStride * ((from.height + 1) / 2);
        const bool isSwapped = fault_ == Fault::swappedColours;
        // As if planes began a few rows too far up.
        const std::ptrdiff_t skipped = fault_ == Fault::movedColours ? 16 * from.chromaStride : 0;
        std::copy_n(from.cb + skipped, bytes - skipped, isSwapped ? to.cr : to.cb);
        std::copy_n(from.cr + skipped, bytes - skipped, isSwapped ? to.cb : to.cr);
        if (fault_ == Fault::noColours) {
            std::fill_n(to.cb, bytes, std::uint8_t{128});
            std::fill_n(to.cr, bytes, std::uint8_t{128});
        }
        return copy;
    }

    Fault fault_;
    imaging::PicturePool pool_;
    VideoEncoder encoder_;
};

VideoSettings exportSettings() {
    VideoSettings settings;
    settings.width = 640;
    settings.height = 362;
    settings.averageBitRate = 640 * 362 * 3;
    settings.maxKeyFrameInterval = 60;
    settings.frameRate = 30;
    settings.highProfile = true;
    return settings;
}

// Settings with which every encoder is a stand-in of the same fault.
VideoSettings standingIn(StandIn::Fault fault) {
    VideoSettings settings = exportSettings();
    settings.make = [fault](const VideoSettings& given) { return std::make_unique<StandIn>(given, fault); };
    return settings;
}

TEST(ExportTrials, HardwareWhoseStreamIsNotHighIsPassedOver) {
    EXPECT_TRUE(tryEncoder(standingIn(StandIn::Fault::none)).works);
    EXPECT_FALSE(tryEncoder(standingIn(StandIn::Fault::baseline)).works);
    const std::vector<EncoderCandidate> hardware{{VideoCodec::h264, "h264_first", ""}};
    EXPECT_EQ(chooseExportEncoder(standingIn(StandIn::Fault::none), hardware).candidate, hardware[0]);
    EXPECT_EQ(chooseExportEncoder(standingIn(StandIn::Fault::baseline), hardware).candidate.encoder, "libx264");
    // If High is not requested, it is as good as any.
    VideoSettings anyProfile = standingIn(StandIn::Fault::baseline);
    anyProfile.highProfile = false;
    EXPECT_TRUE(tryEncoder(anyProfile).works);
}

TEST(ExportTrials, WrongColoursAreSeen) {
    EXPECT_FALSE(tryEncoder(standingIn(StandIn::Fault::swappedColours)).works);
    EXPECT_FALSE(tryEncoder(standingIn(StandIn::Fault::movedColours)).works);
    EXPECT_FALSE(tryEncoder(standingIn(StandIn::Fault::noColours)).works);
}

TEST(ExportTrials, RunWithTheExportsOwnSettings) {
    VideoSettings settings = exportSettings();
    std::vector<VideoSettings> opened;
    settings.make = [&opened](const VideoSettings& given) {
        opened.push_back(given);
        return std::make_unique<StandIn>(given, StandIn::Fault::none);
    };
    chooseExportEncoder(settings, {{VideoCodec::h264, "h264_first", ""}});
    ASSERT_EQ(opened.size(), 1u);
    EXPECT_EQ(opened[0].encoder, "h264_first");
    EXPECT_EQ(opened[0].width, settings.width);
    EXPECT_EQ(opened[0].height, settings.height);
    EXPECT_EQ(opened[0].averageBitRate, settings.averageBitRate);
    EXPECT_EQ(opened[0].maxKeyFrameInterval, settings.maxKeyFrameInterval);
    EXPECT_EQ(opened[0].frameRate, settings.frameRate);
    EXPECT_EQ(opened[0].timescale, settings.timescale);
    EXPECT_EQ(opened[0].constantQuality, settings.constantQuality);
    EXPECT_FALSE(opened[0].lowLatency) << "an export may look ahead";
    EXPECT_TRUE(opened[0].highProfile);
}

TEST(ExportTrials, OddSizesAndLowRatesAreNoFault) {
    for (const auto& [width, height, bitsPerPixel] : {std::tuple(641, 361, 3), {1280, 720, 1}}) {
        VideoSettings settings = standingIn(StandIn::Fault::none);
        settings.width = width;
        settings.height = height;
        settings.averageBitRate = std::int64_t{width} * height * bitsPerPixel;
        EXPECT_TRUE(tryEncoder(settings).works) << width;
    }
}

TEST(EncoderChoice, GoesIntoTheSettings) {
    VideoSettings settings;
    EncoderChoice{{VideoCodec::hevc, "libx265", "ultrafast"}, ""}.applyTo(settings);
    EXPECT_EQ(settings.codec, VideoCodec::hevc);
    EXPECT_EQ(settings.encoder, "libx265");
    EXPECT_EQ(settings.preset, "ultrafast");
    EncoderChoice{{VideoCodec::h264, "h264_vaapi", ""}, ""}.applyTo(settings);
    EXPECT_EQ(settings.codec, VideoCodec::h264);
    EXPECT_EQ(settings.encoder, "h264_vaapi");
}

TEST(EncoderTrialCache, KeepsWhatWasMeasuredForThisMachineAndSize) {
    const TemporaryFolder folder;
    const EncoderCandidate candidate{VideoCodec::hevc, "libx265", "ultrafast"};
    EncodingJob other = kJob;
    other.height = 1440;
    {
        EncoderTrialCache cache(folder / "encoders", "here");
        EXPECT_FALSE(cache.find(candidate, kJob));
        cache.add(candidate, kJob, {true, 24.5});
        cache.add(candidate, other, {false, 0});
        cache.add(candidate, kJob, {true, 25.25});
        EXPECT_EQ(cache.find(candidate, kJob)->picturesPerSecond, 25.25);
    }
    const EncoderTrialCache again(folder / "encoders", "here");
    ASSERT_TRUE(again.find(candidate, kJob));
    EXPECT_TRUE(again.find(candidate, kJob)->works);
    EXPECT_EQ(again.find(candidate, kJob)->picturesPerSecond, 25.25);
    ASSERT_TRUE(again.find(candidate, other));
    EXPECT_FALSE(again.find(candidate, other)->works);
    EXPECT_FALSE(again.find({VideoCodec::h264, "libx264", "ultrafast"}, kJob));
    EXPECT_FALSE(EncoderTrialCache(folder / "encoders", "elsewhere").find(candidate, kJob));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
}

TEST(EncoderTrialCache, SizesAlikeNeedNoTrialOfTheirOwn) {
    EncoderTrialCache cache({}, "here");
    const EncoderCandidate candidate{VideoCodec::hevc, "libx265", "ultrafast"};
    const auto rate = [&](int width, int height) {
        const auto found = cache.find(candidate, {width, height, 60, 0});
        return found ? found->picturesPerSecond : -1;
    };
    cache.add(candidate, {1920, 1080, 60, 0}, {true, 40});
    EXPECT_EQ(rate(1920, 540), 80);
    EXPECT_EQ(rate(960, 540), 160) << "four times smaller";
    EXPECT_EQ(rate(3840, 2160), 10);
    EXPECT_EQ(rate(958, 540), -1);
    EXPECT_EQ(rate(3842, 2160), -1);
    EXPECT_FALSE(cache.find({VideoCodec::hevc, "libx265", "medium"}, {1920, 540, 60, 0}));
    // The nearest size counts, and its own before any other.
    cache.add(candidate, {960, 540, 60, 0}, {true, 100});
    EXPECT_EQ(rate(960, 540), 100);
    EXPECT_EQ(rate(480, 540), 200);
    EXPECT_EQ(rate(1920, 1000), 40 * 1.08);
    // That one size does not work says nothing of others.
    cache.add(candidate, {480, 270, 60, 0}, {false, 0});
    EXPECT_FALSE(cache.find(candidate, {480, 270, 60, 0})->works);
    EXPECT_EQ(rate(480, 272), 100.0 * 960 * 540 / (480 * 272));
    EXPECT_EQ(rate(240, 136), -1);
}

TEST(EncoderTrialCache, NonsenseCountsAsNothingAndNoFileDoesNoHarm) {
    const TemporaryFolder folder;
    const EncoderCandidate candidate{VideoCodec::hevc, "libx265", "ultrafast"};
    folder.write("encoders", "\n\t\nnan\tlibx265 ultrafast 1920x1080 here\n-3\tx\n1e999\ty\n12 \tz\nno tab\n" +
                                 std::string(1000, '\t'));
    EncoderTrialCache cache(folder / "encoders", "here");
    EXPECT_FALSE(cache.find(candidate, kJob));
    cache.add(candidate, kJob, {true, 3});
    EXPECT_TRUE(EncoderTrialCache(folder / "encoders", "here").find(candidate, kJob));
    for (const auto& path : {std::filesystem::path(), folder / "none" / "encoders", folder.path()}) {
        EncoderTrialCache nowhere(path, "here");
        nowhere.add(candidate, kJob, {true, 3});
        EXPECT_TRUE(nowhere.find(candidate, kJob));
    }
}

// How fast is this machine's business; that what works is seen to work, and what does not is not, is ours.
TEST(EncoderTrials, SoftwareWorksAndWhatIsNotThereDoesNot) {
    const EncodingJob job{640, 362, 30, 1500000};
    for (const EncoderCandidate& candidate : {EncoderCandidate{VideoCodec::h264, "libx264", "ultrafast"},
                                              EncoderCandidate{VideoCodec::h264, "libx264", "superfast"},
                                              EncoderCandidate{VideoCodec::hevc, "libx265", "ultrafast"}}) {
        const EncoderTrial trial = tryEncoder(candidate, job);
        EXPECT_TRUE(trial.works) << candidate.encoder;
        EXPECT_GT(trial.picturesPerSecond, 0);
    }
    EXPECT_FALSE(tryEncoder({VideoCodec::hevc, "no_such_encoder", ""}, job).works);
}

TEST(EncoderTrials, WhatIsChosenHereWorks) {
    const TemporaryFolder folder;
    const EncodingJob job{640, 360, 30, 1500000};
    const EncoderChoice recording = chooseRecordingEncoder(job, folder / "encoders");
    EXPECT_TRUE(tryEncoder(recording.candidate, job).works) << recording.reason;
    EXPECT_FALSE(recording.reason.empty());
    VideoSettings settings = exportSettings();
    const EncoderChoice exporting = chooseExportEncoder(settings);
    exporting.applyTo(settings);
    EXPECT_TRUE(tryEncoder(settings).works) << exporting.reason;
    EXPECT_EQ(exporting.candidate.codec, VideoCodec::h264);
    // Listed hardware that does not work here is not what was chosen, because what was chosen works.
    for (const VideoCodec codec : {VideoCodec::hevc, VideoCodec::h264}) {
        for (const EncoderCandidate& candidate : listedHardwareEncoders(codec)) {
            VideoSettings tried = exportSettings();
            candidate.applyTo(tried);
            EXPECT_TRUE(tryEncoder(tried).works || candidate != exporting.candidate);
            EXPECT_TRUE(tryEncoder(candidate, job).works || candidate != recording.candidate);
        }
    }
}

}  // namespace
}  // namespace lumivastor::media
