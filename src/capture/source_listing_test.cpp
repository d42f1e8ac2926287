// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/source_listing.h"

#include <gtest/gtest.h>

namespace lumivastor::capture {
namespace {

platform::Window window(std::uint32_t id, const std::optional<std::string>& application,
                        const std::optional<std::string>& title, double width = 800, double height = 600) {
    platform::Window window;
    window.id = id;
    window.title = title;
    window.frame = {0, 0, width, height};
    if (application) window.application = platform::RunningApplication{1, "id." + *application, application};
    return window;
}

std::vector<std::uint32_t> listed(const std::vector<platform::Window>& windows,
                                  const std::optional<std::string>& own = "id.LumiVastor") {
    std::vector<std::uint32_t> ids;
    for (const platform::Window& each : recordableWindows(windows, own)) ids.push_back(each.id);
    return ids;
}

TEST(RecordableWindows, OnlyOrdinaryLayersCount) {
    platform::Window dock = window(1, "Dock", "Leiste");
    dock.layer = 3;
    platform::Window desktop = window(2, "Schreibtisch", "Grund");
    desktop.layer = -1;
    EXPECT_EQ(listed({dock, desktop, window(3, "Editor", "Text")}), (std::vector<std::uint32_t>{3}));
}

TEST(RecordableWindows, SmallOnesAreLeftOut) {
    EXPECT_EQ(listed({window(1, "A", "x", 200, 150), window(2, "A", "x", 199, 600), window(3, "A", "x", 800, 149)}),
              (std::vector<std::uint32_t>{1}));
}

TEST(RecordableWindows, UntitledOnesHaveToBeLarger) {
    for (const std::optional<std::string>& title : {std::optional<std::string>(), std::optional<std::string>("")}) {
        EXPECT_EQ(
            listed({window(1, "A", title, 400, 300), window(2, "A", title, 399, 300), window(3, "A", title, 400, 299)}),
            (std::vector<std::uint32_t>{1}));
    }
}

TEST(RecordableWindows, OwnWindowsAreLeftOut) {
    const std::vector<platform::Window> windows = {window(1, "LumiVastor", "Fenster"),
                                                   window(2, std::nullopt, "herrenlos"), window(3, "Editor", "Text")};
    EXPECT_EQ(listed(windows), (std::vector<std::uint32_t>{2, 3}));
    // Two unknown programs count as the same.
    EXPECT_EQ(listed(windows, std::nullopt), (std::vector<std::uint32_t>{3, 1}));
}

TEST(RecordableWindows, AreSortedByProgramThenTitleAndOtherwiseStayInOrder) {
    const std::vector<platform::Window> windows = {
        window(1, "b", "2"), window(2, "a", "9"),          window(3, "b", "1"),          window(4, "Z", "0"),
        window(5, "a", "9"), window(6, std::nullopt, "x"), window(7, "a", std::nullopt), window(8, "ä", "0")};
    // Plain order: nothing first, capitals before small letters, umlauts last.
    EXPECT_EQ(listed(windows), (std::vector<std::uint32_t>{6, 4, 7, 2, 5, 3, 1, 8}));
}

TEST(OwnIdentifier, IsThatOfOurWindowsOrTheProgramsName) {
    platform::ShareableContent content;
    EXPECT_EQ(ownIdentifier(content), kOwnBundleIdentifier);
    content.ownApplication = platform::RunningApplication{1, "LumiVastor", "LumiVastor"};
    EXPECT_EQ(ownIdentifier(content), "LumiVastor");
}

TEST(SourceTitles, NameProgramAndTitle) {
    EXPECT_EQ(windowTitle(window(1, "Terminal", "Sitzung 1")), "Terminal – Sitzung 1");
    EXPECT_EQ(windowTitle(window(1, "Terminal", "")), "Terminal – (ohne Titel)");
    EXPECT_EQ(windowTitle(window(1, "Terminal", std::nullopt)), "Terminal – (ohne Titel)");
    EXPECT_EQ(windowTitle(window(1, std::nullopt, "Bild")), " – Bild");
}

TEST(SourceTitles, CountDisplaysFromOneAndMeasureThemInPixels) {
    EXPECT_EQ(displayTitle({4, "eDP-1", {0, 0, 1280, 720}, 2}, 0), "Bildschirm 1 – 2560×1440 px");
    EXPECT_EQ(displayTitle({5, "HDMI-1", {2560, 0, 1536, 864}, 1.25}, 1), "Bildschirm 2 – 1920×1080 px");
}

}  // namespace
}  // namespace lumivastor::capture
