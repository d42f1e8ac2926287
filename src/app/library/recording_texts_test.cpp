// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/library/recording_texts.h"

#include <gtest/gtest.h>

#include <limits>

namespace lumivastor::app {
namespace {

constexpr const char* kRoot = "/home/a/Movies/LumiVastor";

RecordingEntry complete() {
    RecordingEntry entry;
    entry.folder = std::filesystem::path(kRoot) / "Übung";
    entry.source = "Bildschirm";
    entry.duration = 83.4;
    entry.bytes = 12'400'000;
    return entry;
}

TEST(RecordingTexts, LengthsAreMinutesOrHours) {
    EXPECT_EQ(lengthText(0), "0:00");
    EXPECT_EQ(lengthText(6.6), "0:07");
    EXPECT_EQ(lengthText(59.6), "1:00");
    EXPECT_EQ(lengthText(754), "12:34");
    EXPECT_EQ(lengthText(3723), "1:02:03");
    EXPECT_FALSE(lengthText(std::numeric_limits<double>::infinity()).empty());
}

TEST(RecordingTexts, BadgesSayTheStateInWords) {
    using Badges = std::vector<Badge>;
    RecordingEntry entry = complete();
    EXPECT_EQ(badgesOf(entry), Badges{});
    entry.isEdited = true;
    entry.renderedAt = 1;
    EXPECT_EQ(badgesOf(entry), (Badges{{BadgeKind::neutral, "Bearbeitet"}, {BadgeKind::good, "Gerendert"}}));
    entry.isBeingRendered = true;
    EXPECT_EQ(badgesOf(entry), (Badges{{BadgeKind::neutral, "Bearbeitet"}, {BadgeKind::active, "Wird gerendert"}}));
    entry.state = RecordingState::inProgress;
    EXPECT_EQ(badgesOf(entry), (Badges{{BadgeKind::active, "Wird aufgenommen"}}));
    entry.state = RecordingState::interrupted;
    EXPECT_EQ(badgesOf(entry), (Badges{{BadgeKind::warning, "Unterbrochen"}}));
    entry.isBeingCompleted = true;
    EXPECT_EQ(badgesOf(entry), (Badges{{BadgeKind::active, "Wird abgeschlossen"}}));
    entry.state = RecordingState::damaged;
    EXPECT_EQ(badgesOf(entry), (Badges{{BadgeKind::fault, "Beschädigt"}}));
}

TEST(RecordingTexts, TheLineBelowTheNameSaysWhatMattersMost) {
    RecordingEntry entry = complete();
    EXPECT_EQ(detailText(entry, kRoot), "Bildschirm");
    EXPECT_EQ(detailText(entry, "/elsewhere"), "Bildschirm, in /home/a/Movies/LumiVastor");
    entry.fault = "source.mov fehlt.";
    EXPECT_EQ(detailText(entry, kRoot), "source.mov fehlt.");
}

TEST(RecordingTexts, EverythingIsSpoken) {
    RecordingEntry entry = complete();
    entry.isEdited = true;
    EXPECT_EQ(spokenText(entry), "Übung, Länge 1:23, Größe 12,4 MB, Bearbeitet");
}

TEST(RecordingTexts, CountsWhatIsThereAndWhatIsShown) {
    std::vector<RecordingEntry> all;
    EXPECT_EQ(countText(all, 0), "Keine Aufnahmen");
    all.push_back(complete());
    EXPECT_EQ(countText(all, 1), "1 Aufnahme, 12,4 MB");
    all.push_back(complete());
    EXPECT_EQ(countText(all, 2), "2 Aufnahmen, 24,8 MB");
    EXPECT_EQ(countText(all, 0), "0 von 2 Aufnahmen");
    all[0].bytes.reset();
    EXPECT_EQ(countText(all, 2), "2 Aufnahmen") << "while sizes are missing, a sum would be wrong";
}

}  // namespace
}  // namespace lumivastor::app
