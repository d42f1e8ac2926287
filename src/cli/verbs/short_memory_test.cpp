// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "media/reading/asset.h"
#include "support/program_run.h"
#include "support/small_recording.h"
#include "support/temporary_folder.h"

// The whole program with little memory, libraries included: limits of its address space, as `ulimit -v` sets them. Not
// in sanitized builds.

namespace lumivastor::cli {
namespace {

namespace fs = std::filesystem;

Outcome runWithin(int megabytes, const std::vector<std::string>& words) {
    std::vector<std::string> all = {"/bin/sh", "-c", "ulimit -v \"$0\" && exec \"$@\"",
                                    std::to_string(megabytes * 1024), LUMI_PROGRAM};
    all.insert(all.end(), words.begin(), words.end());
    return runProgram(all);
}

// What the program and its libraries take before it does anything, in megabytes.
int leastForAnything() {
    int tooLittle = 32;
    int enough = 1024;
    while (enough - tooLittle > 2) {
        const int middle = (enough + tooLittle) / 2;
        (runWithin(middle, {"--version"}).status == 0 ? enough : tooLittle) = middle;
    }
    return enough;
}

class ShortMemory : public testing::Test {
  protected:
    ShortMemory() { makeSmallRecording(folder_.path(), kPictures, 360); }

    // How many of these limits gave a film.
    int filmsWithin(const std::vector<int>& limits, const std::string& verb, const std::string& film) {
        int films = 0;
        for (const int limit : limits) {
            SCOPED_TRACE(testing::Message() << verb << " within " << limit << " MB");
            folder_.write(film, "earlier");
            const auto before = files();
            const Outcome outcome = runWithin(limit, {verb, folder_.path().string()});
            EXPECT_TRUE(outcome.status == 0 || outcome.status == 1) << outcome.status << ": " << outcome.err;
            EXPECT_EQ(files(), before);
            if (outcome.status == 0) {
                ++films;
                const media::Asset movie(folder_ / film);
                EXPECT_EQ(movie.tracks().size(), 2u);
                EXPECT_EQ(movie.tracks(media::TrackKind::video).at(0).sampleCount, kPictures);
            } else {
                EXPECT_EQ(folder_.read(film), "earlier");
                EXPECT_TRUE(outcome.err.ends_with(".\n")) << outcome.err;
            }
        }
        return films;
    }

    static constexpr int kPictures = 15;

  private:
    std::size_t files() const {
        const fs::directory_iterator all(folder_.path());
        return static_cast<std::size_t>(std::distance(begin(all), end(all)));
    }

    TemporaryFolder folder_;
};

TEST_F(ShortMemory, ExportsEndWithAFilmOrASentence) {
    const int least = leastForAnything();
    std::vector<int> limits;
    for (const int more : {2, 25, 60, 110, 250}) limits.push_back(least + more);
    limits.push_back(least + 4000);
    for (const auto& [verb, film] : {std::pair("render", "studio-output.mp4"), std::pair("check", "test-output.mov")}) {
        const int films = filmsWithin(limits, verb, film);
        EXPECT_GE(films, 1) << "the last limit is none";
        EXPECT_LT(films, static_cast<int>(limits.size())) << "the first one is too small for anything";
    }
}

}  // namespace
}  // namespace lumivastor::cli
