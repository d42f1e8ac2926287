// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/library/recording_search.h"

#include <gtest/gtest.h>

#include <ctime>

namespace lumivastor::app {
namespace {

std::time_t localTime(int year, int month, int day, int hour, int minute) {
    std::tm time{};
    time.tm_year = year - 1900;
    time.tm_mon = month - 1;
    time.tm_mday = day;
    time.tm_hour = hour;
    time.tm_min = minute;
    time.tm_isdst = -1;
    return std::mktime(&time);
}

RecordingEntry entry(const std::string& name) {
    RecordingEntry made;
    made.folder = "/home/a/Movies/LumiVastor/" + name;
    made.createdAt = localTime(2025, 3, 14, 9, 5);
    return made;
}

std::vector<std::string> namesOf(const std::vector<RecordingEntry>& entries) {
    std::vector<std::string> names;
    for (const RecordingEntry& each : entries) names.push_back(each.name());
    return names;
}

TEST(RecordingSearch, FoldsCaseAndAccents) {
    EXPECT_EQ(foldedText("Übung GRÖSSE Straße", Umlauts::plain), "ubung grosse strasse");
    EXPECT_EQ(foldedText("Übung GRÖSSE Straße", Umlauts::spelled), "uebung groesse strasse");
    EXPECT_EQ(foldedText("Žluťoučký kůň, Ångström, Œuvre, café", Umlauts::plain),
              "zlutoucky kun, angstrom, oeuvre, cafe");
    // Letters with their accents behind them, as other systems write names.
    EXPECT_EQ(foldedText("U\u0308bung", Umlauts::plain), "ubung");
    EXPECT_EQ(foldedText("ПРИВЕТ Ёж ΑΩ", Umlauts::plain), "привет ёж αω");
    EXPECT_EQ(foldedText("日本 ×÷", Umlauts::plain), "日本 */");
}

TEST(RecordingSearch, NamesThatAreNoUtf8AreLeftAsTheyAre) {
    for (const std::string& bytes :
         {std::string("\xff\xfe"), std::string("a\xc3"), std::string("\xe2\x82"), std::string("\xc3(")}) {
        EXPECT_EQ(foldedText(bytes, Umlauts::plain), bytes);
    }
}

TEST(RecordingSearch, FindsAllWordsInNameOrDate) {
    const RecordingEntry recording = entry("Übung 7 für Anfänger");
    for (const char* query : {"", "  ", "übung", "UBUNG", "uebung", "anf", "anfaenger ubung", "14.03.2025", "14.3.2025",
                              "2025-03-14", "märz", "maerz 2025", "freitag", "09:05 7"}) {
        EXPECT_TRUE(matchesQuery(recording, query)) << query;
    }
    for (const char* query : {"übungen", "übung 8", "samstag", "april", "15.03.2025"}) {
        EXPECT_FALSE(matchesQuery(recording, query)) << query;
    }
    // Written out on the disk, typed with an umlaut.
    EXPECT_TRUE(matchesQuery(entry("Uebung"), "Übung"));
}

TEST(RecordingSearch, SortsNamesWithTheirNumbers) {
    const std::vector<RecordingEntry> all = {entry("Lektion 10"), entry("lektion 2"),     entry("Änderung"),
                                             entry("Zoom"),       entry("Lektion 002 b"), entry("apfel")};
    EXPECT_EQ(namesOf(shownRecordings(all, "", RecordingOrder::nameAscending)),
              (std::vector<std::string>{"Änderung", "apfel", "lektion 2", "Lektion 002 b", "Lektion 10", "Zoom"}));
    EXPECT_EQ(namesOf(shownRecordings(all, "lektion", RecordingOrder::nameDescending)),
              (std::vector<std::string>{"Lektion 10", "Lektion 002 b", "lektion 2"}));
}

TEST(RecordingSearch, WhatHasNoValueComesLastInBothDirections) {
    std::vector<RecordingEntry> all = {entry("a"), entry("b"), entry("c"), entry("d")};
    for (std::size_t i = 0; i < 3; ++i) {
        all[i].duration = 10.0 * static_cast<double>(i);
        all[i].bytes = 100 - i;
        all[i].createdAt = static_cast<std::time_t>(1000 * i);
    }
    all[3].createdAt.reset();
    const auto sorted = [&](RecordingOrder order) { return namesOf(shownRecordings(all, "", order)); };
    using Names = std::vector<std::string>;
    EXPECT_EQ(sorted(RecordingOrder::longestFirst), (Names{"c", "b", "a", "d"}));
    EXPECT_EQ(sorted(RecordingOrder::shortestFirst), (Names{"a", "b", "c", "d"}));
    EXPECT_EQ(sorted(RecordingOrder::largestFirst), (Names{"a", "b", "c", "d"}));
    EXPECT_EQ(sorted(RecordingOrder::smallestFirst), (Names{"c", "b", "a", "d"}));
    EXPECT_EQ(sorted(RecordingOrder::newestFirst), (Names{"c", "b", "a", "d"}));
    EXPECT_EQ(sorted(RecordingOrder::oldestFirst), (Names{"a", "b", "c", "d"}));
}

TEST(RecordingSearch, EqualOnesAreInTheOrderOfTheirNames) {
    std::vector<RecordingEntry> all;
    for (const char* name : {"d", "b", "a", "c"}) all.push_back(entry(name));
    for (const RecordingOrder order : {RecordingOrder::newestFirst, RecordingOrder::oldestFirst,
                                       RecordingOrder::longestFirst, RecordingOrder::smallestFirst}) {
        EXPECT_EQ(namesOf(shownRecordings(all, "", order)), (std::vector<std::string>{"a", "b", "c", "d"}));
    }
}

}  // namespace
}  // namespace lumivastor::app
