// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/writing/movie_repair.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "base/host_clock.h"
#include "base/recorder_error.h"
#include "base/unique_descriptor.h"
#include "media/isobmff/fragments.h"
#include "media/reading/asset_reader.h"
#include "support/await.h"
#include "support/live_movie.h"
#include "support/temporary_folder.h"
#include "support/test_movie.h"

// What is left of a recording that was not finished. Cut-off copies of one file stand for a process killed at any
// moment, because a file in fragments only ever grows.

namespace lumivastor::media {
namespace {

std::optional<FragmentedMovie> scanned(const std::filesystem::path& path) {
    const UniqueDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    return scanFragments(file.get(), std::filesystem::file_size(path));
}

std::string refusalOf(const std::filesystem::path& path) {
    try {
        const MovieRepair result = repairMovie(path);
        ADD_FAILURE() << path << " was repaired: " << result.repaired << ", whole: " << result.wasWhole;
        return "";
    } catch (const RecorderError& error) {
        return error.message();
    }
}

class EitherRecording : public testing::TestWithParam<VideoCodec> {
  protected:
    LiveMovieOptions options() const {
        LiveMovieOptions made;
        made.codec = GetParam();
        made.pictureTicks = steadyTicks(150, 30);
        made.soundTracks = 2;
        made.interval = {1, 1};
        return made;
    }
};

INSTANTIATE_TEST_SUITE_P(Repair, EitherRecording, testing::Values(VideoCodec::h264, VideoCodec::hevc),
                         [](const auto& parameter) { return parameter.param == VideoCodec::h264 ? "H264" : "Hevc"; });

TEST_P(EitherRecording, CutOffAnywhereKeepsEveryWholeFragment) {
    const TemporaryFolder folder;
    leaveUnfinished(folder / "left.mov", options());
    const std::string whole = folder.read("left.mov");
    const auto hashes = decodedHashes(folder / "left.mov");
    ASSERT_EQ(hashes.size(), 150u);
    const auto first = scanned(folder / "left.mov");
    ASSERT_TRUE(first);
    ASSERT_GE(first->fragments, 5);
    EXPECT_EQ(first->wholeEnd, whole.size());

    // Where fragments end, and how many pictures there are then.
    std::map<std::size_t, std::size_t> picturesAt;
    std::vector<std::size_t> lengths;
    auto movie = first;
    while (movie->fragments > 0) {
        picturesAt[movie->wholeEnd] = movie->tracks.at(0).sampleCount();
        for (const int around : {-1, 0, 1, 8, 20}) {
            const auto length = static_cast<std::size_t>(static_cast<std::int64_t>(movie->wholeEnd) + around);
            if (length <= whole.size()) lengths.push_back(length);
        }
        const UniqueDescriptor file(::open((folder / "left.mov").c_str(), O_RDONLY | O_CLOEXEC));
        movie = scanFragments(file.get(), movie->lastFragmentOffset);
    }
    // A fragment of one second holds the pictures of one second.
    std::size_t before = 0;
    for (const auto& [end, pictures] : picturesAt) {
        EXPECT_LE(pictures - before, 31u);
        before = pictures;
    }
    for (std::size_t length = movie->wholeEnd; length < whole.size(); length += whole.size() / 23) {
        lengths.push_back(length);
    }
    for (const std::size_t length : lengths) {
        folder.write("cut.mov", whole.substr(0, length));
        const auto past = picturesAt.upper_bound(length);
        if (past == picturesAt.begin()) {
            EXPECT_NE(refusalOf(folder / "cut.mov").find("cut.mov konnte nicht wiederhergestellt werden"),
                      std::string::npos);
            continue;
        }
        const std::size_t expected = std::prev(past)->second;
        const MovieRepair result = repairMovie(folder / "cut.mov");
        EXPECT_TRUE(result.repaired);
        EXPECT_FALSE(result.wasWhole);
        EXPECT_EQ(result.videoFrames, static_cast<std::int64_t>(expected)) << length;
        EXPECT_EQ(result.cutBytes, static_cast<std::int64_t>(length - std::prev(past)->first));
        EXPECT_NEAR(result.seconds, static_cast<double>(expected) / 30, 0.1);
        const Asset asset(folder / "cut.mov");
        EXPECT_FALSE(asset.isFragmented());
        EXPECT_NEAR(asset.duration().seconds(), result.seconds, 1e-3);
        const auto kept = decodedHashes(folder / "cut.mov");
        ASSERT_EQ(kept.size(), expected);
        EXPECT_TRUE(std::equal(kept.begin(), kept.end(), hashes.begin()));
        for (int track = 0; track < 2; ++track) {
            const auto sound = decodedSound(folder / "cut.mov", track);
            EXPECT_NEAR(static_cast<double>(sound.size()) / 48000, static_cast<double>(expected) / 30, 0.1);
        }
        // A second time there is nothing to do, and nothing is done.
        const std::string repaired = folder.read("cut.mov");
        const MovieRepair again = repairMovie(folder / "cut.mov");
        EXPECT_TRUE(again.wasWhole);
        EXPECT_FALSE(again.repaired);
        EXPECT_EQ(again.videoFrames, result.videoFrames);
        EXPECT_NEAR(again.seconds, result.seconds, 1e-3);
        EXPECT_EQ(folder.read("cut.mov"), repaired);
    }
}

TEST_P(EitherRecording, ARepairThatWasInterruptedIsRepaired) {
    const TemporaryFolder folder;
    leaveUnfinished(folder / "left.mov", options());
    const std::string left = folder.read("left.mov");
    folder.write("done.mov", left);
    ASSERT_TRUE(repairMovie(folder / "done.mov").repaired);
    const std::string done = folder.read("done.mov");
    ASSERT_GT(done.size(), left.size());
    // Killed while the index is written, with all of it written, and after the header has changed.
    for (std::size_t length = left.size(); length <= done.size(); length += 97) {
        folder.write("half.mov", left + done.substr(left.size(), length - left.size()));
        const MovieRepair result = repairMovie(folder / "half.mov");
        EXPECT_TRUE(result.repaired);
        ASSERT_EQ(folder.read("half.mov"), done);
    }
    folder.write("half.mov", left + done.substr(left.size()));
    EXPECT_TRUE(repairMovie(folder / "half.mov").repaired);
    EXPECT_EQ(folder.read("half.mov"), done);
    EXPECT_TRUE(repairMovie(folder / "half.mov").wasWhole);
}

// A child that records; what `work` returns is its exit status.
pid_t inChild(const std::function<int()>& work) {
    const pid_t child = ::fork();
    if (child != 0) return child;
    int status = 99;
    try {
        status = work();
    } catch (...) {
    }
    ::_exit(status);
}

TEST_P(EitherRecording, AKilledProcessLosesAtMostOneFragment) {
    const TemporaryFolder folder;
    const auto path = folder / "killed.mov";
    LiveMovieOptions made = options();
    made.interval = {1, 2};
    const pid_t child = inChild([&] {
        LiveMovie movie(path, made);
        if (!movie.appendAll()) return 1;
        for (;;) ::pause();  // goes on recording, but nothing moves any more
    });
    ASSERT_GT(child, 0);
    // Everything reaches the file although nothing that comes later pushes it out: half a second by the clock is
    // enough. Only sound that does not fill a packet, and what the sound's encoder looks ahead, may be missing.
    constexpr std::size_t kPackets = 149 * 1600 / 1024 - 2;
    EXPECT_TRUE(await([&] {
        if (!std::filesystem::exists(path)) return false;
        const auto movie = scanned(path);
        return movie && movie->tracks.at(0).sampleCount() == 150 && movie->tracks.at(1).sampleCount() >= kPackets &&
               movie->tracks.at(2).sampleCount() >= kPackets;
    }));
    EXPECT_NE(refusalOf(path).find("Die Aufnahme läuft noch"), std::string::npos);
    ::kill(child, SIGKILL);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status));
    const MovieRepair result = repairMovie(path);
    EXPECT_TRUE(result.repaired);
    EXPECT_EQ(result.videoFrames, 150);
    const auto pictures = decodeTestMovie(path);
    ASSERT_EQ(pictures.size(), 150u);
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        EXPECT_EQ(testPictureNumber(pictures[i].picture), static_cast<int>(i));
    }
    EXPECT_GT(static_cast<double>(decodedSound(path, 1).size()) / 48000, 149.0 / 30 - 0.07);
}

TEST_P(EitherRecording, AProcessKilledAtAnyMomentOfFinishingLeavesAMovie) {
    const TemporaryFolder folder;
    int whole = 0;
    int repaired = 0;
    LiveMovieOptions made = options();
    made.pictureTicks = steadyTicks(30, 30);
    made.soundTracks = 0;
    made.interval = {1, 20};
    constexpr int kRounds = 40;
    double length = 0;  // of finishing undisturbed on this machine, in seconds
    for (int round = 0; round < kRounds; ++round) {
        const auto path = folder / ("killed" + std::to_string(round) + ".mov");
        int ready[2];
        int go[2];
        ASSERT_EQ(::pipe(ready), 0);
        ASSERT_EQ(::pipe(go), 0);
        const pid_t child = inChild([&] {
            LiveMovie movie(path, made);
            if (!movie.appendAll()) return 1;
            // Until all of it is in the file, so that nothing but finishing is left to be killed in.
            if (!await([&] { return scanned(path)->tracks.at(0).sampleCount() == 30; })) return 4;
            ::close(go[1]);
            char byte = 0;
            if (::write(ready[1], "x", 1) != 1 || ::read(go[0], &byte, 1) != 1) return 2;
            if (!movie.finish().empty()) return 3;
            return ::write(ready[1], "x", 1) == 1 ? 0 : 2;
        });
        ::close(ready[1]);
        ::close(go[0]);
        char byte = 0;
        EXPECT_EQ(::read(ready[0], &byte, 1), 1);
        // One is killed before it finishes, one is left alone, and the others are killed all along the time it took.
        if (round > 0) {
            EXPECT_EQ(::write(go[1], "x", 1), 1);
        }
        if (round == 1) {
            const double before = hostClockSeconds();
            EXPECT_EQ(::read(ready[0], &byte, 1), 1);
            length = hostClockSeconds() - before;
        } else if (round > 1) {
            ::usleep(static_cast<useconds_t>(length * 1e6 * (round - 2) / (kRounds - 2)));
        }
        if (round != 1) ::kill(child, SIGKILL);
        ::close(ready[0]);
        ::close(go[1]);
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFSIGNALED(status) || WEXITSTATUS(status) == 0) << WEXITSTATUS(status);
        const MovieRepair result = repairMovie(path);
        ++(result.wasWhole ? whole : repaired);
        EXPECT_EQ(result.videoFrames, 30);
        const auto pictures = decodeTestMovie(path);
        ASSERT_EQ(pictures.size(), 30u);
        for (std::size_t i = 0; i < pictures.size(); ++i) {
            EXPECT_EQ(testPictureNumber(pictures[i].picture), static_cast<int>(i));
        }
    }
    EXPECT_GT(whole, 0);
    EXPECT_GT(repaired, 0);
    RecordProperty("whole", whole);
    RecordProperty("repaired", repaired);
}

// Lets files grow to `bytes` only, as a full disk would, for as long as it lives.
class FileSizeLimit {
  public:
    explicit FileSizeLimit(rlim_t bytes) {
        ::getrlimit(RLIMIT_FSIZE, &before_);
        const struct rlimit limit { bytes, before_.rlim_max };
        ::setrlimit(RLIMIT_FSIZE, &limit);
        handler_ = std::signal(SIGXFSZ, SIG_IGN);
    }
    ~FileSizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, handler_);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

  private:
    struct rlimit before_ {};
    void (*handler_)(int) = nullptr;
};

TEST_P(EitherRecording, WhereNoMoreFitsTheWriterSaysSoAndTheFileEndsWhole) {
    for (const rlim_t limit : {150000U, 170000U, 190000U, 200000U, 210000U}) {
        const TemporaryFolder folder;
        LiveMovieOptions made = options();
        made.pictureTicks = steadyTicks(600, 30);
        {
            const FileSizeLimit full(limit);
            LiveMovie movie(folder / "full.mov", made);
            const bool refused = !movie.appendAll();
            EXPECT_EQ(movie.finish(), "full.mov konnte nicht geschrieben werden: Die Datei ist zu groß.");
            EXPECT_EQ(movie.writer().status(), AssetWriter::Status::failed);
            EXPECT_TRUE(refused);
        }
        const auto left = scanned(folder / "full.mov");
        ASSERT_TRUE(left);
        ASSERT_GT(left->fragments, 0);
        EXPECT_EQ(left->wholeEnd, std::filesystem::file_size(folder / "full.mov"));
        EXPECT_LE(left->wholeEnd, limit);
        folder.write("more.mov", folder.read("full.mov"));
        // With room again nothing more is lost; without, the last fragment at most makes room for the index.
        const MovieRepair later = repairMovie(folder / "more.mov");
        EXPECT_EQ(static_cast<std::size_t>(later.videoFrames), left->tracks.at(0).sampleCount());
        const FileSizeLimit full(limit);
        const MovieRepair now = repairMovie(folder / "full.mov");
        EXPECT_TRUE(now.repaired);
        EXPECT_GE(now.videoFrames, later.videoFrames - 31);
        EXPECT_LE(std::filesystem::file_size(folder / "full.mov"), limit);
        EXPECT_EQ(static_cast<std::int64_t>(decodeTestMovie(folder / "full.mov").size()), now.videoFrames);
    }
}

TEST(MovieRepair, MakesRoomForTheIndexWithTheLastFragment) {
    const TemporaryFolder folder;
    LiveMovieOptions made;
    made.pictureTicks = steadyTicks(150, 30);
    made.interval = {1, 1};
    leaveUnfinished(folder / "full.mov", made);
    const auto left = scanned(folder / "full.mov");
    const FileSizeLimit full(std::filesystem::file_size(folder / "full.mov") + 100);
    const MovieRepair result = repairMovie(folder / "full.mov");
    EXPECT_TRUE(result.repaired);
    EXPECT_EQ(result.videoFrames, 120);
    EXPECT_EQ(decodeTestMovie(folder / "full.mov").size(), 120u);
}

TEST(MovieRepair, WholeMoviesOfAnyMakeAreLeftAlone) {
    const TemporaryFolder folder;
    TestMovieOptions options;
    options.sounds = {{}};
    makeTestMovie(folder / "a.mov", options);
    options.container = "mp4";
    options.indexFirst = true;
    makeTestMovie(folder / "b.mov", options);
    for (const char* name : {"a.mov", "b.mov"}) {
        const std::string before = folder.read(name);
        ASSERT_EQ(::chmod((folder / name).c_str(), 0444), 0);
        const MovieRepair result = repairMovie(folder / name);
        EXPECT_TRUE(result.wasWhole);
        EXPECT_FALSE(result.repaired);
        EXPECT_EQ(result.videoFrames, 60);
        EXPECT_NEAR(result.seconds, 2, 0.05);
        EXPECT_EQ(folder.read(name), before);
    }
}

TEST(MovieRepair, WhatCannotBeReadIsSaidAndLeftAlone) {
    const TemporaryFolder folder;
    EXPECT_EQ(refusalOf(folder / "missing.mov"),
              "missing.mov konnte nicht wiederhergestellt werden: Datei oder Ordner nicht gefunden.");
    folder.write("empty.mov", "");
    EXPECT_FALSE(refusalOf(folder / "empty.mov").empty());
    ASSERT_EQ(::mkfifo((folder / "pipe.mov").c_str(), 0600), 0);
    EXPECT_NE(refusalOf(folder / "pipe.mov").find("keine gewöhnliche Datei"), std::string::npos);
    EXPECT_FALSE(refusalOf(folder.path()).empty());

    // In fragments, but not of ours.
    TestMovieOptions options;
    options.fragmented = true;
    makeTestMovie(folder / "other.mov", options);
    const std::string other = folder.read("other.mov");
    EXPECT_EQ(refusalOf(folder / "other.mov"),
              "other.mov konnte nicht wiederhergestellt werden: Die Datei stammt nicht von dieser Anwendung.");
    EXPECT_EQ(folder.read("other.mov"), other);

    // A link leads out of the folder, perhaps to something of somebody else's.
    LiveMovieOptions live;
    live.pictureTicks = steadyTicks(30, 30);
    leaveUnfinished(folder / "left.mov", live);
    const std::string left = folder.read("left.mov");
    std::filesystem::create_symlink(folder / "left.mov", folder / "link.mov");
    EXPECT_NE(refusalOf(folder / "link.mov").find("symbolische"), std::string::npos);
    EXPECT_EQ(folder.read("left.mov"), left);
}

TEST(MovieRepair, DamageNeverDoesHarm) {
    const TemporaryFolder folder;
    LiveMovieOptions made;
    made.pictureTicks = steadyTicks(60, 30);
    made.soundTracks = 1;
    made.interval = {1, 2};
    leaveUnfinished(folder / "left.mov", made);
    const std::string whole = folder.read("left.mov");
    std::vector<std::size_t> indices;  // where damage tells: in the headers
    for (std::size_t at = 0; (at = whole.find("moo", at)) != std::string::npos; ++at) indices.push_back(at);
    ASSERT_GE(indices.size(), 4u);
    std::mt19937 random(23);
    int repaired = 0;
    for (int round = 0; round < 200; ++round) {
        std::string bytes = whole;
        for (int i = 0; i < 3; ++i) {
            const std::size_t at = indices[random() % indices.size()] + random() % 700;
            if (at < bytes.size()) bytes[at] = static_cast<char>(random());
        }
        folder.write("bad.mov", bytes);
        try {
            const MovieRepair result = repairMovie(folder / "bad.mov");
            EXPECT_GE(result.seconds, 0);
            EXPECT_LE(result.videoFrames, 60);
            if (result.repaired) ++repaired;
        } catch (const RecorderError& error) {
            EXPECT_FALSE(error.message().empty());
        }
    }
    EXPECT_GT(repaired, 0);
}

TEST(MovieRepair, ClaimsOfManySamplesTakeLittleMemory) {
    const TemporaryFolder folder;
    LiveMovieOptions made;
    made.pictureTicks = steadyTicks(60, 30);
    made.soundTracks = 1;
    leaveUnfinished(folder / "left.mov", made);
    const std::string whole = folder.read("left.mov");
    struct rusage before {};
    ASSERT_EQ(::getrusage(RUSAGE_SELF, &before), 0);
    for (const std::uint32_t claim : {0x100U, 0x10000U, 0x7fffffffU, 0xffffffffU}) {
        for (std::size_t at = 0; (at = whole.find("trun", at)) != std::string::npos; ++at) {
            std::string bytes = whole;
            for (std::size_t i = 0; i < 4; ++i) bytes[at + 8 + i] = static_cast<char>(claim >> (24 - 8 * i));
            folder.write("claim.mov", bytes);
            try {
                EXPECT_LE(repairMovie(folder / "claim.mov").videoFrames, 60);
            } catch (const RecorderError& error) {
                EXPECT_FALSE(error.message().empty());
            }
        }
    }
    struct rusage after {};
    ASSERT_EQ(::getrusage(RUSAGE_SELF, &after), 0);
    constexpr long kMegabyte = 1024;  // ru_maxrss counts in kilobytes
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 64 * kMegabyte);
}

}  // namespace
}  // namespace lumivastor::media
