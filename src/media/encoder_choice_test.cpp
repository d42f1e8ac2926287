#include "media/encoder_choice.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "media/encoder_memory.h"
#include "support/temporary_folder.h"

namespace lumivastor {
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
    Trials some({{"hevc_second", 3}});
    EXPECT_EQ(decideExportEncoder(kJob, kHardware, some.function()).candidate, kHardware[1]);
    Trials none({});
    const EncoderChoice choice = decideExportEncoder(kJob, kHardware, none.function());
    EXPECT_EQ(choice.candidate, (EncoderCandidate{VideoCodec::h264, "libx264", "superfast"}));
    EXPECT_EQ(choice.reason, "H.264 in Software: kein Hardware-Encoder für H.264 arbeitet.");
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

TEST(EncoderMemory, KeepsWhatWasMeasuredForThisMachineAndSize) {
    const TemporaryFolder folder;
    const EncoderCandidate candidate{VideoCodec::hevc, "libx265", "ultrafast"};
    EncodingJob other = kJob;
    other.height = 1440;
    {
        EncoderMemory memory(folder / "encoders", "here");
        EXPECT_FALSE(memory.find(candidate, kJob));
        memory.add(candidate, kJob, {true, 24.5});
        memory.add(candidate, other, {false, 0});
        memory.add(candidate, kJob, {true, 25.25});
        EXPECT_EQ(memory.find(candidate, kJob)->picturesPerSecond, 25.25);
    }
    const EncoderMemory again(folder / "encoders", "here");
    ASSERT_TRUE(again.find(candidate, kJob));
    EXPECT_TRUE(again.find(candidate, kJob)->works);
    EXPECT_EQ(again.find(candidate, kJob)->picturesPerSecond, 25.25);
    ASSERT_TRUE(again.find(candidate, other));
    EXPECT_FALSE(again.find(candidate, other)->works);
    EXPECT_FALSE(again.find({VideoCodec::h264, "libx264", "ultrafast"}, kJob));
    EXPECT_FALSE(EncoderMemory(folder / "encoders", "elsewhere").find(candidate, kJob));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
}

TEST(EncoderMemory, SizesAlikeNeedNoTrialOfTheirOwn) {
    EncoderMemory memory({}, "here");
    const EncoderCandidate candidate{VideoCodec::hevc, "libx265", "ultrafast"};
    const auto rate = [&](int width, int height) {
        const auto found = memory.find(candidate, {width, height, 60, 0});
        return found ? found->picturesPerSecond : -1;
    };
    memory.add(candidate, {1920, 1080, 60, 0}, {true, 40});
    EXPECT_EQ(rate(1920, 540), 80);
    EXPECT_EQ(rate(960, 540), 160) << "four times smaller";
    EXPECT_EQ(rate(3840, 2160), 10);
    EXPECT_EQ(rate(958, 540), -1);
    EXPECT_EQ(rate(3842, 2160), -1);
    EXPECT_FALSE(memory.find({VideoCodec::hevc, "libx265", "medium"}, {1920, 540, 60, 0}));
    // The nearest size counts, and its own before any other.
    memory.add(candidate, {960, 540, 60, 0}, {true, 100});
    EXPECT_EQ(rate(960, 540), 100);
    EXPECT_EQ(rate(480, 540), 200);
    EXPECT_EQ(rate(1920, 1000), 40 * 1.08);
    // That one size does not work says nothing of others.
    memory.add(candidate, {480, 270, 60, 0}, {false, 0});
    EXPECT_FALSE(memory.find(candidate, {480, 270, 60, 0})->works);
    EXPECT_EQ(rate(480, 272), 100.0 * 960 * 540 / (480 * 272));
    EXPECT_EQ(rate(240, 136), -1);
}

TEST(EncoderMemory, NonsenseCountsAsNothingAndNoFileDoesNoHarm) {
    const TemporaryFolder folder;
    const EncoderCandidate candidate{VideoCodec::hevc, "libx265", "ultrafast"};
    folder.write("encoders", "\n\t\nnan\tlibx265 ultrafast 1920x1080 here\n-3\tx\n1e999\ty\n12 \tz\nno tab\n" +
                                 std::string(1000, '\t'));
    EncoderMemory memory(folder / "encoders", "here");
    EXPECT_FALSE(memory.find(candidate, kJob));
    memory.add(candidate, kJob, {true, 3});
    EXPECT_TRUE(EncoderMemory(folder / "encoders", "here").find(candidate, kJob));
    for (const auto& path : {std::filesystem::path(), folder / "none" / "encoders", folder.path()}) {
        EncoderMemory nowhere(path, "here");
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
    const EncoderChoice exporting = chooseExportEncoder(job);
    EXPECT_TRUE(tryEncoder(exporting.candidate, job).works) << exporting.reason;
    EXPECT_EQ(exporting.candidate.codec, VideoCodec::h264);
    // Listed hardware that does not work here is not what was chosen, because what was chosen works.
    for (const VideoCodec codec : {VideoCodec::hevc, VideoCodec::h264}) {
        for (const EncoderCandidate& candidate : listedHardwareEncoders(codec)) {
            if (tryEncoder(candidate, job).works) continue;
            EXPECT_NE(candidate, recording.candidate);
            EXPECT_NE(candidate, exporting.candidate);
        }
    }
}

}  // namespace
}  // namespace lumivastor
