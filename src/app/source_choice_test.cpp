// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/source_choice.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace lumivastor::app {
namespace {

const platform::RunningApplication kTerminal{1, "xterm", "Terminal"};

SourceLists lists() {
    SourceLists lists;
    lists.displays = {{7, "links", {0, 0, 1280, 800}, 1}, {9, "rechts", {1280, 0, 960, 540}, 2}};
    lists.windows = {{70, "Sitzung", kTerminal, 0, {0, 0, 300, 200}, 9}, {71, "", kTerminal, 0, {0, 0, 500, 400}, 7}};
    lists.devices = {{"a", "iPhone von Ada", true, 0}};
    return lists;
}

TEST(SourcePopup, NamesDisplaysByPositionAndPixels) {
    const SourcePopup popup = sourcePopup(SourceType::display, lists());
    EXPECT_EQ(popup.items, (std::vector<std::string>{"Bildschirm 1 – 1280×800 px", "Bildschirm 2 – 1920×1080 px"}));
    EXPECT_EQ(popup.status, "Bereit. 2 Bildschirm(e) gefunden.");
}

TEST(SourcePopup, OffersTheSameDisplaysForARegion) {
    const SourcePopup popup = sourcePopup(SourceType::region, lists());
    EXPECT_EQ(popup.items, sourcePopup(SourceType::display, lists()).items);
    EXPECT_EQ(popup.status, "Bereit. Nach dem Start ziehst du den Ausschnitt mit der Maus auf.");
}

TEST(SourcePopup, NamesWindowsByProgramAndTitle) {
    const SourcePopup popup = sourcePopup(SourceType::window, lists());
    EXPECT_EQ(popup.items, (std::vector<std::string>{"Terminal – Sitzung", "Terminal – (ohne Titel)"}));
    EXPECT_EQ(popup.status, "Bereit. 2 Fenster gefunden (↻ aktualisiert die Liste).");
}

TEST(SourcePopup, NamesDevices) {
    const SourcePopup popup = sourcePopup(SourceType::device, lists());
    EXPECT_EQ(popup.items, (std::vector<std::string>{"iPhone von Ada"}));
    EXPECT_EQ(popup.status,
              "Bereit. Hinweis: Vom iPhone gibt es keine Klick-Daten - Zooms setzt du im Editor von Hand.");
}

TEST(SourcePopup, SaysWhenThereIsNothing) {
    const auto status = [](SourceType type) { return sourcePopup(type, {}).status; };
    EXPECT_EQ(status(SourceType::display), "Kein Bildschirm gefunden.");
    EXPECT_EQ(status(SourceType::region), "Kein Bildschirm gefunden.");
    EXPECT_EQ(status(SourceType::window), "Kein aufnehmbares Fenster gefunden - Liste mit ↻ aktualisieren.");
    for (const auto type : {SourceType::display, SourceType::window, SourceType::region, SourceType::device}) {
        EXPECT_TRUE(sourcePopup(type, {}).items.empty());
    }
}

TEST(SourcePopup, TellsHowToAllowRecordingInThreeLines) {
    const SourcePopup popup = deniedSourcePopup();
    EXPECT_EQ(popup.items, (std::vector<std::string>{"keine Berechtigung"}));
    EXPECT_EQ(popup.status,
              "Die Bildschirmaufnahme ist noch nicht erlaubt.\nSystemeinstellungen → Datenschutz & Sicherheit → "
              "Bildschirmaufnahme,\ndort „LumiVastor\" aktivieren und die App neu starten.");
}

TEST(SourcePopup, SaysWhyNoDisplayCanBeRecorded) {
    platform::ShareableContent content;
    content.displays = {{7, "XWAYLAND0", {0, 0, 1920, 1080}, 1}};
    content.displayRefusal = "Nur Fenster.";
    const SourceLists lists = sourceLists(content, {});
    EXPECT_EQ(sourcePopup(SourceType::display, lists).status, "Nur Fenster.");
    EXPECT_EQ(sourcePopup(SourceType::region, lists).status, "Nur Fenster.");
    EXPECT_NE(sourcePopup(SourceType::window, lists).status, "Nur Fenster.");
}

TEST(SourceLists, LeaveOwnWindowsOutAndKnowTheOwnProgram) {
    platform::ShareableContent content;
    const platform::RunningApplication own{44, "Lumivastor", "LumiVastor"};
    content.ownApplication = own;
    content.windows = {{1, "Fremd", kTerminal, 0, {0, 0, 300, 200}, 7}, {2, "Eigen", own, 0, {0, 0, 300, 200}, 7}};
    const SourceLists lists = sourceLists(content, {});
    ASSERT_EQ(lists.windows.size(), 1U);
    EXPECT_EQ(lists.windows[0].id, 1U);
    EXPECT_EQ(lists.ownApplication, own);
}

TEST(SourceLists, AProgramWithoutWindowsKnowsItselfByItsProcess) {
    EXPECT_EQ(sourceLists({}, {}).ownApplication->processId, getpid());
}

TEST(DisplayOf, FindsTheDisplayOfEverySource) {
    const auto displays = lists().displays;
    EXPECT_EQ(displayOf(capture::DisplaySource{displays[1]}, displays), displays[1]);
    EXPECT_EQ(displayOf(capture::RegionSource{displays[0], {}}, displays), displays[0]);
    EXPECT_EQ(displayOf(capture::WindowSource{lists().windows[0]}, displays), displays[1]);
    EXPECT_FALSE(displayOf(capture::WindowSource{lists().windows[0]}, {displays[0]}));
}

SourceLists pickedLists(platform::PointerKnowledge pointer = platform::PointerKnowledge::positions) {
    SourceLists lists;
    lists.picker = {true, true, pointer, true};
    return lists;
}

TEST(SourcePopup, IsAButtonWhereTheDesktopsDialogChooses) {
    const SourcePopup display = sourcePopup(SourceType::display, pickedLists());
    EXPECT_TRUE(display.items.empty());
    EXPECT_EQ(display.chooseTitle, "Bildschirm wählen …");
    EXPECT_EQ(sourcePopup(SourceType::region, pickedLists()).chooseTitle, "Bildschirm wählen …");
    EXPECT_EQ(sourcePopup(SourceType::window, pickedLists()).chooseTitle, "Fenster wählen …");
    EXPECT_FALSE(sourcePopup(SourceType::device, pickedLists()).chooseTitle);
}

TEST(SourcePopup, NamesWhatWasChosenInTheDialogForSourcesOfItsKind) {
    const platform::ContentPicker::Content display = platform::Display{1, "DP-1", {0, 0, 1280, 720}, 1.5};
    EXPECT_EQ(sourcePopup(SourceType::display, pickedLists(), display).chooseTitle,
              "Gewählt: DP-1, 1920×1080 px – ändern …");
    EXPECT_EQ(sourcePopup(SourceType::region, pickedLists(), display).chooseTitle,
              "Gewählt: DP-1, 1920×1080 px – ändern …");
    EXPECT_EQ(sourcePopup(SourceType::window, pickedLists(), display).chooseTitle, "Fenster wählen …");
    const platform::ContentPicker::Content window = platform::Window{};
    EXPECT_EQ(sourcePopup(SourceType::window, pickedLists(), window).chooseTitle, "Fenster gewählt – ändern …");
}

TEST(SourcePopup, SaysBeforeTheRecordingWhatItWillLackOfThePointer) {
    const SourcePopup popup = sourcePopup(SourceType::display, pickedLists(platform::PointerKnowledge::embedded));
    EXPECT_NE(popup.status.find("Dieser Desktop verrät nicht, wo der Mauszeiger ist; er ist fest im Bild."),
              std::string::npos);
}

TEST(SourcePopup, SaysNothingOfAPointerThatIsKnown) {
    EXPECT_EQ(sourcePopup(SourceType::display, pickedLists(platform::PointerKnowledge::complete)).status,
              "Bereit. Beim ersten Mal fragt der Desktop, danach gilt die letzte Wahl.");
}

TEST(SourcePopup, SaysWhatTheDialogDoesNotOffer) {
    SourceLists lists = pickedLists();
    lists.picker->windows = false;
    EXPECT_EQ(sourcePopup(SourceType::window, lists).status,
              "Dieser Desktop gibt nur ganze Bildschirme frei, keine einzelnen Fenster.");
    lists.picker = {false, true, platform::PointerKnowledge::positions, true};
    EXPECT_EQ(sourcePopup(SourceType::region, lists).status,
              "Dieser Desktop gibt nur einzelne Fenster frei, keine ganzen Bildschirme.");
}

}  // namespace
}  // namespace lumivastor::app
