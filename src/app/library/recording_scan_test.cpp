// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/library/recording_scan.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>

#include "base/unique_descriptor.h"
#include "model/capture_info.h"
#include "support/temporary_folder.h"

namespace lumivastor::app {
namespace {

namespace fs = std::filesystem;

bool never() {
    return false;
}

// Reading needs no real movie.
void makeRecording(const TemporaryFolder& root, const std::string& name, const model::CaptureInfo& info) {
    root.write(fs::path(name) / "source.mov", "movie");
    info.save(root / name);
}

model::CaptureInfo someInfo() {
    model::CaptureInfo info;
    info.createdAt = "2024-05-01T09:30:12Z";
    info.duration = 12.5;
    info.pixelWidth = 640;
    info.pixelHeight = 400;
    info.sourceKind = "display";
    return info;
}

UniqueDescriptor held(const fs::path& file) {
    UniqueDescriptor descriptor(::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    EXPECT_EQ(::flock(descriptor.get(), LOCK_EX | LOCK_NB), 0);
    return descriptor;
}

TEST(RecordingScan, ReadsWhatTheDocumentSays) {
    const TemporaryFolder root;
    model::CaptureInfo info = someInfo();
    makeRecording(root, "A", info);
    const auto entry = readRecording(root / "A");
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->state, RecordingState::complete);
    EXPECT_EQ(entry->name(), "A");
    EXPECT_EQ(entry->createdAt, 1'714'555'812);
    EXPECT_EQ(entry->duration, 12.5);
    EXPECT_EQ(entry->source, "Bildschirm");
    EXPECT_TRUE(entry->hasMovie);
    EXPECT_FALSE(entry->isEdited);
    EXPECT_FALSE(entry->renderedAt);
    EXPECT_FALSE(entry->bytes);

    info.sourceKind = "window";
    info.windowTitle = "Terminal";
    info.save(root / "A");
    EXPECT_EQ(readRecording(root / "A")->source, "Fenster „Terminal“");
}

TEST(RecordingScan, SeesEditsAndFilms) {
    const TemporaryFolder root;
    makeRecording(root, "A", someInfo());
    root.write("A/project.json", "{}");
    for (const char* other : {"webcam.mov", "test-output.mov", ".hidden.mp4", "notes.txt"}) {
        root.write(fs::path("A") / other, "x");
    }
    EXPECT_TRUE(readRecording(root / "A")->isEdited);
    EXPECT_FALSE(readRecording(root / "A")->renderedAt);
    fs::create_directory(root / "A/folder.mp4");
    EXPECT_FALSE(readRecording(root / "A")->renderedAt);

    using namespace std::chrono_literals;
    const auto now = fs::file_time_type::clock::now();
    root.write("A/studio-output.mov", "film");
    fs::last_write_time(root / "A/studio-output.mov", now - 3600s);
    const auto older = readRecording(root / "A")->renderedAt;
    ASSERT_TRUE(older);
    root.write("A/Kurzfassung.webm", "film");
    fs::last_write_time(root / "A/Kurzfassung.webm", now);
    EXPECT_EQ(readRecording(root / "A")->renderedAt.value() - *older, 3600) << "the newest counts";
}

TEST(RecordingScan, AnExportThatIsBeingWrittenHoldsItsFile) {
    const TemporaryFolder root;
    makeRecording(root, "A", someInfo());
    root.write("A/.lumivastor-export-1-0.part", "half");
    EXPECT_FALSE(readRecording(root / "A")->isBeingRendered) << "a program left it that has ended";
    const UniqueDescriptor writer = held(root / "A/.lumivastor-export-1-0.part");
    EXPECT_TRUE(readRecording(root / "A")->isBeingRendered);
}

TEST(RecordingScan, TheJournalTellsWhetherItIsStillRecorded) {
    const TemporaryFolder root;
    root.write("2025-03-14_09-05-33/source.mov", "fragments");
    root.write("2025-03-14_09-05-33/journal", "lines");
    const fs::path folder = root / "2025-03-14_09-05-33";
    {
        const UniqueDescriptor recorder = held(folder / "journal");
        EXPECT_TRUE(isInWork(folder));
        EXPECT_EQ(readRecording(folder)->state, RecordingState::inProgress);
    }
    const auto entry = readRecording(folder);
    EXPECT_EQ(entry->state, RecordingState::interrupted);
    EXPECT_FALSE(entry->duration);
    std::tm begun{};
    begun.tm_year = 125;
    begun.tm_mon = 2;
    begun.tm_mday = 14;
    begun.tm_hour = 9;
    begun.tm_min = 5;
    begun.tm_sec = 33;
    begun.tm_isdst = -1;
    EXPECT_EQ(entry->createdAt, std::mktime(&begun)) << "as its folder is named";
}

TEST(RecordingScan, DamageIsSaidInASentence) {
    const TemporaryFolder root;
    const auto faultOf = [&](const char* name) {
        const auto entry = readRecording(root / name);
        EXPECT_TRUE(entry) << name;
        EXPECT_EQ(entry->state, RecordingState::damaged) << name;
        EXPECT_TRUE(entry->createdAt) << name;
        return entry->fault;
    };
    root.write("no document/source.mov", "movie");
    EXPECT_EQ(faultOf("no document"), "capture.json fehlt.");
    makeRecording(root, "no movie", someInfo());
    fs::remove(root / "no movie/source.mov");
    EXPECT_EQ(faultOf("no movie"), "source.mov fehlt.");
    root.write("torn/source.mov", "movie");
    root.write("torn/capture.json", "{\"version\": 1");
    EXPECT_TRUE(faultOf("torn").starts_with("capture.json ist nicht lesbar: "));
    root.write("huge/source.mov", "movie");
    root.write("huge/capture.json", std::string((1U << 20) + 1, ' '));
    EXPECT_EQ(faultOf("huge"), "capture.json ist nicht lesbar: Die Datei ist zu groß.");
}

// None of these holds up the list.
TEST(RecordingScan, WhatIsNoRecordingIsLeftOut) {
    const TemporaryFolder root;
    makeRecording(root, "A", someInfo());
    makeRecording(root, ".hidden", someInfo());
    fs::create_directory(root / "countdown");
    root.write("photos/a.jpg", "x");
    root.write("file", "x");
    fs::create_symlink(root / "gone", root / "dangling");
    fs::create_symlink(root / "loop", root / "loop");
    fs::create_directory(root / "pipes");
    ASSERT_EQ(::mkfifo((root / "pipes/source.mov").c_str(), 0600), 0);
    ASSERT_EQ(::mkfifo((root / "pipes/capture.json").c_str(), 0600), 0);
    const FoundRecordings found = recordingsIn(root.path(), never);
    ASSERT_EQ(found.entries.size(), 1U);
    EXPECT_EQ(found.entries[0].folder, root / "A");
    EXPECT_FALSE(found.isCut);
    EXPECT_TRUE(recordingsIn(root / "not there", never).entries.empty());
    EXPECT_TRUE(recordingsIn(root / "file", never).entries.empty());
}

TEST(RecordingScan, APipeInPlaceOfADocumentIsNotWaitedFor) {
    const TemporaryFolder root;
    root.write("A/source.mov", "movie");
    for (const char* name : {"capture.json", "journal", "x.mp4", ".lumivastor-export-1-0.part"}) {
        ASSERT_EQ(::mkfifo((root / "A" / name).c_str(), 0600), 0);
    }
    const auto entry = readRecording(root / "A");
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->state, RecordingState::damaged);
    EXPECT_FALSE(entry->renderedAt);
}

TEST(RecordingScan, APlaceIsARecordingOrAFolderOfThem) {
    const TemporaryFolder root;
    makeRecording(root, "course/A", someInfo());
    makeRecording(root, "course/B", someInfo());
    EXPECT_EQ(recordingsIn(root / "course", never).entries.size(), 2U);
    const FoundRecordings one = recordingsIn(root / "course/B", never);
    ASSERT_EQ(one.entries.size(), 1U);
    EXPECT_EQ(one.entries[0].folder, root / "course/B");
    EXPECT_TRUE(recordingsIn(root.path(), never).entries.empty()) << "no deeper";
}

TEST(RecordingScan, FolderAfterFolderIsExaminedUpToALimit) {
    const TemporaryFolder root;
    for (std::size_t i = 0; i <= kMostFolders; ++i) fs::create_directory(root / std::to_string(i));
    EXPECT_TRUE(recordingsIn(root.path(), never).isCut);
}

TEST(RecordingScan, StopsWhenItShould) {
    const TemporaryFolder root;
    makeRecording(root, "A", someInfo());
    EXPECT_TRUE(recordingsIn(root.path(), [] { return true; }).entries.empty());
    EXPECT_EQ(bytesOnDisk(root.path(), [] { return true; }), std::nullopt);
}

TEST(RecordingScan, CountsTheSpaceOfAllFilesAndOfNoLink) {
    const TemporaryFolder root;
    const TemporaryFolder other;
    other.write("large", std::string(5'000'000, 'x'));
    root.write("A/source.mov", std::string(300'000, 'x'));
    root.write("A/cursors/c0.png", std::string(100'000, 'x'));
    const auto before = bytesOnDisk(root / "A", never);
    ASSERT_TRUE(before);
    EXPECT_GE(*before, 400'000U);
    EXPECT_LT(*before, 500'000U);
    fs::create_symlink(other / "large", root / "A/link");
    fs::create_directory_symlink(other.path(), root / "A/folder");
    EXPECT_LT(bytesOnDisk(root / "A", never).value(), 500'000U);
}

TEST(RecordingScan, TheStampFollowsFolderAndMovie) {
    const TemporaryFolder root;
    makeRecording(root, "A", someInfo());
    const auto stamp = readRecording(root / "A")->stamp;
    EXPECT_EQ(readRecording(root / "A")->stamp, stamp);
    root.write("A/source.mov", "a longer movie");
    EXPECT_NE(readRecording(root / "A")->stamp, stamp);
}

}  // namespace
}  // namespace lumivastor::app
