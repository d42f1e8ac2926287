// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "base/file_bytes.h"
#include "base/file_writer.h"
#include "base/system_error_text.h"
#include "support/temporary_folder.h"

namespace lumivastor {
namespace {

TEST(FileWriter, WhatIsWrittenIsReadBack) {
    const TemporaryFolder folder;
    std::string content;
    FileWriter writer(folder / "file");
    for (int i = 0; i < 50'000; ++i) {
        const std::string piece = std::to_string(i) + ";";
        content += piece;
        writer.write(piece);
    }
    ASSERT_FALSE(writer.finish());
    std::error_code error;
    EXPECT_EQ(readFile(folder / "file", 1 << 30, error).text(), content);
    EXPECT_FALSE(error);
}

TEST(FileWriter, ReplacesALongerFile) {
    const TemporaryFolder folder;
    folder.write("file", "a much longer content than the next one");
    FileWriter writer(folder / "file");
    writer.write("short");
    ASSERT_FALSE(writer.finish());
    EXPECT_EQ(folder.read("file"), "short");
}

TEST(FileWriter, TellsOfAFolderThatIsMissingAndOfAFullDisk) {
    const TemporaryFolder folder;
    FileWriter nowhere(folder / "missing" / "file");
    nowhere.write("x");
    EXPECT_EQ(nowhere.finish(), std::errc::no_such_file_or_directory);

    FileWriter full("/dev/full");
    full.write("x");
    EXPECT_EQ(full.finish(), std::errc::no_space_on_device);
}

TEST(ReadFile, RefusesWhatIsTooLongWithoutReadingIt) {
    const TemporaryFolder folder;
    folder.write("file", "12345");
    std::error_code error;
    EXPECT_EQ(readFile(folder / "file", 4, error).size(), 0u);
    EXPECT_EQ(error, std::errc::file_too_large);
    EXPECT_EQ(readFile(folder / "file", 5, error).text(), "12345");
    EXPECT_FALSE(error);
}

TEST(ReadFile, RefusesFoldersPipesAndDevicesAtOnce) {
    const TemporaryFolder folder;
    std::error_code error;
    readFile(folder.path(), 100, error);
    EXPECT_EQ(error, std::errc::is_a_directory);
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    readFile(folder / "pipe", 100, error);
    EXPECT_EQ(error, std::errc::not_supported);
    readFile("/dev/zero", 100, error);
    EXPECT_EQ(error, std::errc::not_supported);
    readFile(folder / "missing", 100, error);
    EXPECT_EQ(error, std::errc::no_such_file_or_directory);
}

TEST(ReadFile, PadsTheContentWithZeroes) {
    const TemporaryFolder folder;
    folder.write("file", "abc");
    std::error_code error;
    const FileBytes bytes = readFile(folder / "file", 100, error);
    for (std::size_t i = 0; i < FileBytes::kPadding; ++i) EXPECT_EQ(bytes.data()[3 + i], std::byte{0});
}

TEST(SystemErrorText, IsGermanForWhatUsersMeet) {
    EXPECT_EQ(systemErrorText(std::make_error_code(std::errc::no_space_on_device)), "Der Datenträger ist voll");
    EXPECT_EQ(systemErrorText(std::error_code(71, std::generic_category())), "Systemfehler 71");
}

}  // namespace
}  // namespace lumivastor
