// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/exports/export_list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace lumivastor::editor {
namespace {

ExportEntry entry(const std::string& folder, const std::string& file = "studio-output.mp4") {
    ExportEntry made;
    made.folder = folder;
    made.file = std::filesystem::path(folder) / file;
    return made;
}

std::vector<int> ids(const ExportList& list) {
    std::vector<int> found;
    for (const ExportEntry& each : list.entries()) found.push_back(each.id);
    return found;
}

TEST(ExportList, OneRunsAfterTheOther) {
    ExportList list;
    EXPECT_EQ(list.next(), nullptr);
    EXPECT_FALSE(list.isBusy());
    const int first = list.add(entry("/a"));
    const int second = list.add(entry("/b"));
    ASSERT_NE(list.next(), nullptr);
    EXPECT_EQ(list.next()->id, first);
    list.start(first);
    EXPECT_EQ(list.next(), nullptr);
    EXPECT_EQ(list.running()->id, first);
    EXPECT_EQ(list.unfinished(), 2);
    list.finish(first, 12.5, 3);
    EXPECT_EQ(list.next()->id, second);
    EXPECT_EQ(list.find(first)->seconds, 12.5);
    list.start(second);
    list.fail(second, "Kein Platz.");
    EXPECT_EQ(list.next(), nullptr);
    EXPECT_FALSE(list.isBusy());
    EXPECT_EQ(list.find(second)->reason, "Kein Platz.");
}

TEST(ExportList, ProgressNeverFalls) {
    ExportList list;
    const int id = list.add(entry("/a"));
    list.start(id);
    list.setProgress(id, 0.5, 10);
    list.setProgress(id, 0.2, std::nullopt);
    EXPECT_EQ(list.find(id)->fraction, 0.5);
    EXPECT_EQ(list.find(id)->remaining, std::nullopt);
}

TEST(ExportList, OnlyWhatWaitsChangesItsPlace) {
    ExportList list;
    const int running = list.add(entry("/a"));
    list.start(running);
    const int one = list.add(entry("/b"));
    const int two = list.add(entry("/c"));
    list.move(one, true);
    EXPECT_EQ(ids(list), (std::vector{running, one, two})) << "nothing passes what runs";
    list.move(two, true);
    EXPECT_EQ(ids(list), (std::vector{running, two, one}));
    list.move(two, true);
    list.move(one, false);
    list.move(running, false);
    list.move(99, true);
    EXPECT_EQ(ids(list), (std::vector{running, two, one}));
    list.cancelled(two);
    list.move(one, true);
    EXPECT_EQ(ids(list), (std::vector{running, two, one})) << "what has ended is no neighbour";
}

TEST(ExportList, SaysWhatCanBeDone) {
    ExportList list;
    const int running = list.add(entry("/a"));
    list.start(running);
    const int one = list.add(entry("/b"));
    const int two = list.add(entry("/c"));
    using Actions = ExportList::Actions;
    EXPECT_EQ(list.actions(running), (Actions{.cancel = true}));
    EXPECT_EQ(list.actions(one), (Actions{.cancel = true, .moveDown = true}));
    EXPECT_EQ(list.actions(two), (Actions{.cancel = true, .moveUp = true}));
    list.setCancelling(running);
    EXPECT_EQ(list.actions(running), Actions{});
    list.cancelled(running);
    EXPECT_EQ(list.actions(running), (Actions{.remove = true}));
    list.start(one);
    list.finish(one, 1, 0);
    EXPECT_EQ(list.actions(one), (Actions{.remove = true, .play = true, .reveal = true}));
    EXPECT_EQ(list.actions(99), Actions{});
}

TEST(ExportList, OnlyWhatHasEndedIsRemoved) {
    ExportList list;
    const int one = list.add(entry("/a"));
    const int two = list.add(entry("/b"));
    list.remove(one);
    EXPECT_EQ(ids(list), (std::vector{one, two}));
    list.cancelled(one);
    list.remove(one);
    EXPECT_EQ(ids(list), std::vector{two});
    list.start(two);
    list.removeFinished();
    EXPECT_EQ(ids(list), std::vector{two});
    list.finish(two, 1, 0);
    list.removeFinished();
    EXPECT_TRUE(list.entries().empty());
    EXPECT_GT(list.add(entry("/c")), two) << "numbers do not come again";
}

TEST(ExportList, KnowsWhichFilesAreWritten) {
    ExportList list;
    const int id = list.add(entry("/a", "film.webm"));
    EXPECT_NE(list.writing("/a/film.webm"), nullptr);
    EXPECT_NE(list.writing("/a/../a/./film.webm"), nullptr);
    EXPECT_EQ(list.writing("/a/film.gif"), nullptr);
    list.cancelled(id);
    EXPECT_EQ(list.writing("/a/film.webm"), nullptr);
}

TEST(ExportList, AnEditorShowsWhatRunsOrElseWhatComesFirst) {
    ExportList list;
    EXPECT_EQ(list.shownFor("/a"), nullptr);
    const int other = list.add(entry("/b"));
    const int first = list.add(entry("/a"));
    const int second = list.add(entry("/a", "film.gif"));
    EXPECT_EQ(list.shownFor("/a")->id, first);
    list.cancelled(other);
    list.move(second, true);
    EXPECT_EQ(list.shownFor("/a")->id, second);
    list.start(first);
    EXPECT_EQ(list.shownFor("/a")->id, first);
    EXPECT_EQ(list.shownFor("/b"), nullptr);
}

// Whatever is done in whatever order, at most one runs, and no entry is lost or doubled.
TEST(ExportList, StaysWholeInEveryOrder) {
    std::mt19937 random(5);
    ExportList list;
    std::size_t expected = 0;
    for (int step = 0; step < 5000; ++step) {
        const int id = list.entries().empty() ? 0 : list.entries()[random() % list.entries().size()].id;
        const ExportEntry* const chosen = list.find(id);
        switch (random() % 6) {
            case 0:
                if (expected < 12) ++expected, list.add(entry("/" + std::to_string(step)));
                break;
            case 1:
                list.move(id, random() % 2 == 0);
                break;
            case 2:
                if (const ExportEntry* next = list.next()) list.start(next->id);
                break;
            case 3:
                if (const ExportEntry* running = list.running()) list.finish(running->id, 1, 0);
                break;
            case 4:
                if (chosen != nullptr && chosen->state == ExportState::waiting) list.cancelled(id);
                break;
            default:
                if (list.actions(id).remove) --expected;
                list.remove(id);
        }
        ASSERT_EQ(list.entries().size(), expected);
        int running = 0;
        for (const ExportEntry& each : list.entries()) running += each.state == ExportState::running ? 1 : 0;
        ASSERT_LE(running, 1);
        auto sorted = ids(list);
        std::sort(sorted.begin(), sorted.end());
        ASSERT_EQ(std::adjacent_find(sorted.begin(), sorted.end()), sorted.end());
    }
}

}  // namespace
}  // namespace lumivastor::editor
