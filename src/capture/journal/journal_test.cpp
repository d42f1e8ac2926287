// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/journal/journal.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "base/log.h"
#include "base/recorder_error.h"
#include "base/unique_descriptor.h"
#include "capture/journal/journal_records.h"
#include "support/await.h"
#include "support/temporary_folder.h"
#include "support/text_file.h"

namespace lumivastor::capture {
namespace {

std::string begin() {
    model::CaptureInfo info;
    info.sourceKind = "display";
    info.pixelWidth = 640;
    info.pixelHeight = 480;
    return journalLine::start(info, {});
}

RawEvent eventAt(double t) {
    return {t, {1, 2}, model::PointerKind::move, {}, {}, {}};
}

TEST(Journal, WritesByItselfAfterAMoment) {
    const TemporaryFolder folder;
    Journal journal(folder.path());
    const auto holds = [&folder](std::size_t events) {
        try {
            return loadJournal(folder.path()).pointer.events.size() == events;
        } catch (const RecorderError&) {
            return false;  // nothing yet
        }
    };
    journal.append(begin());
    journal.append(journalLine::event(eventAt(3)));
    EXPECT_TRUE(await(30, [&] { return holds(1); }));
    journal.append(journalLine::event(eventAt(4)));
    EXPECT_TRUE(await(30, [&] { return holds(2); }));
}

TEST(Journal, WritesTheRestWhenItEnds) {
    const TemporaryFolder folder;
    {
        Journal journal(folder.path());
        journal.append(begin());
        journal.append(journalLine::event(eventAt(3)));
    }
    EXPECT_EQ(loadJournal(folder.path()).pointer.events.size(), 1u);
}

TEST(Journal, ReplacesAnOldOne) {
    const TemporaryFolder folder;
    folder.write("journal", std::string(10'000, 'x'));
    { Journal journal(folder.path()); }
    EXPECT_EQ(folder.read("journal"), journalLine::header());
}

TEST(Journal, IsGoneWhenItIsNotNeededAnyMore) {
    const TemporaryFolder folder;
    Journal journal(folder.path());
    journal.append(begin());
    journal.remove();
    EXPECT_FALSE(std::filesystem::exists(folder / "journal"));
    journal.append(begin());  // too late, and harmless
}

TEST(Journal, LinesOfManyThreadsStayWhole) {
    const TemporaryFolder folder;
    {
        Journal journal(folder.path());
        journal.append(begin());
        std::vector<std::thread> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads.emplace_back([&journal] {
                for (int i = 0; i < 5000; ++i) journal.append(journalLine::event(eventAt(i)));
            });
        }
        for (auto& thread : threads) thread.join();
    }
    const JournalContent content = loadJournal(folder.path());
    EXPECT_EQ(content.pointer.events.size(), 20'000u);
    EXPECT_EQ(content.damagedLines, 0);
}

TEST(Journal, IsLockedWhileTheRecordingRuns) {
    const TemporaryFolder folder;
    const auto isLocked = [&folder] {
        const UniqueDescriptor file(::open((folder / "journal").c_str(), O_RDONLY | O_CLOEXEC));
        return ::flock(file.get(), LOCK_EX | LOCK_NB) != 0;
    };
    {
        Journal journal(folder.path());
        EXPECT_TRUE(isLocked());
    }
    EXPECT_FALSE(isLocked());
}

TEST(Journal, AFolderThatTakesNoneIsNobodysProblem) {
    const TemporaryFolder folder;
    Log::drain();
    std::filesystem::remove(Log::url());
    Journal journal(folder / "fehlt");
    journal.append(begin());
    journal.remove();
    EXPECT_TRUE(std::filesystem::is_empty(folder.path())) << "it makes no folder";
    Log::drain();
    const std::string log = readText(Log::url());
    EXPECT_NE(log.find("Journal konnte nicht angelegt werden: "), std::string::npos) << log;
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 1) << "one line for all that is not written: " << log;
}

}  // namespace
}  // namespace lumivastor::capture
