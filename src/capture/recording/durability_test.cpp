// SPDX-License-Identifier: GPL-3.0-or-later

// What is on the disk when: the documents and all that they name before the journal goes.

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "capture/recording/recorder.h"
#include "support/recorder_rig.h"

namespace lumivastor::capture {
namespace {

struct Synced {
    std::filesystem::path path;
    bool hadJournal = false;  // beside it
    bool hadPointer = false;  // "pointer.json"
    bool hadCapture = false;  // "capture.json"
};

class SyncRecord {
  public:
    void add(int file) {
        std::array<char, 4096> name{};
        const std::string link = "/proc/self/fd/" + std::to_string(file);
        const ssize_t length = ::readlink(link.c_str(), name.data(), name.size());
        if (length <= 0) return;
        Synced synced;
        synced.path = std::string(name.data(), static_cast<std::size_t>(length));
        const auto folder = std::filesystem::is_directory(synced.path) ? synced.path : synced.path.parent_path();
        synced.hadJournal = std::filesystem::exists(folder / "journal");
        synced.hadPointer = std::filesystem::exists(folder / "pointer.json");
        synced.hadCapture = std::filesystem::exists(folder / "capture.json");
        const std::lock_guard hold(lock_);
        all_.push_back(std::move(synced));
    }
    std::vector<Synced> all() const {
        const std::lock_guard hold(lock_);
        return all_;
    }
    void clear() {
        const std::lock_guard hold(lock_);
        all_.clear();
    }

  private:
    mutable std::mutex lock_;
    std::vector<Synced> all_;  // guarded by lock_
};

// Never destroyed: threads may still write while the program's static objects go.
SyncRecord& syncRecord() {
    static auto* const record = new SyncRecord;
    return *record;
}

}  // namespace
}  // namespace lumivastor::capture

// In place of the C library's, in this test program: does the same and remembers it.
extern "C" int fsync(int file) {
    lumivastor::capture::syncRecord().add(file);
    return static_cast<int>(::syscall(SYS_fsync, file));
}

namespace lumivastor::capture {
namespace {

class RecordingDurability : public RecorderRig {
  protected:
    // The first that waited of the files whose names begin so.
    static auto firstNamed(const std::vector<Synced>& all, const std::string& beginning) {
        return std::find_if(all.begin(), all.end(), [&beginning](const Synced& each) {
            return each.path.filename().string().starts_with(beginning);
        });
    }
};

TEST_F(RecordingDurability, EverythingIsOnTheDiskBeforeTheJournalGoes) {
    Recorder::Options options;
    options.source = DisplaySource{mainDisplay()};
    desktop_.setCursor(cursor(1, 16, 16));
    Recorder recorder(services_, options, folder_);
    recorder.start();
    record(1, 320, 240);
    syncRecord().clear();
    std::optional<Recorder::Outcome> outcome;
    recorder.stop([&outcome](const Recorder::Outcome& given) { outcome = given; });
    ASSERT_TRUE(loop_.runUntil([&outcome] { return outcome.has_value(); }));

    const std::vector<Synced> all = syncRecord().all();
    const auto picture = firstNamed(all, "c0.png");
    const auto cursors = firstNamed(all, "cursors");
    const auto pointer = firstNamed(all, ".pointer.json.");
    const auto capture = firstNamed(all, ".capture.json.");
    for (const auto& each : {picture, cursors, pointer, capture}) ASSERT_NE(each, all.end());
    EXPECT_LT(picture, pointer);
    EXPECT_LT(cursors, pointer);
    EXPECT_LT(pointer, capture);
    EXPECT_FALSE(pointer->hadPointer) << "it takes its name afterwards";
    EXPECT_FALSE(capture->hadCapture) << "it takes its name afterwards";
    // The last of all is the folder with both names in it, and the journal.
    ASSERT_NE(capture + 1, all.end());
    EXPECT_EQ(all.back().path, std::filesystem::canonical(folder_));
    EXPECT_TRUE(all.back().hadPointer && all.back().hadCapture && all.back().hadJournal);
    EXPECT_FALSE(std::filesystem::exists(folder_ / "journal"));
}

}  // namespace
}  // namespace lumivastor::capture
