// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/writing/asset_writer.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/fsuid.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cmath>
#include <csignal>
#include <cstring>
#include <future>
#include <numbers>
#include <string>
#include <vector>

#include "base/unique_descriptor.h"
#include "media/isobmff/movie_boxes.h"
#include "media/reading/asset_reader.h"
#include "support/await.h"
#include "support/temporary_folder.h"
#include "support/test_movie.h"

namespace lumivastor::media {
namespace {

VideoSettings settingsFor(int width, int height) {
    VideoSettings settings;
    settings.width = width;
    settings.height = height;
    settings.frameRate = 30;
    settings.averageBitRate = 1000000;
    settings.maxKeyFrameInterval = 60;
    return settings;
}

// Feeds `count` pictures from a pump and waits for its end. False when the writer refused one.
bool feedPictures(VideoWriterInput& input, SerialQueue& queue, int count, const auto& append) {
    std::promise<bool> done;
    int next = 0;
    input.requestMediaDataWhenReady(queue, [&] {
        while (input.isReadyForMoreMediaData()) {
            const bool refused = next < count && !append(next);
            if (refused || ++next > count) {
                input.markAsFinished();
                done.set_value(!refused);
                return;
            }
        }
    });
    return done.get_future().get();
}

bool feedNumbered(VideoWriterInput& input, SerialQueue& queue, int count) {
    return feedPictures(input, queue, count, [&](int index) {
        auto picture = input.pool().makePlanar();
        paintTestPicture(index, index % 30 == 29, picture->destination());
        return input.append(std::move(picture), MediaTime{index * 20, 600});
    });
}

std::string messageOf(const AssetWriter& writer) {
    return writer.error() ? writer.error()->message() : "";
}

// Whether a movie of numbered pictures and as much of sound could be written.
bool writeNumberedMovie(AssetWriter& writer, int count) {
    auto& pictures = writer.addVideoInput(settingsFor(128, 96));
    auto& sound = writer.addAudioInput({});
    if (!writer.startWriting()) return false;
    writer.startSession({});
    SerialQueue pictureQueue("test.video");
    SerialQueue soundQueue("test.audio");
    int seconds = 0;
    sound.requestMediaDataWhenReady(soundQueue, [&] {
        while (sound.isReadyForMoreMediaData()) {
            const bool isOver = ++seconds > count / 30;
            if (isOver || !sound.append({{seconds - 1, 1}, {48000, 2}, std::vector<float>(96000, 0.2F)})) {
                sound.markAsFinished();
                return;
            }
        }
    });
    feedNumbered(pictures, pictureQueue, count);
    return writer.finishWriting();
}

// The kinds of a file's outermost boxes, in order; what they leave over is "rest".
std::vector<std::string> outermostBoxes(const std::filesystem::path& path) {
    const UniqueDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    const std::uint64_t size = std::filesystem::file_size(path);
    std::vector<std::string> kinds;
    std::uint64_t offset = 0;
    while (const auto box = fileBoxAt(file.get(), offset, size)) {
        std::string kind;
        for (int shift = 24; shift >= 0; shift -= 8) kind += static_cast<char>(box->kind >> shift);
        kinds.push_back(kind);
        offset = box->end();
    }
    if (offset != size) kinds.emplace_back("rest");
    return kinds;
}

TEST(AssetWriter, WritesPicturesThatDecodeToThemselvesAtTheirTimes) {
    for (const auto container : {MovieContainer::mp4, MovieContainer::quickTime}) {
        const TemporaryFolder folder;
        AssetWriter writer(folder / "out.movie", container);
        auto& input = writer.addVideoInput(settingsFor(128, 96));
        EXPECT_EQ(writer.status(), AssetWriter::Status::unknown);
        ASSERT_TRUE(writer.startWriting()) << messageOf(writer);
        writer.startSession({});
        SerialQueue queue("test.video");
        EXPECT_TRUE(feedNumbered(input, queue, 100));
        ASSERT_TRUE(writer.finishWriting()) << messageOf(writer);
        EXPECT_EQ(writer.status(), AssetWriter::Status::completed);

        const auto decoded = decodeTestMovie(folder / "out.movie");
        ASSERT_EQ(decoded.size(), 100u);
        for (std::size_t i = 0; i < decoded.size(); ++i) {
            EXPECT_EQ(testPictureNumber(decoded[i].picture), static_cast<int>(i));
            EXPECT_NEAR(decoded[i].seconds, static_cast<double>(i) / 30, 1e-9);
        }
        const Asset asset(folder / "out.movie");
        const AssetTrack track = asset.tracks(TrackKind::video).at(0);
        EXPECT_EQ(track.codec, "h264");
        EXPECT_TRUE(track.colourTagged);
        EXPECT_EQ(track.encoding, imaging::YuvEncoding{});
        EXPECT_EQ(track.end, (MediaTime{2000, 600}));
    }
}

TEST(AssetWriter, FlatColoursSurviveWithinTwoSteps) {
    const TemporaryFolder folder;
    std::vector<std::array<int, 3>> colours;
    for (const int r : {0, 60, 128, 200, 255}) {
        for (const int g : {0, 90, 255}) {
            for (const int b : {0, 128, 255}) colours.push_back({b, g, r});
        }
    }
    AssetWriter writer(folder / "out.mp4", MovieContainer::mp4);
    VideoSettings settings = settingsFor(64, 64);
    settings.averageBitRate = 4000000;
    auto& input = writer.addVideoInput(settings);
    ASSERT_TRUE(writer.startWriting());
    writer.startSession({});
    SerialQueue queue("test.video");
    EXPECT_TRUE(feedPictures(input, queue, static_cast<int>(colours.size()), [&](int index) {
        auto picture = input.pool().makeBgra();
        const auto& [b, g, r] = colours[static_cast<std::size_t>(index)];
        for (int y = 0; y < 64; ++y) {
            for (int x = 0; x < 64; ++x) {
                std::uint8_t* const pixel = picture->pixel(x, y);
                pixel[0] = static_cast<std::uint8_t>(b);
                pixel[1] = static_cast<std::uint8_t>(g);
                pixel[2] = static_cast<std::uint8_t>(r);
                pixel[3] = 255;
            }
        }
        return input.append(std::shared_ptr<const imaging::BgraPremultipliedBuffer>(std::move(picture)),
                            MediaTime{index * 20, 600});
    }));
    ASSERT_TRUE(writer.finishWriting());

    const auto asset = std::make_shared<const Asset>(folder / "out.mp4");
    AssetReader reader(asset);
    auto& output = reader.addVideoOutput(asset->tracks().at(0).id, PictureFormat::bgraPremultiplied);
    ASSERT_TRUE(reader.startReading());
    int worst = 0;
    for (const auto& colour : colours) {
        const auto sample = output.copyNextSample();
        ASSERT_TRUE(sample);
        for (const int at : {3, 32, 60}) {
            for (int c = 0; c < 3; ++c) {
                const int error = std::abs(sample->bgra().pixel(at, at)[c] - colour[static_cast<std::size_t>(c)]);
                worst = std::max(worst, error);
                EXPECT_LE(error, 2) << "b " << colour[0] << " g " << colour[1] << " r " << colour[2] << " channel "
                                    << c;
            }
            EXPECT_EQ(sample->bgra().pixel(at, at)[3], 255);
        }
    }
    RecordProperty("worstError", worst);
}

TEST(AssetWriter, OddSizesComeBackOdd) {
    for (const bool planar : {true, false}) {
        const TemporaryFolder folder;
        AssetWriter writer(folder / "out.mp4", MovieContainer::mp4);
        auto& input = writer.addVideoInput(settingsFor(129, 97));
        ASSERT_TRUE(writer.startWriting()) << messageOf(writer);
        writer.startSession({});
        SerialQueue queue("test.video");
        if (planar) {
            EXPECT_TRUE(feedNumbered(input, queue, 10));
        } else {
            // The same pictures by way of the other form.
            TestMovieOptions options;
            options.width = 130;
            options.height = 98;
            options.pictures = 10;
            makeTestMovie(folder / "a.mov", options);
            const auto asset = std::make_shared<const Asset>(folder / "a.mov");
            AssetReader reader(asset);
            auto& output = reader.addVideoOutput(asset->tracks().at(0).id, PictureFormat::bgraPremultiplied);
            ASSERT_TRUE(reader.startReading());
            EXPECT_TRUE(feedPictures(input, queue, 10, [&](int index) {
                const auto sample = output.copyNextSample();
                auto picture = input.pool().makeBgra();
                for (int y = 0; y < 97; ++y) std::memcpy(picture->row(y), sample->bgra().row(y), 129 * 4);
                return input.append(std::shared_ptr<const imaging::BgraPremultipliedBuffer>(std::move(picture)),
                                    MediaTime{index * 20, 600});
            }));
        }
        ASSERT_TRUE(writer.finishWriting());
        const auto decoded = decodeTestMovie(folder / "out.mp4");
        ASSERT_EQ(decoded.size(), 10u);
        for (std::size_t i = 0; i < decoded.size(); ++i) {
            EXPECT_EQ(testPictureNumber(decoded[i].picture), static_cast<int>(i));
            EXPECT_EQ(decoded[i].width, 129);
            EXPECT_EQ(decoded[i].height, 97);
        }
        const auto asset = std::make_shared<const Asset>(folder / "out.mp4");
        EXPECT_EQ(asset->tracks().at(0).width, 129);
        AssetReader reader(asset);
        auto& output = reader.addVideoOutput(asset->tracks().at(0).id, PictureFormat::bgraPremultiplied);
        ASSERT_TRUE(reader.startReading());
        const auto sample = output.copyNextSample();
        ASSERT_TRUE(sample);
        EXPECT_EQ(sample->bgra().width(), 129);
        EXPECT_EQ(sample->bgra().height(), 97);
        EXPECT_EQ(testPictureNumber(sample->bgra()), 0);
    }
}

TEST(AssetWriter, KeyPicturesAreNoFurtherApartThanAsked) {
    const TemporaryFolder folder;
    AssetWriter writer(folder / "out.mp4", MovieContainer::mp4);
    VideoSettings settings = settingsFor(128, 96);
    settings.maxKeyFrameInterval = 25;
    auto& input = writer.addVideoInput(settings);
    ASSERT_TRUE(writer.startWriting());
    writer.startSession({});
    SerialQueue queue("test.video");
    EXPECT_TRUE(feedNumbered(input, queue, 110));
    ASSERT_TRUE(writer.finishWriting());
    const auto asset = std::make_shared<const Asset>(folder / "out.mp4");
    AssetReader reader(asset);
    auto& output = reader.addStoredSampleOutput(asset->tracks().at(0).id);
    ASSERT_TRUE(reader.startReading());
    int sinceKey = 0;
    int index = 0;
    while (const auto sample = output.copyNextSample()) {
        EXPECT_EQ(sample->presentationTime, sample->decodeTime);  // nothing is reordered
        sinceKey = sample->isKey ? 0 : sinceKey + 1;
        EXPECT_LT(sinceKey, 25) << index;
        ++index;
    }
    EXPECT_EQ(index, 110);
}

TEST(AssetWriter, SoundAndPicturesStayTogether) {
    const TemporaryFolder folder;
    AssetWriter writer(folder / "out.mp4", MovieContainer::mp4);
    auto& video = writer.addVideoInput(settingsFor(128, 96));
    auto& audio = writer.addAudioInput({});
    ASSERT_TRUE(writer.startWriting());
    // A session that does not start at zero, as live clocks do not.
    const MediaTime start{7000 * 600 + 11, 600};
    writer.startSession(start);
    SerialQueue videoQueue("test.video");
    SerialQueue audioQueue("test.audio");
    constexpr int kPictures = 300;
    constexpr std::int64_t kFrames = 48000 * 10;
    std::promise<void> audioDone;
    std::int64_t position = 0;
    std::atomic<std::int64_t> furthestLead = 0;  // in milliseconds
    std::atomic<int> pictures = 0;
    const auto pumpSound = [&] {
        while (audio.isReadyForMoreMediaData()) {
            if (position >= kFrames) {
                audio.markAsFinished();
                audioDone.set_value();
                return;
            }
            PcmSample sample{start + MediaTime{position, 48000}, {}, {}};
            for (std::int64_t i = position; i < std::min(position + 1000, kFrames); ++i) {
                // A beep for each flash: picture 29, 59...
                const std::int64_t since = (i - 46400) % 48000;
                const bool beeps = i >= 46400 && since < 2400;
                const auto value = beeps ? static_cast<float>(0.5 * std::sin(2 * std::numbers::pi * 1000 *
                                                                             static_cast<double>(since) / 48000))
                                         : 0.0F;
                sample.values.insert(sample.values.end(), 2, value);
            }
            position += 1000;
            furthestLead = std::max<std::int64_t>(furthestLead, position / 48 - pictures * 1000 / 30);
            EXPECT_TRUE(audio.append(std::move(sample)));
        }
    };
    EXPECT_TRUE(feedPictures(video, videoQueue, kPictures, [&](int index) {
        // Sound does not wait for a track that nothing is fed to yet.
        if (index == 0) audio.requestMediaDataWhenReady(audioQueue, pumpSound);
        auto picture = video.pool().makePlanar();
        paintTestPicture(index, index % 30 == 29, picture->destination());
        pictures = index;
        return video.append(std::move(picture), start + MediaTime{index * 20, 600});
    }));
    audioDone.get_future().wait();
    ASSERT_TRUE(writer.finishWriting()) << messageOf(writer);
    EXPECT_LT(furthestLead, 1200);

    const auto asset = std::make_shared<const Asset>(folder / "out.mp4");
    EXPECT_NEAR(asset->tracks(TrackKind::audio).at(0).duration().seconds(), 10.0, 0.03);
    AssetReader reader(asset);
    auto& pictureOutput = reader.addVideoOutput(asset->tracks(TrackKind::video).at(0).id, PictureFormat::planar);
    auto& soundOutput = reader.addAudioOutput(asset->tracks(TrackKind::audio).at(0).id);
    ASSERT_TRUE(reader.startReading());
    std::vector<double> flashes;
    while (const auto sample = pictureOutput.copyNextSample()) {
        if (isTestFlash(sample->planar())) flashes.push_back(sample->presentationTime.seconds());
    }
    std::vector<float> sound;
    while (const auto sample = soundOutput.copyNextSample()) {
        sound.insert(sound.end(), sample->values.begin(), sample->values.end());
    }
    ASSERT_EQ(flashes.size(), 10u);
    for (const double flash : flashes) {
        const auto from = static_cast<std::size_t>(std::max(0.0, (flash - 0.3) * 48000));
        std::size_t beep = from;
        while (beep < sound.size() / 2 && std::abs(sound[beep * 2]) < 0.1F) ++beep;
        EXPECT_NEAR(static_cast<double>(beep) / 48000, flash, 0.005);
    }
    EXPECT_EQ(reader.status(), AssetReader::Status::completed);
}

// Of a movie with sound alone.
std::vector<float> leftChannelOf(const std::filesystem::path& movie) {
    const auto asset = std::make_shared<const Asset>(movie);
    AssetReader reader(asset);
    auto& output = reader.addAudioOutput(asset->tracks().at(0).id);
    EXPECT_TRUE(reader.startReading());
    std::vector<float> sound;
    while (const auto sample = output.copyNextSample()) {
        for (std::size_t i = 0; i < sample->frames(); ++i) sound.push_back(sample->values[2 * i]);
    }
    return sound;
}

// Three milliseconds, which are jitter elsewhere; the piece is shorter than what lies over it.
TEST(AssetWriter, SoundBehindACutKeepsItsTimeExactly) {
    const TemporaryFolder folder;
    AssetWriter writer(folder / "out.mov", MovieContainer::quickTime);
    auto& audio = writer.addAudioInput({});
    ASSERT_TRUE(writer.startWriting());
    writer.startSession({});
    const auto append = [&](std::int64_t start, std::size_t frames, float value, bool isAfterCut) {
        PcmSample sample{{start, 48000}, {}, std::vector<float>(frames * 2, value), isAfterCut};
        ASSERT_TRUE(await([&] { return audio.isReadyForMoreMediaData(); }));
        EXPECT_TRUE(audio.append(std::move(sample)));
    };
    append(0, 9600, 0.5F, false);
    append(9600 - 144, 100, -0.5F, true);
    append(9600 - 44, 9600, -0.5F, false);
    append(19200 - 44, 9600, 0.5F, false);
    ASSERT_TRUE(writer.finishWriting()) << messageOf(writer);
    const std::vector<float> sound = leftChannelOf(folder / "out.mov");
    const auto crossing = [&sound](std::size_t from) {
        while (from + 1 < sound.size() && (sound[from] > 0) == (sound[from + 1] > 0)) ++from;
        return static_cast<double>(from + 1);
    };
    EXPECT_NEAR(crossing(5000), 9600, 5);
    EXPECT_NEAR(crossing(14000), 19200 - 44, 5);
}

TEST(AssetWriter, GapsInSoundBecomeSilence) {
    const TemporaryFolder folder;
    AssetWriter writer(folder / "out.mov", MovieContainer::quickTime);
    auto& audio = writer.addAudioInput({});
    ASSERT_TRUE(writer.startWriting());
    writer.startSession({});
    for (const std::int64_t start : {std::int64_t{4800}, std::int64_t{48000}, std::int64_t{48000 + 4800 + 100}}) {
        PcmSample sample{{start, 48000}, {}, std::vector<float>(9600, 0.5F)};
        ASSERT_TRUE(await([&] { return audio.isReadyForMoreMediaData(); }));
        EXPECT_TRUE(audio.append(std::move(sample)));
    }
    ASSERT_TRUE(writer.finishWriting()) << messageOf(writer);
    const std::vector<float> sound = leftChannelOf(folder / "out.mov");
    const auto meanAround = [&sound](std::size_t at) {
        double sum = 0;
        for (std::size_t i = at - 200; i < at + 200; ++i) sum += static_cast<double>(sound.at(i));
        return sum / 400;
    };
    EXPECT_NEAR(meanAround(2000), 0, 0.02);
    EXPECT_NEAR(meanAround(7200), 0.5, 0.03);
    EXPECT_NEAR(meanAround(30000), 0, 0.02);
    EXPECT_NEAR(meanAround(50000), 0.5, 0.03);
    // The third piece comes 2 ms late, which is jitter, not a gap.
    EXPECT_NEAR(meanAround(52850), 0.5, 0.03);
}

TEST(AssetWriter, StoredSamplesPassUntouched) {
    const TemporaryFolder folder;
    TestMovieOptions options;
    options.reorderedPictures = 2;
    options.sounds = {{}, {1, 44100, 2000}};
    makeTestMovie(folder / "a.mov", options);
    const auto asset = std::make_shared<const Asset>(folder / "a.mov");
    AssetReader reader(asset);
    AssetWriter writer(folder / "b.mov", MovieContainer::quickTime);
    struct Copy {
        StoredSampleOutput* output;
        StoredWriterInput* input;
        std::promise<void> done;
    };
    std::vector<Copy> copies;
    for (const AssetTrack& track : asset->tracks()) {
        const StoredFormat format = storedFormatOf(*asset, track.id);
        EXPECT_TRUE(writer.canAddStoredInput(format));
        copies.push_back({&reader.addStoredSampleOutput(track.id), &writer.addStoredInput(format), {}});
    }
    ASSERT_EQ(copies.size(), 3u);
    ASSERT_TRUE(reader.startReading());
    ASSERT_TRUE(writer.startWriting()) << messageOf(writer);
    writer.startSession({});
    {
        SerialQueue queue("test.copy");
        for (Copy& copy : copies) {
            copy.input->requestMediaDataWhenReady(queue, [&copy] {
                while (copy.input->isReadyForMoreMediaData()) {
                    auto sample = copy.output->copyNextSample();
                    if (!sample) {
                        copy.input->markAsFinished();
                        copy.done.set_value();
                        return;
                    }
                    EXPECT_TRUE(copy.input->append(std::move(*sample)));
                }
            });
        }
        for (Copy& copy : copies) copy.done.get_future().wait();
        ASSERT_TRUE(writer.finishWriting()) << messageOf(writer);
    }
    const auto copied = std::make_shared<const Asset>(folder / "b.mov");
    ASSERT_EQ(copied->tracks().size(), 3u);
    for (std::size_t t = 0; t < 3; ++t) {
        AssetReader first(asset);
        AssetReader second(copied);
        auto& a = first.addStoredSampleOutput(asset->tracks()[t].id);
        auto& b = second.addStoredSampleOutput(copied->tracks()[t].id);
        ASSERT_TRUE(first.startReading() && second.startReading());
        int count = 0;
        for (;; ++count) {
            const auto x = a.copyNextSample();
            const auto y = b.copyNextSample();
            ASSERT_EQ(x.has_value(), y.has_value());
            if (!x) break;
            EXPECT_EQ(x->presentationTime, y->presentationTime) << t << " " << count;
            EXPECT_EQ(x->decodeTime, y->decodeTime) << t << " " << count;
            EXPECT_EQ(x->isKey, y->isKey);
        }
        EXPECT_GT(count, 50);
    }
    const auto before = decodeTestMovie(folder / "a.mov");
    const auto after = decodeTestMovie(folder / "b.mov");
    ASSERT_EQ(before.size(), after.size());
    for (std::size_t i = 0; i < before.size(); ++i) {
        EXPECT_EQ(testPictureNumber(after[i].picture), static_cast<int>(i));
        EXPECT_NEAR(before[i].seconds, after[i].seconds, 1e-9);
    }
}

TEST(AssetWriter, AFullDiskFailsWithItsReasonAndEndsThePump) {
    AssetWriter writer("/dev/full", MovieContainer::mp4);
    VideoSettings settings = settingsFor(256, 256);
    settings.averageBitRate = 20000000;
    auto& input = writer.addVideoInput(settings);
    if (writer.startWriting()) {
        writer.startSession({});
        SerialQueue queue("test.video");
        feedNumbered(input, queue, 300);
        EXPECT_FALSE(writer.finishWriting());
    }
    EXPECT_EQ(writer.status(), AssetWriter::Status::failed);
    EXPECT_NE(messageOf(writer).find("Der Datenträger ist voll"), std::string::npos) << messageOf(writer);
    EXPECT_FALSE(writer.encoderFailed());
}

TEST(AssetWriter, AFinishedMovieBeginsWithItsIndex) {
    constexpr int kPictures = 90;
    const TemporaryFolder folder;
    for (const auto& [name, container] :
         {std::pair("a.mp4", MovieContainer::mp4), {"a.mov", MovieContainer::quickTime}}) {
        AssetWriter writer(folder / name, container);
        ASSERT_TRUE(writeNumberedMovie(writer, kPictures)) << messageOf(writer);
        const auto boxes = outermostBoxes(folder / name);
        const auto index = std::find(boxes.begin(), boxes.end(), "moov");
        const auto samples = std::find(boxes.begin(), boxes.end(), "mdat");
        EXPECT_LT(index, samples) << name;
        EXPECT_NE(samples, boxes.end());
        EXPECT_EQ(std::count(boxes.begin(), boxes.end(), "rest"), 0);
        EXPECT_EQ(boxes.front(), "ftyp");
        const auto pictures = decodeTestMovie(folder / name);
        ASSERT_EQ(pictures.size(), static_cast<std::size_t>(kPictures));
        for (int i = 0; i < kPictures; ++i) {
            const auto& each = pictures[static_cast<std::size_t>(i)];
            EXPECT_EQ(testPictureNumber(each.picture), i);
            EXPECT_NEAR(each.seconds, i / 30.0, 1e-9);
        }
        const Asset movie(folder / name);
        ASSERT_EQ(movie.tracks(TrackKind::audio).size(), 1u);
        EXPECT_NEAR(movie.tracks(TrackKind::audio)[0].end.seconds(), 3, 0.05);
    }
}

TEST(AssetWriter, AFinishedMovieIsWrittenIntoTheFileThatIsThere) {
    const TemporaryFolder folder;
    folder.write("a.mp4", "here before");
    struct stat before {};
    ASSERT_EQ(::stat((folder / "a.mp4").c_str(), &before), 0);
    AssetWriter writer(folder / "a.mp4", MovieContainer::mp4);
    ASSERT_TRUE(writeNumberedMovie(writer, 30)) << messageOf(writer);
    struct stat after {};
    ASSERT_EQ(::stat((folder / "a.mp4").c_str(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(decodeTestMovie(folder / "a.mp4").size(), 30u);
}

// What a full disk does, where all samples still fitted.
TEST(AssetWriter, AnIndexForWhichThereIsNoRoomFailsTheWriter) {
    const TemporaryFolder folder;
    AssetWriter first(folder / "a.mp4", MovieContainer::mp4);
    ASSERT_TRUE(writeNumberedMovie(first, 30)) << messageOf(first);
    const auto previous = std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit unlimited {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &unlimited), 0);
    struct rlimit small = unlimited;
    small.rlim_cur = std::filesystem::file_size(folder / "a.mp4") - 1;
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    AssetWriter second(folder / "b.mp4", MovieContainer::mp4);
    const bool isWritten = writeNumberedMovie(second, 30);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &unlimited), 0);
    std::signal(SIGXFSZ, previous);
    EXPECT_FALSE(isWritten);
    EXPECT_TRUE(messageOf(second).starts_with("b.mp4 konnte nicht geschrieben werden: ")) << messageOf(second);
}

TEST(AssetWriter, AnExistingFileIsRemovedAndNotEmptied) {
    const TemporaryFolder folder;
    const std::string kept = "what somebody else has written";
    for (const bool inFragments : {false, true}) {
        folder.write("kept", kept);
        std::filesystem::create_symlink(folder / "kept", folder / "link.mov");
        std::filesystem::create_hard_link(folder / "kept", folder / "hard.mov");
        std::filesystem::create_symlink(folder / "nowhere", folder / "dangling.mov");
        for (const char* name : {"link.mov", "hard.mov", "dangling.mov"}) {
            AssetWriter writer(folder / name, MovieContainer::quickTime);
            if (inFragments) writer.setMovieFragmentInterval({2, 1});
            EXPECT_TRUE(writeNumberedMovie(writer, 30)) << name << ": " << messageOf(writer);
            EXPECT_TRUE(std::filesystem::is_regular_file(std::filesystem::symlink_status(folder / name))) << name;
            EXPECT_EQ(decodeTestMovie(folder / name).size(), 30u);
            EXPECT_EQ(folder.read("kept"), kept) << name;
            std::filesystem::remove(folder / name);
        }
        EXPECT_FALSE(std::filesystem::exists(folder / "nowhere"));
    }
    std::filesystem::create_directory(folder / "folder.mov");
    AssetWriter writer(folder / "folder.mov", MovieContainer::quickTime);
    EXPECT_FALSE(writeNumberedMovie(writer, 30));
    EXPECT_TRUE(std::filesystem::is_directory(folder / "folder.mov"));
}

TEST(AssetWriter, AReadOnlyFolderIsSaidAtTheStart) {
    const TemporaryFolder folder;
    ASSERT_EQ(::chmod(folder.path().c_str(), 0555), 0);
    // Root writes anywhere; as nobody, the thread does not.
    constexpr uid_t kNobody = 65534;
    const bool isRoot = ::geteuid() == 0;
    if (isRoot) ::setfsuid(kNobody);
    AssetWriter writer(folder / "out.mp4", MovieContainer::mp4);
    writer.addVideoInput(settingsFor(64, 64));
    const bool started = writer.startWriting();
    if (isRoot) ::setfsuid(0);
    ::chmod(folder.path().c_str(), 0755);
    EXPECT_FALSE(started);
    EXPECT_EQ(writer.status(), AssetWriter::Status::failed);
    EXPECT_EQ(messageOf(writer), "out.mp4 konnte nicht angelegt werden: Zugriff verweigert.");
}

TEST(AssetWriter, AnEncoderThatDoesNotOpenIsToldApartAndLeavesNoFile) {
    const TemporaryFolder folder;
    for (const bool inFragments : {false, true}) {
        AssetWriter writer(folder / "out.mov", MovieContainer::quickTime);
        if (inFragments) writer.setMovieFragmentInterval({2, 1});
        VideoSettings settings = settingsFor(64, 64);
        settings.encoder = "no_such_encoder";
        writer.addVideoInput(settings);
        EXPECT_FALSE(writer.startWriting());
        EXPECT_TRUE(writer.encoderFailed());
        EXPECT_FALSE(std::filesystem::exists(folder / "out.mov"));
    }
    AssetWriter writer(folder / "nowhere/out.mov", MovieContainer::quickTime);
    writer.addVideoInput(settingsFor(64, 64));
    EXPECT_FALSE(writer.startWriting());
    EXPECT_FALSE(writer.encoderFailed());
}

TEST(AssetWriter, CancellingRemovesTheFileAndEndsThePump) {
    const TemporaryFolder folder;
    AssetWriter writer(folder / "out.mp4", MovieContainer::mp4);
    auto& input = writer.addVideoInput(settingsFor(128, 96));
    ASSERT_TRUE(writer.startWriting());
    writer.startSession({});
    EXPECT_TRUE(std::filesystem::exists(folder / "out.mp4"));
    SerialQueue queue("test.video");
    std::promise<void> someWritten;
    std::promise<void> refused;
    int index = 0;
    input.requestMediaDataWhenReady(queue, [&] {
        while (input.isReadyForMoreMediaData()) {
            auto picture = input.pool().makePlanar();
            paintTestPicture(index, false, picture->destination());
            if (++index == 20) someWritten.set_value();
            if (!input.append(std::move(picture), MediaTime{index * 20, 600})) {
                input.markAsFinished();
                refused.set_value();
                return;
            }
        }
    });
    someWritten.get_future().wait();
    writer.cancelWriting();
    refused.get_future().wait();
    EXPECT_EQ(writer.status(), AssetWriter::Status::cancelled);
    EXPECT_FALSE(std::filesystem::exists(folder / "out.mp4"));
}

TEST(AssetWriter, ALiveInputSaysWhenItsQueueIsFull) {
    const TemporaryFolder folder;
    AssetWriter writer(folder / "out.mov", MovieContainer::quickTime);
    auto& input = writer.addVideoInput(settingsFor(640, 480));
    input.setExpectsMediaDataInRealTime(true);
    EXPECT_FALSE(input.isReadyForMoreMediaData());
    ASSERT_TRUE(writer.startWriting());
    EXPECT_FALSE(input.isReadyForMoreMediaData());
    writer.startSession({});
    int appended = 0;
    int dropped = 0;
    for (int i = 0; i < 200; ++i) {
        if (!input.isReadyForMoreMediaData()) {
            ++dropped;
            continue;
        }
        auto picture = input.pool().makePlanar();
        EXPECT_TRUE(input.append(std::move(picture), MediaTime{i * 10, 600}));
        ++appended;
    }
    ASSERT_TRUE(writer.finishWriting());
    EXPECT_GT(appended, 0);
    EXPECT_GT(dropped, 0);
    EXPECT_EQ(decodeTestMovie(folder / "out.mov").size(), static_cast<std::size_t>(appended));
}

TEST(AssetWriter, PicturesBeforeTheSessionAreLeftOutAndEqualTimesMoveOn) {
    const TemporaryFolder folder;
    AssetWriter writer(folder / "out.mov", MovieContainer::quickTime);
    auto& input = writer.addVideoInput(settingsFor(128, 96));
    ASSERT_TRUE(writer.startWriting());
    writer.startSession({600, 600});
    int number = 0;
    for (const std::int64_t tick : {580, 600, 600, 640}) {
        auto picture = input.pool().makePlanar();
        paintTestPicture(number++, false, picture->destination());
        ASSERT_TRUE(await([&] { return input.isReadyForMoreMediaData(); }));
        EXPECT_TRUE(input.append(std::move(picture), MediaTime{tick, 600}));
    }
    ASSERT_TRUE(writer.finishWriting());
    const auto decoded = decodeTestMovie(folder / "out.mov");
    ASSERT_EQ(decoded.size(), 3u);
    EXPECT_EQ(testPictureNumber(decoded[0].picture), 1);
    EXPECT_NEAR(decoded[0].seconds, 0, 1e-9);
    EXPECT_NEAR(decoded[1].seconds, 1.0 / 600, 1e-9);
    EXPECT_NEAR(decoded[2].seconds, 40.0 / 600, 1e-9);
}

TEST(AssetWriter, AnInputThatIsNeverFedHoldsNobodyUp) {
    const TemporaryFolder folder;
    AssetWriter writer(folder / "out.mp4", MovieContainer::mp4);
    auto& input = writer.addVideoInput(settingsFor(128, 96));
    writer.addAudioInput({});
    ASSERT_TRUE(writer.startWriting());
    writer.startSession({});
    SerialQueue queue("test.video");
    EXPECT_TRUE(feedNumbered(input, queue, 120));
    ASSERT_TRUE(writer.finishWriting()) << messageOf(writer);
    EXPECT_EQ(decodeTestMovie(folder / "out.mp4").size(), 120u);
}

}  // namespace
}  // namespace lumivastor::media
