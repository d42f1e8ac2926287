// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "base/recorder_error.h"
#include "media/reading/asset_reader.h"
#include "support/temporary_folder.h"
#include "support/test_movie.h"

// Movies that are cut off, damaged or no movies at all.

namespace lumivastor::media {
namespace {

struct Reading {
    std::vector<int> numbers;
    AssetReader::Status status = AssetReader::Status::unknown;
    std::string message;
    double failureSeconds = -1;
};

Reading readPictures(const std::filesystem::path& path, double fromSeconds = 0) {
    const auto asset = std::make_shared<const Asset>(path);
    AssetReader reader(asset);
    if (fromSeconds > 0) reader.setTimeRange({MediaTime::fromSeconds(fromSeconds, 600), {1000, 1}});
    auto& output = reader.addVideoOutput(asset->tracks(TrackKind::video).at(0).id, PictureFormat::planar);
    Reading reading;
    if (reader.startReading()) {
        while (const auto sample = output.copyNextSample()) {
            reading.numbers.push_back(testPictureNumber(sample->planar()));
        }
    }
    reading.status = reader.status();
    if (reader.error()) reading.message = reader.error()->message();
    if (reader.failureTime()) reading.failureSeconds = reader.failureTime()->seconds();
    return reading;
}

TestMovieOptions movingOptions(const std::string& encoder) {
    TestMovieOptions options;
    options.videoEncoder = encoder;
    options.pictures = 150;
    options.keyFrameInterval = 30;
    options.indexFirst = true;
    return options;
}

class EitherCodec : public testing::TestWithParam<const char*> {};

INSTANTIATE_TEST_SUITE_P(Damage, EitherCodec, testing::Values("libx264", "libx265"));

TEST_P(EitherCodec, AFileCutOffInTheMiddleFailsWhereItEnds) {
    const TemporaryFolder folder;
    makeTestMovie(folder / "a.mov", movingOptions(GetParam()));
    const std::string whole = folder.read("a.mov");
    for (const double part : {0.5, 0.7, 0.9}) {
        folder.write("cut.mov", whole.substr(0, static_cast<std::size_t>(part * static_cast<double>(whole.size()))));
        const Reading reading = readPictures(folder / "cut.mov");
        EXPECT_EQ(reading.status, AssetReader::Status::failed);
        EXPECT_FALSE(reading.message.empty());
        ASSERT_GT(reading.numbers.size(), 20u);
        ASSERT_LT(reading.numbers.size(), 150u);
        for (std::size_t i = 0; i < reading.numbers.size(); ++i) EXPECT_EQ(reading.numbers[i], static_cast<int>(i));
        EXPECT_NEAR(reading.failureSeconds, static_cast<double>(reading.numbers.size()) / 30, 0.001);
        // Beyond the cut there is nothing.
        const Reading beyond = readPictures(folder / "cut.mov", 4.9);
        EXPECT_EQ(beyond.status, AssetReader::Status::failed);
        EXPECT_TRUE(beyond.numbers.empty());
    }
}

TEST_P(EitherCodec, DamageFailsThereAndTheNextGroupIsReadAgain) {
    const TemporaryFolder folder;
    makeTestMovie(folder / "a.mov", movingOptions(GetParam()));
    std::string bytes = folder.read("a.mov");
    // A few whole pictures in the middle. Less may go unseen: neither codec carries checksums, and some noise decodes.
    std::mt19937 random(7);
    const std::size_t from = bytes.size() / 2;
    for (std::size_t i = from; i < from + bytes.size() / 10; ++i) bytes[i] = static_cast<char>(random());
    folder.write("bad.mov", bytes);
    const Reading reading = readPictures(folder / "bad.mov");
    EXPECT_EQ(reading.status, AssetReader::Status::failed);
    EXPECT_EQ(reading.message, "Das Video konnte nicht dekodiert werden: Die Daten sind beschädigt.");
    ASSERT_GT(reading.numbers.size(), 30u);
    ASSERT_LT(reading.numbers.size(), 120u);
    // The last one may contain the first noise, before or behind the marks that encode its number.
    for (std::size_t i = 0; i + 1 < reading.numbers.size(); ++i) EXPECT_EQ(reading.numbers[i], static_cast<int>(i));
    EXPECT_NEAR(reading.failureSeconds, static_cast<double>(reading.numbers.size()) / 30, 0.001);
    // From behind the damage, but within its group, nothing can be shown; from the next group on everything.
    const double nextGroup = std::ceil(reading.failureSeconds + 0.1);
    const Reading later = readPictures(folder / "bad.mov", nextGroup);
    EXPECT_EQ(later.status, AssetReader::Status::completed);
    ASSERT_FALSE(later.numbers.empty());
    EXPECT_EQ(later.numbers.front(), static_cast<int>(nextGroup * 30));
    EXPECT_EQ(later.numbers.back(), 149);
    if (nextGroup - 0.02 > reading.failureSeconds + 0.1) {
        const Reading between = readPictures(folder / "bad.mov", nextGroup - 0.02);
        EXPECT_EQ(between.status, AssetReader::Status::failed);
        EXPECT_TRUE(between.numbers.empty());
    }
}

TEST_P(EitherCodec, AFragmentedFileCutOffKeepsItsWholeSamples) {
    const TemporaryFolder folder;
    TestMovieOptions options = movingOptions(GetParam());
    options.indexFirst = false;
    options.fragmented = true;
    makeTestMovie(folder / "a.mov", options);
    EXPECT_TRUE(Asset(folder / "a.mov").isFragmented());
    const std::string whole = folder.read("a.mov");
    for (const double part : {0.3, 0.55, 0.83}) {
        folder.write("cut.mov", whole.substr(0, static_cast<std::size_t>(part * static_cast<double>(whole.size()))));
        const Reading reading = readPictures(folder / "cut.mov");
        ASSERT_GE(reading.numbers.size(), 30u);
        for (std::size_t i = 0; i < reading.numbers.size(); ++i) EXPECT_EQ(reading.numbers[i], static_cast<int>(i));
        EXPECT_EQ(reading.status, AssetReader::Status::failed);
        // Also when reading starts in a later fragment.
        const Reading later = readPictures(folder / "cut.mov", 0.5);
        EXPECT_EQ(later.numbers.front(), 15);
        EXPECT_EQ(later.numbers.size() + 15, reading.numbers.size());
    }
}

TEST(DamagedMovie, SoundCutOffFailsAndKeepsWhatThereIs) {
    const TemporaryFolder folder;
    TestMovieOptions options;
    options.sounds = {{2, 48000, 440, 0.5, true}};
    options.indexFirst = true;
    options.pictures = 150;
    makeTestMovie(folder / "a.mov", options);
    const std::string whole = folder.read("a.mov");
    folder.write("cut.mov", whole.substr(0, whole.size() / 2));
    const auto asset = std::make_shared<const Asset>(folder / "cut.mov");
    AssetReader reader(asset);
    auto& output = reader.addAudioOutput(asset->tracks(TrackKind::audio).at(0).id);
    ASSERT_TRUE(reader.startReading());
    double reached = 0;
    while (const auto sample = output.copyNextSample()) {
        reached = (sample->presentationTime + sample->duration()).seconds();
    }
    EXPECT_EQ(reader.status(), AssetReader::Status::failed);
    EXPECT_GT(reached, 1);
    EXPECT_LT(reached, 4);
    EXPECT_NEAR(reader.failureTime()->seconds(), reached, 1e-9);
}

TEST(DamagedMovie, DamagedSoundBecomesSilenceAndGoesOn) {
    const TemporaryFolder folder;
    TestMovieOptions options;
    options.videoEncoder = "";
    options.pictures = 0;
    options.soundSeconds = 4;
    options.indexFirst = true;
    options.sounds = {{2, 48000, 440, 0.5, true}};
    makeTestMovie(folder / "a.mov", options);
    std::string bytes = folder.read("a.mov");
    std::mt19937 random(3);
    for (std::size_t i = bytes.size() / 2; i < bytes.size() / 2 + 2000; ++i) bytes[i] = static_cast<char>(random());
    folder.write("bad.mov", bytes);
    const auto asset = std::make_shared<const Asset>(folder / "bad.mov");
    AssetReader reader(asset);
    auto& output = reader.addAudioOutput(asset->tracks().at(0).id);
    ASSERT_TRUE(reader.startReading());
    std::vector<float> values;
    while (const auto sample = output.copyNextSample()) {
        for (std::size_t i = 0; i < sample->frames(); ++i) values.push_back(sample->values[2 * i]);
    }
    EXPECT_EQ(reader.status(), AssetReader::Status::completed);
    EXPECT_NEAR(static_cast<double>(values.size()) / 48000, 4.0, 0.05);
    // In step again afterwards.
    for (std::size_t i = 150000; i < 180000; ++i) {
        ASSERT_NEAR(values[i], 0.5 * std::sin(2 * M_PI * 440 * static_cast<double>(i) / 48000), 0.02) << i;
    }
}

void expectRefused(const std::filesystem::path& path, const std::string& reason = "") {
    try {
        const Asset asset(path);
        ADD_FAILURE() << path << " was taken for a movie";
    } catch (const RecorderError& error) {
        EXPECT_NE(error.message().find(path.filename().string()), std::string::npos) << error.message();
        EXPECT_NE(error.message().find(reason), std::string::npos) << error.message();
    }
}

TEST(DamagedMovie, ATrackWithoutANumberIsRefused) {
    const TemporaryFolder folder;
    TestMovieOptions options = movingOptions("libx264");
    options.indexFirst = false;
    options.fragmented = true;
    makeTestMovie(folder / "a.mov", options);
    const std::string whole = folder.read("a.mov");
    const std::size_t header = whole.find("tkhd");
    ASSERT_NE(header, std::string::npos);

    std::string headless = whole;
    headless.replace(header, 4, "free");
    folder.write("headless.mov", headless);
    expectRefused(folder / "headless.mov", "Eine Spur hat keine Nummer");

    // The number stands behind the version, the flags and two times of four bytes.
    std::string negative = whole;
    ASSERT_EQ(negative[header + 4], 0);
    negative[header + 4 + 4 + 8] = static_cast<char>(0xFF);
    folder.write("negative.mov", negative);
    expectRefused(folder / "negative.mov", "Eine Spur hat keine Nummer");

    // A fragment inside the track, before FFmpeg has seen the track's number.
    std::string nested = whole;
    nested.replace(whole.find("edts"), 4, "moof");
    folder.write("nested.mov", nested);
    expectRefused(folder / "nested.mov", "Eine Spur hat keine Nummer");
}

TEST(DamagedMovie, WhatIsNoMovieIsRefused) {
    const TemporaryFolder folder;
    folder.write("empty.mov", "");
    expectRefused(folder / "empty.mov");
    expectRefused(folder / "missing.mov", "Datei oder Ordner nicht gefunden");
    expectRefused(folder.path(), "Ein Ordner steht an der Stelle der Datei");
    ASSERT_EQ(::mkfifo((folder / "pipe.mov").c_str(), 0600), 0);
    expectRefused(folder / "pipe.mov", "Das ist keine gewöhnliche Datei");
    std::mt19937 random(1);
    for (int size = 1; size < 100000; size = size * 3 + 1) {
        std::string bytes(static_cast<std::size_t>(size), '\0');
        for (char& byte : bytes) byte = static_cast<char>(random());
        folder.write("random.mov", bytes);
        expectRefused(folder / "random.mov");
        folder.write("random.mov", std::string("\0\0\0\x14"
                                               "ftypqt  \0\0\0\0qt  ",
                                               20) +
                                       bytes);
        expectRefused(folder / "random.mov");
    }
    // A playlist that names other files is not followed.
    folder.write("list.mov", "ffconcat version 1.0\nfile '/etc/passwd'\n");
    expectRefused(folder / "list.mov");
    folder.write("list.mov", "#EXTM3U\n#EXTINF:1,\nhttp://localhost/a.ts\n");
    expectRefused(folder / "list.mov");
}

TEST(DamagedMovie, TruncatedHeadersAreRefusedOrReadWithoutHarm) {
    const TemporaryFolder folder;
    TestMovieOptions options = movingOptions("libx264");
    options.pictures = 20;
    options.sounds = {{}};
    makeTestMovie(folder / "a.mov", options);
    const std::string whole = folder.read("a.mov");
    const std::size_t samples = whole.find("mdat");
    ASSERT_NE(samples, std::string::npos);
    for (std::size_t length = 0; length < samples; length += 37) {
        folder.write("cut.mov", whole.substr(0, length));
        try {
            const auto asset = std::make_shared<const Asset>(folder / "cut.mov");
            for (const AssetTrack& track : asset->tracks(TrackKind::video)) {
                AssetReader reader(asset);
                auto& output = reader.addVideoOutput(track.id, PictureFormat::planar);
                if (!reader.startReading()) continue;
                while (output.copyNextSample()) {
                }
                EXPECT_NE(reader.status(), AssetReader::Status::reading);
            }
        } catch (const RecorderError& error) {
            EXPECT_FALSE(error.message().empty());
        }
    }
}

// Overwrites the four bytes at `offset` behind the name of the first box of this kind.
void overwrite(std::string& movie, const char* box, std::size_t offset, std::uint32_t value) {
    const std::size_t at = movie.find(box);
    ASSERT_NE(at, std::string::npos) << box;
    for (std::size_t i = 0; i < 4; ++i) {
        movie[at + 4 + offset + i] = static_cast<char>(value >> (24 - 8 * i) & 0xff);
    }
}

TEST(DamagedMovie, TracksOfOneNumberAreRefused) {
    const TemporaryFolder folder;
    TestMovieOptions options = movingOptions("libx264");
    options.pictures = 20;
    options.sounds = {{}};
    makeTestMovie(folder / "a.mov", options);
    std::string movie = folder.read("a.mov");
    const std::size_t second = movie.find("tkhd", movie.find("tkhd") + 1);
    ASSERT_NE(second, std::string::npos);
    ASSERT_EQ(movie[second + 19], 2);  // behind the version and two times
    movie[second + 19] = 1;
    folder.write("a.mov", movie);
    expectRefused(folder / "a.mov", "Zwei Spuren haben dieselbe Nummer");
}

TEST(DamagedMovie, ClaimsOfManySamplesTakeLittleMemory) {
    const TemporaryFolder folder;
    TestMovieOptions options = movingOptions("libx264");
    options.pictures = 20;
    options.reorderedPictures = 2;
    makeTestMovie(folder / "a.mov", options);
    const std::string whole = folder.read("a.mov");
    struct rusage before {};
    ASSERT_EQ(::getrusage(RUSAGE_SELF, &before), 0);
    for (const std::uint32_t claim : {1U << 20, 100U << 20, 0x7fffffffU, 0xffffffffU}) {
        for (int kind = 0; kind < 4; ++kind) {
            std::string movie = whole;
            if (kind == 0 || kind == 1) {
                overwrite(movie, "stsz", 4, kind == 0 ? 1 : 0);  // one size for all, or one for each
                overwrite(movie, "stsz", 8, claim);
            } else {
                overwrite(movie, kind == 2 ? "stts" : "ctts", 8, claim);  // the first run's length
            }
            folder.write("claim.mov", movie);
            try {
                const auto asset = std::make_shared<const Asset>(folder / "claim.mov");
                AssetReader reader(asset);
                auto& output = reader.addVideoOutput(asset->tracks().at(0).id, PictureFormat::planar);
                if (reader.startReading()) {
                    int pictures = 0;
                    while (output.copyNextSample()) ++pictures;
                    EXPECT_LE(pictures, 20);
                }
            } catch (const RecorderError& error) {
                EXPECT_FALSE(error.message().empty());
            }
        }
    }
    struct rusage after {};
    ASSERT_EQ(::getrusage(RUSAGE_SELF, &after), 0);
    constexpr long kMegabyte = 1024;  // ru_maxrss counts in kilobytes
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 600 * kMegabyte);
}

TEST(DamagedMovie, FlippedBytesNeverDoHarm) {
    const TemporaryFolder folder;
    TestMovieOptions options = movingOptions("libx264");
    options.pictures = 12;
    options.sounds = {{}};
    makeTestMovie(folder / "a.mov", options);
    const std::string whole = folder.read("a.mov");
    const std::size_t samples = whole.find("mdat");
    std::mt19937 random(11);
    int read = 0;
    for (int round = 0; round < 150; ++round) {
        std::string bytes = whole;
        for (int i = 0; i < 4; ++i)
            bytes[random() % (round % 2 == 0 ? samples : bytes.size())] = static_cast<char>(random());
        folder.write("bad.mov", bytes);
        try {
            const auto asset = std::make_shared<const Asset>(folder / "bad.mov");
            for (const AssetTrack& track : asset->tracks()) {
                AssetReader reader(asset);
                reader.setTimeRange({{}, {2, 1}});
                if (track.kind == TrackKind::video) {
                    auto& output = reader.addVideoOutput(track.id, PictureFormat::bgraPremultiplied);
                    if (!reader.startReading()) continue;
                    while (output.copyNextSample()) ++read;
                } else {
                    auto& output = reader.addAudioOutput(track.id);
                    if (!reader.startReading()) continue;
                    while (output.copyNextSample()) ++read;
                }
                EXPECT_NE(reader.status(), AssetReader::Status::reading);
            }
        } catch (const RecorderError& error) {
            EXPECT_FALSE(error.message().empty());
        }
    }
    EXPECT_GT(read, 0);
}

}  // namespace
}  // namespace lumivastor::media
