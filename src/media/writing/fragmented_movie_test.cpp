// SPDX-License-Identifier: GPL-3.0-or-later
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cmath>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "base/unique_descriptor.h"
#include "media/reading/asset_reader.h"
#include "support/await.h"
#include "support/live_movie.h"
#include "support/temporary_folder.h"
#include "support/test_movie.h"

// Movies that are written in fragments and finished where they lie.

namespace lumivastor::media {
namespace {

class FragmentedMovie : public testing::TestWithParam<VideoCodec> {
  protected:
    LiveMovieOptions options() const {
        LiveMovieOptions made;
        made.codec = GetParam();
        made.pictureTicks = steadyTicks(210, 30);
        return made;
    }
};

INSTANTIATE_TEST_SUITE_P(Live, FragmentedMovie, testing::Values(VideoCodec::h264, VideoCodec::hevc),
                         [](const auto& parameter) { return parameter.param == VideoCodec::h264 ? "H264" : "Hevc"; });

// The kinds of a file's outermost boxes.
std::vector<std::string> boxesOf(const std::string& bytes) {
    std::vector<std::string> kinds;
    const auto number = [&bytes](std::size_t at, int count) {
        std::uint64_t value = 0;
        for (int i = 0; i < count; ++i)
            value = value << 8 | static_cast<std::uint8_t>(bytes.at(at + static_cast<std::size_t>(i)));
        return value;
    };
    for (std::size_t at = 0; at < bytes.size();) {
        kinds.push_back(bytes.substr(at + 4, 4));
        std::uint64_t size = number(at, 4);
        if (size == 1) size = number(at + 8, 8);
        if (size < 8) return {"broken"};
        at += size;
        if (at > bytes.size()) return {"cut off"};
    }
    return kinds;
}

double toneAt(std::size_t frame, double hertz) {
    return 0.5 * std::sin(2 * M_PI * hertz * static_cast<double>(frame) / 48000);
}

TEST_P(FragmentedMovie, IsPlainWhenFinishedAndDecodesToTheSamePictures) {
    const TemporaryFolder folder;
    leaveUnfinished(folder / "left.mov", options());
    EXPECT_TRUE(Asset(folder / "left.mov").isFragmented());
    const auto before = decodedHashes(folder / "left.mov");
    ASSERT_EQ(before.size(), 210u);
    // The same pictures with the same encoder give the same stream.
    LiveMovie movie(folder / "done.mov", options());
    ASSERT_TRUE(movie.appendAll());
    ASSERT_EQ(movie.finish(), "");
    EXPECT_EQ(movie.writer().status(), AssetWriter::Status::completed);
    EXPECT_EQ(boxesOf(folder.read("done.mov")), (std::vector<std::string>{"ftyp", "mdat", "moov"}));
    EXPECT_EQ(decodedHashes(folder / "done.mov"), before);

    const auto asset = std::make_shared<const Asset>(folder / "done.mov");
    EXPECT_FALSE(asset->isFragmented());
    const AssetTrack track = asset->tracks().at(0);
    EXPECT_EQ(track.codec, GetParam() == VideoCodec::hevc ? "hevc" : "h264");
    EXPECT_EQ(track.sampleCount, 210);
    EXPECT_EQ(track.start, MediaTime{});
    EXPECT_EQ(track.end, (MediaTime{4200, 600}));
    EXPECT_TRUE(track.colourTagged);
    EXPECT_EQ(track.encoding, imaging::YuvEncoding{});
    // Seeking works: any moment gives its picture.
    for (const int number : {0, 59, 61, 133, 209}) {
        AssetReader reader(asset);
        reader.setTimeRange({{number * 20 + 7, 600}, {1, 600}});
        auto& output = reader.addVideoOutput(track.id, PictureFormat::planar);
        ASSERT_TRUE(reader.startReading());
        const auto sample = output.copyNextSample();
        ASSERT_TRUE(sample);
        EXPECT_EQ(testPictureNumber(sample->planar()), number);
    }
}

TEST_P(FragmentedMovie, KeepsTwoSoundTracksInStepBeforeAndAfter) {
    const TemporaryFolder folder;
    LiveMovieOptions made = options();
    made.soundTracks = 2;
    leaveUnfinished(folder / "left.mov", made);
    LiveMovie movie(folder / "done.mov", made);
    ASSERT_TRUE(movie.appendAll());
    ASSERT_EQ(movie.finish(), "");
    const Asset asset(folder / "done.mov");
    ASSERT_EQ(asset.tracks(TrackKind::audio).size(), 2u);
    EXPECT_EQ(asset.tracks(TrackKind::video).at(0).end, (MediaTime{4200, 600}));
    for (int track = 0; track < 2; ++track) {
        const double hertz = 440.0 * (track + 1);
        for (const char* name : {"left.mov", "done.mov"}) {
            const std::vector<float> sound = decodedSound(folder / name, track);
            ASSERT_GT(sound.size(), 48000u * 69 / 10);
            EXPECT_LT(sound.size(), 48000u * 71 / 10);
            for (std::size_t i = 2000; i < 48000 * 68 / 10; ++i) {
                ASSERT_NEAR(sound[i], toneAt(i, hertz), 0.05) << name << " " << i;
            }
        }
    }
}

TEST_P(FragmentedMovie, TracksThatBeginLateStayLate) {
    const TemporaryFolder folder;
    LiveMovieOptions made = options();
    made.soundTracks = 1;
    made.soundStartSeconds = 0.75;
    for (std::int64_t& tick : made.pictureTicks) tick += 150;
    LiveMovie movie(folder / "done.mov", made);
    ASSERT_TRUE(movie.appendAll());
    ASSERT_EQ(movie.finish(), "");
    const auto pictures = decodeTestMovie(folder / "done.mov");
    ASSERT_EQ(pictures.size(), 210u);
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        EXPECT_EQ(testPictureNumber(pictures[i].picture), static_cast<int>(i));
        EXPECT_NEAR(pictures[i].seconds, 0.25 + static_cast<double>(i) / 30, 1e-9);
    }
    const std::vector<float> sound = decodedSound(folder / "done.mov", 0);
    for (std::size_t i = 0; i < 34000; ++i) ASSERT_NEAR(sound[i], 0, 0.05) << i;
    for (std::size_t i = 40000; i < 300000; ++i) ASSERT_NEAR(sound[i], toneAt(i, 440), 0.05) << i;
}

TEST_P(FragmentedMovie, ShowsTheLastPictureUntilTheSessionEnds) {
    for (const double end : {7.0, 7.5, 9.123, 63.0}) {
        const TemporaryFolder folder;
        LiveMovieOptions made = options();
        made.soundTracks = 1;
        made.soundSeconds = 7.3;
        made.endSeconds = end;
        LiveMovie movie(folder / "done.mov", made);
        ASSERT_TRUE(movie.appendAll());
        ASSERT_EQ(movie.finish(), "");
        const Asset asset(folder / "done.mov");
        const AssetTrack video = asset.tracks(TrackKind::video).at(0);
        EXPECT_EQ(video.sampleCount, 210);
        EXPECT_NEAR(video.duration().seconds(), end, 1.0 / 600);
        // Sound that is longer is cut, sound that is shorter stays as it is.
        const double soundEnd = asset.tracks(TrackKind::audio).at(0).end.seconds();
        EXPECT_LE(soundEnd, end + 1e-3);
        EXPECT_NEAR(soundEnd, std::min(end, 7.3), 0.03);
        EXPECT_NEAR(asset.duration().seconds(), end, 1.0 / 600);
    }
}

TEST_P(FragmentedMovie, ALastPictureAtTheEndItselfIsKept) {
    const TemporaryFolder folder;
    LiveMovieOptions made = options();
    made.endSeconds = 209.0 / 30;
    LiveMovie movie(folder / "done.mov", made);
    ASSERT_TRUE(movie.appendAll());
    ASSERT_EQ(movie.finish(), "");
    EXPECT_EQ(decodeTestMovie(folder / "done.mov").size(), 210u);
    EXPECT_NEAR(Asset(folder / "done.mov").tracks().at(0).duration().seconds(), 209.0 / 30, 1.001 / 600);
}

TEST_P(FragmentedMovie, LongPausesBetweenPicturesStayWhatTheyWere) {
    const TemporaryFolder folder;
    LiveMovieOptions made = options();
    made.pictureTicks = {0, 20, 40, 640, 5000, 5001, 5002, 3600 * 600, 3600 * 600 + 20};
    leaveUnfinished(folder / "left.mov", made);
    LiveMovie movie(folder / "done.mov", made);
    ASSERT_TRUE(movie.appendAll());
    ASSERT_EQ(movie.finish(), "");
    for (const char* name : {"left.mov", "done.mov"}) {
        const auto pictures = decodeTestMovie(folder / name);
        ASSERT_EQ(pictures.size(), made.pictureTicks.size());
        for (std::size_t i = 0; i < pictures.size(); ++i) {
            EXPECT_EQ(testPictureNumber(pictures[i].picture), static_cast<int>(i));
            EXPECT_NEAR(pictures[i].seconds, static_cast<double>(made.pictureTicks[i]) / 600, 1e-6) << name;
        }
    }
}

TEST_P(FragmentedMovie, TakesClocksThatDoNotDivideOneAnother) {
    const TemporaryFolder folder;
    AssetWriter writer(folder / "done.mov", MovieContainer::quickTime);
    VideoSettings settings;
    settings.width = 128;
    settings.height = 96;
    settings.frameRate = 30;
    settings.averageBitRate = 500000;
    settings.codec = GetParam();
    settings.preset = "ultrafast";
    settings.timescale = 90001;  // a prime
    auto& input = writer.addVideoInput(settings);
    input.setExpectsMediaDataInRealTime(true);
    writer.setMovieFragmentInterval({1, 1});
    ASSERT_TRUE(writer.startWriting());
    writer.startSession({5, 7});
    for (int i = 0; i < 60; ++i) {
        auto picture = input.pool().makePlanar();
        paintTestPicture(i, false, picture->destination());
        while (!input.isReadyForMoreMediaData()) std::this_thread::yield();
        ASSERT_TRUE(input.append(std::move(picture), MediaTime{5, 7} + MediaTime{i + 3, 29}));
    }
    writer.endSession(MediaTime{5, 7} + MediaTime{70, 29});
    ASSERT_TRUE(writer.finishWriting());
    const auto pictures = decodeTestMovie(folder / "done.mov");
    ASSERT_EQ(pictures.size(), 60u);
    for (std::size_t i = 0; i < 60; ++i) {
        EXPECT_EQ(testPictureNumber(pictures[i].picture), static_cast<int>(i));
        EXPECT_NEAR(pictures[i].seconds, static_cast<double>(i + 3) / 29, 3e-5);
    }
    EXPECT_NEAR(Asset(folder / "done.mov").tracks().at(0).end.seconds(), 70.0 / 29, 2e-5);
}

TEST_P(FragmentedMovie, RepeatsAreCheapAndShowTheSamePicture) {
    const TemporaryFolder folder;
    LiveMovieOptions made = options();
    made.pictureTicks = {0};
    LiveMovie movie(folder / "done.mov", made);
    ASSERT_TRUE(movie.appendAll());
    for (int i = 1; i <= 20; ++i) {
        while (!movie.video().isReadyForMoreMediaData()) std::this_thread::yield();
        ASSERT_TRUE(movie.video().appendRepeat(made.start + MediaTime{i, 1}));
    }
    ASSERT_EQ(movie.finish(), "");
    const auto pictures = decodeTestMovie(folder / "done.mov");
    ASSERT_EQ(pictures.size(), 21u);
    for (const auto& picture : pictures) EXPECT_EQ(testPictureNumber(picture.picture), 0);
}

TEST(FragmentedMovie, WhatHasNothingInItIsSaid) {
    const TemporaryFolder folder;
    LiveMovieOptions made;
    LiveMovie movie(folder / "done.mov", made);
    EXPECT_EQ(movie.finish(), "done.mov enthält weder Bild noch Ton.");
    EXPECT_EQ(movie.writer().status(), AssetWriter::Status::failed);
}

// A pipe without a reader simulates a disk that has stopped.
TEST(FragmentedMovie, ADiskThatStandsStillHoldsNoCallerUp) {
    const TemporaryFolder folder;
    const auto path = folder / "pipe.mov";
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    LiveMovieOptions made;
    made.width = 640;
    made.height = 480;
    made.interval = {1, 10};
    LiveMovie movie(path, made);
    const UniqueDescriptor outlet(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    ASSERT_TRUE(outlet.isOpen());
    // Noise, so that the pipe is soon full. The end comes when the queue stays full: then everything waits for the
    // disk, and nothing of it has blocked this thread.
    std::mt19937 random(9);
    int appended = 0;
    for (int refusals = 0; refusals < 300;) {
        if (!movie.video().isReadyForMoreMediaData()) {
            ++refusals;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            continue;
        }
        refusals = 0;
        auto picture = movie.video().pool().makePlanar();
        const imaging::YuvDestination& planes = picture->destination();
        for (std::ptrdiff_t i = 0; i < planes.lumaStride * planes.height; ++i) {
            planes.luma[i] = static_cast<std::uint8_t>(random());
        }
        ASSERT_TRUE(movie.video().append(std::move(picture), made.start + MediaTime{appended * 20, 600}));
        ++appended;
        ASSERT_LT(appended, 10000);
    }
    EXPECT_EQ(movie.writer().status(), AssetWriter::Status::writing);
    EXPECT_EQ(movie.writer().diskWaits(), 1);
    // Now the disk goes on, and so does everything else.
    std::atomic<bool> ending = false;
    std::thread emptying([&] {
        std::vector<char> bytes(1 << 16);
        while (!ending) {
            if (::read(outlet.get(), bytes.data(), bytes.size()) <= 0) ::usleep(1000);
        }
    });
    EXPECT_TRUE(await([&] { return movie.video().isReadyForMoreMediaData(); }));
    movie.writer().cancelWriting();
    ending = true;
    emptying.join();
}

// Encoders without delay share a picture out among threads, in slices of their own.
TEST(FragmentedMovie, PicturesInSeveralSlicesAreReadWithoutComplaint) {
    for (const VideoCodec codec : {VideoCodec::h264, VideoCodec::hevc}) {
        const TemporaryFolder folder;
        LiveMovieOptions made;
        made.codec = codec;
        made.width = 640;
        made.height = 480;
        made.pictureTicks = steadyTicks(40, 30);
        LiveMovie movie(folder / "slices.mov", made);
        ASSERT_TRUE(movie.appendAll());
        ASSERT_EQ(movie.finish(), "");
        AssetReader reader(std::make_shared<const Asset>(folder / "slices.mov"));
        VideoTrackOutput& output = reader.addVideoOutput(1, PictureFormat::planar);
        ASSERT_TRUE(reader.startReading());
        int pictures = 0;
        while (output.copyNextSample()) ++pictures;
        EXPECT_EQ(pictures, 40);
        EXPECT_EQ(reader.error().value_or(RecorderError("")).message(), "");
    }
}

TEST(FragmentedMovie, CancellingRemovesTheFile) {
    const TemporaryFolder folder;
    LiveMovieOptions made;
    made.pictureTicks = steadyTicks(100, 30);
    LiveMovie movie(folder / "done.mov", made);
    ASSERT_TRUE(movie.appendAll());
    movie.writer().cancelWriting();
    EXPECT_FALSE(std::filesystem::exists(folder / "done.mov"));
}

TEST(PlainMovie, ShowsTheLastPictureUntilTheSessionEnds) {
    for (const auto container : {MovieContainer::mp4, MovieContainer::quickTime}) {
        const TemporaryFolder folder;
        AssetWriter writer(folder / "out.movie", container);
        VideoSettings settings;
        settings.width = 128;
        settings.height = 96;
        settings.averageBitRate = 500000;
        auto& input = writer.addVideoInput(settings);
        ASSERT_TRUE(writer.startWriting());
        writer.startSession({600, 600});
        for (int i = 0; i < 10; ++i) {
            auto picture = input.pool().makePlanar();
            paintTestPicture(i, false, picture->destination());
            while (!input.isReadyForMoreMediaData()) std::this_thread::yield();
            ASSERT_TRUE(input.append(std::move(picture), MediaTime{600 + i * 60, 600}));
        }
        writer.endSession({600 * 8, 600});
        ASSERT_TRUE(writer.finishWriting());
        const AssetTrack track = Asset(folder / "out.movie").tracks().at(0);
        EXPECT_EQ(track.end, (MediaTime{7, 1}));
        EXPECT_EQ(track.sampleCount, 10);
    }
}

}  // namespace
}  // namespace lumivastor::media
