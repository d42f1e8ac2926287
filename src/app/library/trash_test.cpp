// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/library/trash.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "base/recorder_error.h"
#include "support/temporary_folder.h"

namespace lumivastor::app {
namespace {

namespace fs = std::filesystem;

std::time_t someTime() {
    std::tm time{};
    time.tm_year = 125;
    time.tm_mon = 2;
    time.tm_mday = 14;
    time.tm_hour = 9;
    time.tm_min = 5;
    time.tm_sec = 33;
    time.tm_isdst = -1;
    return std::mktime(&time);
}

unsigned modeOf(const fs::path& path) {
    struct stat status {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777U;
}

TEST(Trash, PathsArePercentEncoded) {
    EXPECT_EQ(trashPath("/home/a/Movies/Übung 7 & 8 (50%).x_y~z-"),
              "/home/a/Movies/%C3%9Cbung%207%20%26%208%20%2850%25%29.x_y~z-");
    EXPECT_EQ(trashPath("a\nb\xff"), "a%0Ab%FF");
}

TEST(Trash, InformationHasPathAndLocalTime) {
    EXPECT_EQ(trashInfo("/a b", someTime()), "[Trash Info]\nPath=/a%20b\nDeletionDate=2025-03-14T09:05:33\n");
}

TEST(Trash, TheHomeTrashIsWhereDataIs) {
    ASSERT_EQ(::setenv("XDG_DATA_HOME", "/data", 1), 0);
    EXPECT_EQ(homeTrash(), "/data/Trash");
    ASSERT_EQ(::setenv("XDG_DATA_HOME", "relative", 1), 0);
    EXPECT_EQ(homeTrash(), fs::path(std::getenv("HOME")) / ".local/share/Trash");
    ASSERT_EQ(::unsetenv("XDG_DATA_HOME"), 0);
    EXPECT_EQ(homeTrash(), fs::path(std::getenv("HOME")) / ".local/share/Trash");
}

TEST(Trash, AFolderGoesThereWhole) {
    const TemporaryFolder home;
    home.write("Movies/Übung 7/source.mov", "movie");
    home.write("Movies/Übung 7/cursors/c0.png", "png");
    const fs::path trash = home / "data/Trash";
    moveToTrash(home / "Movies/Übung 7", trash, someTime());
    EXPECT_FALSE(fs::exists(home / "Movies/Übung 7"));
    EXPECT_EQ(home.read("data/Trash/files/Übung 7/source.mov"), "movie");
    EXPECT_EQ(home.read("data/Trash/files/Übung 7/cursors/c0.png"), "png");
    EXPECT_EQ(home.read("data/Trash/info/Übung 7.trashinfo"),
              trashInfo((fs::canonical(home.path()) / "Movies/Übung 7").string(), someTime()));
    EXPECT_EQ(modeOf(trash), 0700U);
    EXPECT_EQ(modeOf(trash / "files"), 0700U);
    EXPECT_EQ(modeOf(trash / "info"), 0700U);
    EXPECT_EQ(modeOf(trash / "info/Übung 7.trashinfo"), 0600U);
}

TEST(Trash, NothingInTheTrashIsReplaced) {
    const TemporaryFolder home;
    const fs::path trash = home / "Trash";
    // What another program has left without information, and information without anything.
    home.write("Trash/files/A/old", "old");
    home.write("Trash/info/A.1.trashinfo", "old");
    for (int i = 0; i < 3; ++i) {
        home.write("A/number", std::to_string(i));
        moveToTrash(home / "A", trash, someTime());
    }
    EXPECT_EQ(home.read("Trash/files/A/old"), "old");
    EXPECT_EQ(home.read("Trash/info/A.1.trashinfo"), "old");
    EXPECT_FALSE(fs::exists(trash / "info/A.trashinfo"));
    for (int i = 0; i < 3; ++i) {
        const std::string name = "A." + std::to_string(i + 2);
        EXPECT_EQ(home.read("Trash/files/" + name + "/number"), std::to_string(i));
        EXPECT_EQ(home.read("Trash/info/" + name + ".trashinfo"),
                  trashInfo((fs::canonical(home.path()) / "A").string(), someTime()));
    }
}

TEST(Trash, LongNamesAreShortenedBetweenLetters) {
    const TemporaryFolder home;
    std::string name = "x";
    while (name.size() + 2 <= 255) name += "ü";
    fs::create_directory(home / name);
    const fs::path place = moveIntoTrash(home / name, home / "Trash", "/somewhere", someTime());
    const std::string kept = place.filename().string();
    EXPECT_LT(kept.size(), 255U);
    EXPECT_TRUE(name.starts_with(kept));
    EXPECT_EQ(kept.size() % 2, 1U) << "no half letter";
    EXPECT_TRUE(fs::exists(home / "Trash/info" / (kept + ".trashinfo")));
}

TEST(Trash, AFailureChangesNothing) {
    const TemporaryFolder home;
    home.write("A/source.mov", "movie");
    home.write("Trash", "a file in the way");
    EXPECT_THROW(moveToTrash(home / "A", home / "Trash", someTime()), RecorderError);
    EXPECT_EQ(home.read("A/source.mov"), "movie");
    try {
        moveToTrash(home / "gone", home / "Data/Trash", someTime());
        ADD_FAILURE();
    } catch (const RecorderError& error) {
        EXPECT_EQ(error.message(),
                  "„gone“ lässt sich nicht in den Papierkorb verschieben: Datei oder Ordner nicht gefunden.");
    }
    EXPECT_TRUE(fs::is_empty(home / "Data/Trash/info")) << "no information about nothing";
}

TEST(Trash, AVolumeHasItsOwn) {
    const TemporaryFolder top;
    const uid_t user = ::getuid();
    const std::string number = std::to_string(user);
    EXPECT_EQ(volumeTrash(top.path(), user), top / (".Trash-" + number));
    EXPECT_EQ(modeOf(top / (".Trash-" + number)), 0700U);

    // One for everybody counts only with the sticky bit and if it is no link.
    fs::create_directory(top / ".Trash");
    EXPECT_EQ(volumeTrash(top.path(), user), top / (".Trash-" + number));
    ASSERT_EQ(::chmod((top / ".Trash").c_str(), 01777), 0);
    EXPECT_EQ(volumeTrash(top.path(), user), top / ".Trash" / number);
    EXPECT_EQ(modeOf(top / ".Trash" / number), 0700U);
    fs::rename(top / ".Trash", top / "other");
    fs::create_directory_symlink(top / "other", top / ".Trash");
    EXPECT_EQ(volumeTrash(top.path(), user), top / (".Trash-" + number));

    // Another user's folder, or none, is no trash.
    EXPECT_EQ(volumeTrash(top.path(), user + 1), std::nullopt);
    fs::remove(top / (".Trash-" + number));
    top.write(".Trash-" + number, "a file in the way");
    EXPECT_EQ(volumeTrash(top.path(), user), std::nullopt);
}

// Shared memory is a file system of its own on every Linux.
TEST(Trash, OnAnotherFileSystemItGoesIntoThatOnesTrash) {
    const TemporaryFolder home;
    std::string name = "/dev/shm/lumivastor-trash-XXXXXX";
    ASSERT_NE(::mkdtemp(name.data()), nullptr);
    const fs::path folder = fs::path(name) / "Übung";
    fs::create_directory(folder);
    struct stat here {
    }, there{};
    ASSERT_EQ(::stat(home.path().c_str(), &here), 0);
    ASSERT_EQ(::stat(name.c_str(), &there), 0);
    ASSERT_NE(here.st_dev, there.st_dev);
    const bool hadTrash = fs::exists("/dev/shm/.Trash-" + std::to_string(::getuid()));
    const auto trash = volumeTrash("/dev/shm", ::getuid());
    ASSERT_TRUE(trash);
    moveToTrash(folder, home / "Trash", someTime());
    EXPECT_FALSE(fs::exists(folder));
    EXPECT_FALSE(fs::exists(home / "Trash"));
    bool found = false;
    for (const auto& entry : fs::directory_iterator(*trash / "info")) {
        const TemporaryFolder reader;
        fs::copy_file(entry.path(), reader / "info");
        const std::string text = reader.read("info");
        // The path is relative to the file system's top folder.
        if (text != trashInfo((fs::path(name).filename() / "Übung").string(), someTime())) continue;
        found = true;
        const fs::path item = *trash / "files" / entry.path().stem();
        EXPECT_TRUE(fs::is_directory(item));
        fs::remove_all(item);
        fs::remove(entry.path());
        break;
    }
    EXPECT_TRUE(found);
    if (!hadTrash) fs::remove_all(*trash);
    fs::remove_all(name);
}

}  // namespace
}  // namespace lumivastor::app
