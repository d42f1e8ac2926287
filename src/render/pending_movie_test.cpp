// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/pending_movie.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "base/recorder_error.h"
#include "support/temporary_folder.h"

namespace lumivastor::render {
namespace {

namespace fs = std::filesystem;

std::string messageFor(const fs::path& target) {
    try {
        const PendingMovie movie(target);
    } catch (const RecorderError& error) {
        return error.message();
    }
    return "no error";
}

class PendingMovieTest : public testing::Test {
  protected:
    std::vector<std::string> names() const {
        std::vector<std::string> all;
        for (const auto& each : fs::directory_iterator(folder_.path())) all.push_back(each.path().filename());
        return all;
    }
    mode_t modeOf(const fs::path& name) const {
        struct stat status {};
        EXPECT_EQ(::stat((folder_ / name).c_str(), &status), 0);
        return status.st_mode & 0777U;
    }

    // A process that makes such a file, keeps it for as long as `keep` is, and is then killed.
    pid_t startedMaker() const {
        int ready[2];
        EXPECT_EQ(::pipe(ready), 0);
        const pid_t child = ::fork();
        if (child == 0) {
            const PendingMovie movie(folder_ / "film.mp4");
            if (::write(ready[1], "x", 1) != 1) ::_exit(1);
            for (;;) ::pause();
        }
        char byte = 0;
        EXPECT_EQ(::read(ready[0], &byte, 1), 1);
        ::close(ready[0]);
        ::close(ready[1]);
        return child;
    }
    static void kill(pid_t child) {
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
    }

    TemporaryFolder folder_;
};

TEST_F(PendingMovieTest, TakesThePlaceOnlyWhenItIsTold) {
    folder_.write("film.mp4", "old");
    {
        PendingMovie movie(folder_ / "film.mp4");
        EXPECT_EQ(movie.path().parent_path(), folder_.path());
        EXPECT_TRUE(movie.path().filename().string().starts_with(".lumivastor-export-"));
        EXPECT_TRUE(movie.path().filename().string().ends_with(".part"));
        folder_.write(movie.path().filename(), "new");
        EXPECT_EQ(folder_.read("film.mp4"), "old");
        movie.putInPlace();
        EXPECT_EQ(folder_.read("film.mp4"), "new");
    }
    EXPECT_EQ(names(), std::vector<std::string>{"film.mp4"});
    {
        const PendingMovie movie(folder_ / "film.mp4");
        folder_.write(movie.path().filename(), "half");
    }
    EXPECT_EQ(folder_.read("film.mp4"), "new");
    EXPECT_EQ(names(), std::vector<std::string>{"film.mp4"});
}

TEST_F(PendingMovieTest, IsItsOwnersAloneUnlessTheEarlierOneWasNot) {
    const auto replace = [&] {
        PendingMovie movie(folder_ / "film.mp4");
        EXPECT_EQ(modeOf(movie.path().filename()), 0600U);
        movie.putInPlace();
    };
    replace();
    EXPECT_EQ(modeOf("film.mp4"), 0600U);
    fs::permissions(folder_ / "film.mp4", fs::perms{0644});
    replace();
    EXPECT_EQ(modeOf("film.mp4"), 0644U);
}

TEST_F(PendingMovieTest, WhatEndedProgramsLeftGoesAndWhatIsAtWorkStays) {
    const pid_t dead = startedMaker();
    kill(dead);
    ASSERT_EQ(names().size(), 1U);
    const std::string left = names()[0];
    const pid_t alive = startedMaker();
    ASSERT_EQ(names().size(), 1U) << "the second maker removed what the first one left";
    const std::string atWork = names()[0];
    EXPECT_NE(atWork, left);
    {
        const PendingMovie one(folder_ / "film.mp4");
        const PendingMovie two(folder_ / "film.mov");
        EXPECT_NE(one.path(), two.path());
        EXPECT_TRUE(fs::exists(one.path())) << "also this process's own stay";
        EXPECT_TRUE(fs::exists(folder_ / atWork));
    }
    kill(alive);
    EXPECT_EQ(names(), std::vector<std::string>{atWork});
    { const PendingMovie last(folder_ / "film.mp4"); }
    EXPECT_EQ(names(), std::vector<std::string>{});
}

TEST_F(PendingMovieTest, OtherFilesAreNobodysLeftovers) {
    const std::vector<std::string> others = {
        ".lumivastor-export-.part",      ".lumivastor-export-12-0.part~",     ".lumivastor-export-12-0.partly.part",
        ".lumivastor-export-a-b.part",   ".lumivastor-export-12-0",           "lumivastor-export-12-0.part",
        ".lumivastor-export--12-0.part", ".lumivastor-export-12-0-7.part.txt"};
    for (const std::string& name : others) folder_.write(name, "somebody's");
    // Names like ours, but no plain files.
    fs::create_directory(folder_ / ".lumivastor-export-1-0.part");
    folder_.write("kept", "linked to");
    fs::create_symlink("kept", folder_ / ".lumivastor-export-2-0.part");
    ASSERT_EQ(::mkfifo((folder_ / ".lumivastor-export-3-0.part").c_str(), 0600), 0);
    { const PendingMovie movie(folder_ / "film.mp4"); }
    for (const std::string& name : others) EXPECT_TRUE(fs::exists(folder_ / name)) << name;
    EXPECT_EQ(names().size(), others.size() + 4);
    EXPECT_EQ(folder_.read("kept"), "linked to");
}

TEST_F(PendingMovieTest, ALinkInThePlaceIsReplacedAndNotFollowed) {
    folder_.write("elsewhere", "kept");
    fs::create_symlink("elsewhere", folder_ / "film.mp4");
    PendingMovie movie(folder_ / "film.mp4");
    folder_.write(movie.path().filename(), "new");
    movie.putInPlace();
    EXPECT_EQ(folder_.read("elsewhere"), "kept");
    EXPECT_FALSE(fs::is_symlink(folder_ / "film.mp4"));
    EXPECT_EQ(folder_.read("film.mp4"), "new");
}

TEST_F(PendingMovieTest, WhatAFilmDoesNotReplaceIsSaidBeforehand) {
    fs::create_directory(folder_ / "folder.mp4");
    fs::create_directory_symlink("folder.mp4", folder_ / "link.mp4");
    ASSERT_EQ(::mkfifo((folder_ / "pipe.mp4").c_str(), 0600), 0);
    fs::create_symlink("/dev/null", folder_ / "device.mp4");
    EXPECT_EQ(messageFor(folder_ / "folder.mp4"),
              "folder.mp4 kann nicht ersetzt werden: Ein Ordner steht an der Stelle der Datei.");
    EXPECT_EQ(messageFor(folder_ / "link.mp4"),
              "link.mp4 kann nicht ersetzt werden: Ein Ordner steht an der Stelle der Datei.");
    EXPECT_EQ(messageFor(folder_ / "pipe.mp4"), "pipe.mp4 kann nicht ersetzt werden: Das ist keine gewöhnliche Datei.");
    EXPECT_EQ(messageFor(folder_ / "device.mp4"),
              "device.mp4 kann nicht ersetzt werden: Das ist keine gewöhnliche Datei.");
    EXPECT_EQ(messageFor(folder_ / "missing" / "film.mp4"),
              "film.mp4 konnte nicht angelegt werden: Datei oder Ordner nicht gefunden.");
    EXPECT_EQ(names().size(), 4U);
}

TEST_F(PendingMovieTest, AnObstacleThatComesLaterLeavesNothingBehind) {
    std::string message;
    {
        PendingMovie movie(folder_ / "film.mp4");
        fs::create_directory(folder_ / "film.mp4");
        try {
            movie.putInPlace();
        } catch (const RecorderError& error) {
            message = error.message();
        }
    }
    EXPECT_EQ(message, "film.mp4 konnte nicht ersetzt werden: Ein Ordner steht an der Stelle der Datei.");
    EXPECT_EQ(names(), std::vector<std::string>{"film.mp4"});
}

}  // namespace
}  // namespace lumivastor::render
