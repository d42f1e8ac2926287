// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/interrupted_recordings.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>

#include <new>

#include "base/unique_descriptor.h"
#include "capture/journal/journal_records.h"
#include "support/temporary_folder.h"

namespace lumivastor::app {
namespace {

TEST(InterruptedRecordings, AreTheFoldersWithAMovieAndAJournal) {
    const TemporaryFolder root;
    const std::string journal = capture::kJournalName;
    root.write("b/source.mov", "");
    root.write("b/" + journal, "");
    root.write("a/source.mov", "");
    root.write("a/" + journal, "");
    root.write("finished/source.mov", "");
    root.write("empty/" + journal, "");
    root.write("deep/er/source.mov", "");
    root.write("deep/er/" + journal, "");
    root.write(journal, "");
    EXPECT_EQ(interruptedRecordings(root.path()), (std::vector{root / "a", root / "b"}));
    EXPECT_TRUE(interruptedRecordings(root / "missing").empty());
}

TEST(InterruptedRecordings, OneThatIsStillBeingRecordedIsNotInterrupted) {
    const TemporaryFolder root;
    const std::string journal = std::string("a/") + capture::kJournalName;
    root.write("a/source.mov", "");
    root.write(journal, "");
    {
        const UniqueDescriptor recorder(::open((root / journal).c_str(), O_RDONLY | O_CLOEXEC));
        ASSERT_EQ(::flock(recorder.get(), LOCK_EX | LOCK_NB), 0);
        EXPECT_TRUE(interruptedRecordings(root.path()).empty());
    }
    EXPECT_EQ(interruptedRecordings(root.path()).size(), 1U);
}

TEST(InterruptedNotices, NameTheOneOrTheNewest) {
    EXPECT_EQ(completingNotice({"/m/2025-03-14_09-05-33"}),
              (Notice{"Eine unterbrochene Aufnahme wird abgeschlossen: 2025-03-14_09-05-33", ""}));
    EXPECT_EQ(completingNotice({"/m/alt", "/m/neu"}),
              (Notice{"2 unterbrochene Aufnahmen werden abgeschlossen, zuletzt neu", ""}));
}

TEST(InterruptedNotices, OfferWhatIsLeftToDo) {
    CompletionReport report;
    EXPECT_FALSE(completionNotice(report));
    report.completed = {"/m/a"};
    EXPECT_EQ(completionNotice(report), (Notice{"Eine unterbrochene Aufnahme wurde abgeschlossen: a", "Zeigen"}));
    report.completed.emplace_back("/m/b");
    report.failures.push_back({"/m/c", "Nicht zu retten."});
    EXPECT_EQ(completionNotice(report), (Notice{"2 unterbrochene Aufnahmen wurden abgeschlossen.\n"
                                                "Eine Aufnahme wurde unterbrochen: c. Nicht zu retten.",
                                                "Abschließen"}));
}

TEST(CompleteRecordings, GoesOnBehindOneThatFails) {
    const auto recover = [](const std::filesystem::path& folder) -> capture::Recovery {
        if (folder == "/m/b") throw RecorderError("Nicht zu retten.");
        if (folder == "/m/d") throw std::bad_alloc();
        return {{.duration = 2.5, .framesWritten = 150}, true};
    };
    const CompletionReport report = completeRecordings({"/m/a", "/m/b", "/m/c"}, recover);
    EXPECT_EQ(report.completed, (std::vector<std::filesystem::path>{"/m/a", "/m/c"}));
    EXPECT_EQ(completionText(report), "2 Aufnahmen abgeschlossen.\nb: Nicht zu retten.");
    std::stop_source stop;
    stop.request_stop();
    EXPECT_TRUE(completeRecordings({"/m/a", "/m/b"}, recover, stop.get_token()).completed.empty());
    EXPECT_EQ(completionText(completeRecordings({"/m/b"}, recover)), "b: Nicht zu retten.");
    EXPECT_EQ(completionText(completeRecordings({"/m/d"}, recover)), "d: Der Arbeitsspeicher reicht nicht.");
    EXPECT_EQ(completionText(completeRecordings({"/m/a"}, recover)), "Abgeschlossen: 2.5 s, 150 Bilder\nOrdner: /m/a");
}

}  // namespace
}  // namespace lumivastor::app
