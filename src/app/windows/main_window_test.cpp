// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/windows/main_window.h"

#include <gtest/gtest.h>

#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QScreen>
#include <QTest>
#include <algorithm>
#include <cmath>
#include <string>

#include "app/status_texts.h"
#include "app/windows/panels.h"
#include "app/windows/region_picker.h"
#include "app/windows/status_item.h"
#include "support/fitting_texts.h"
#include "support/named_widgets.h"
#include "support/offscreen_application.h"
#include "support/style_colours.h"
#include "support/tab_order.h"
#include "ui/theme.h"

namespace lumivastor::app {
namespace {

class MainWindowTest : public testing::TestWithParam<double> {
  protected:
    // With type as large as the parameter says, in points.
    MainWindowTest() {
        ui::theme::apply(*application_);
        QFont font = QApplication::font();
        font.setPointSizeF(GetParam());
        QApplication::setFont(font);
    }

    // No text that can be seen is wider or higher than its place, and no place is outside of what holds it.
    static void expectNothingIsCutOff(const QWidget& window) {
        QApplication::processEvents();
        EXPECT_GT(expectTextsFit(window), 1);
    }

    static MainWindowState fullState() {
        MainWindowState state;
        state.sourceItems = {"Bildschirm 1 – 1920×1080 px"};
        state.choices.sourceIndex = 0;
        state.status = "1\n2\n3\n4\n5";
        return state;
    }

  private:
    OffscreenApplication application_;
};

TEST_P(MainWindowTest, DevicesAndLevelsAreBesideTickedBoxesOnly) {
    std::vector<int> selected;
    std::vector<bool> shown;
    MainWindowActions actions;
    actions.microphoneSelected = [&](int index) { selected.push_back(index); };
    actions.shown = [&](bool isShown) { shown.push_back(isShown); };
    actions.level = [](platform::SoundBoard::Kind) { return platform::LevelMeter::Reading{-20, -9, -3, true}; };
    MainWindow window(actions);
    MainWindowState state = fullState();
    state.microphones = {{"Standard", "Headset"}, 1};
    state.cameras = {{"Standard"}, 0};
    window.show(state);
    static_cast<QWidget&>(window).show();
    const auto* const popup = window.findChild<QComboBox*>("microphonePopup");
    const auto* const camera = window.findChild<QComboBox*>("cameraPopup");
    const auto* const level = window.findChild<QWidget*>("microphoneLevel");
    const QRect box = window.findChild<QWidget*>("webcamBox")->geometry();
    const bool hasRoom = GetParam() < 16;  // points; larger type needs it
    EXPECT_EQ(popup->isVisible(), hasRoom);
    EXPECT_EQ(camera->isVisible(), popup->isVisible());
    EXPECT_FALSE(level->isVisible());
    state.choices.microphone = state.choices.webcam = state.choices.systemAudio = true;
    window.show(state);
    EXPECT_TRUE(popup->isVisible() && camera->isVisible() && level->isVisible());
    if (hasRoom) {
        EXPECT_EQ(window.findChild<QWidget*>("webcamBox")->geometry(), box) << "nothing moves";
    }
    EXPECT_EQ(popup->currentText(), "Headset");
    expectNothingIsCutOff(window);
    emit window.findChild<QComboBox*>("microphonePopup")->activated(0);
    EXPECT_EQ(selected, std::vector<int>{0});
    window.hide();
    EXPECT_EQ(shown, (std::vector<bool>{true, false}));
}

TEST_P(MainWindowTest, TheRecordButtonStaysWhereItIs) {
    MainWindow window({});
    MainWindowState state = fullState();
    window.show(state);
    static_cast<QWidget&>(window).show();
    const auto* const button = window.findChild<QWidget*>("recordButton");
    const auto place = [&] {
        QApplication::processEvents();
        return QRect(button->mapTo(&window, QPoint(0, 0)), button->size());
    };
    const QRect before = place();
    const auto expectPlace = [&](const char* when) {
        window.show(state);
        EXPECT_EQ(place(), before) << when;
    };
    state.notices[NoticeKind::update] = {"LumiVastor 1.2.0 ist verfügbar.", "Herunterladen"};
    expectPlace("a notice");
    state.notices[NoticeKind::recording] = {
        "Die Aufnahme wurde vom System beendet: Das aufgenommene Fenster wurde geschlossen, und das ist mehr als eine "
        "Zeile.",
        ""};
    state.progress = 0.5;
    state.status += "\n6\n7";
    expectPlace("more of them, and all else that comes and goes");
    state.notices.clear();
    expectPlace("none any more");
    if (GetParam() < 16) {  // points; larger type has no room for lists that are not needed
        state.microphones = state.cameras = {{"Standard"}, 0};
        expectPlace("the devices are listed");
    }
}

TEST_P(MainWindowTest, TheSoundOfACardIsBesideTheCard) {
    std::vector<int> selected;
    MainWindowActions actions;
    actions.cardSoundSelected = [&](int index) { selected.push_back(index); };
    MainWindow window(actions);
    MainWindowState state = fullState();
    window.show(state);
    static_cast<QWidget&>(window).show();
    auto* const popup = window.findChild<QComboBox*>("cardSoundPopup");
    const auto* const list = window.findChild<QComboBox*>("displayPopup");
    const QRect button = window.findChild<QWidget*>("recordButton")->geometry();
    const QRect whole = list->geometry();
    EXPECT_FALSE(popup->isVisible());
    state.cardSounds = {{"Standard", "Ohne Ton"}, 1};
    window.show(state);
    expectNothingIsCutOff(window);
    EXPECT_TRUE(popup->isVisible());
    EXPECT_EQ(popup->currentText(), "Ohne Ton");
    EXPECT_EQ(popup->y(), list->y());
    EXPECT_GT(popup->x(), list->geometry().right());
    EXPECT_GT(list->width(), whole.width() / 3);
    EXPECT_EQ(window.findChild<QWidget*>("recordButton")->geometry(), button) << "nothing moves";
    emit popup->activated(0);
    EXPECT_EQ(selected, std::vector<int>{0});
    state.controlsEnabled = false;
    window.show(state);
    EXPECT_FALSE(popup->isEnabled());
}

TEST_P(MainWindowTest, OpensTheDesktopsDialogByAButtonInPlaceOfTheList) {
    int chosen = 0;
    MainWindowActions actions;
    actions.chooseContent = [&chosen] { ++chosen; };
    MainWindow window(actions);
    window.setVisible(true);
    MainWindowState state = fullState();
    state.chooseTitle = "Gewählt: HEADLESS-1, 1920×1080 px – ändern …";
    window.show(state);
    auto* const button = window.findChild<QPushButton*>("chooseButton");
    EXPECT_TRUE(button->isVisible());
    EXPECT_FALSE(window.findChild<QComboBox*>("displayPopup")->isVisible());
    EXPECT_FALSE(window.findChild<QPushButton*>("refreshButton")->isVisible());
    button->click();
    EXPECT_EQ(chosen, 1);
    expectNothingIsCutOff(window);

    state.chooseTitle.reset();
    window.show(state);
    EXPECT_FALSE(button->isVisible());
    EXPECT_TRUE(window.findChild<QComboBox*>("displayPopup")->isVisible());
}

TEST_P(MainWindowTest, CountsDownOverEverythingElse) {
    MainWindow window({});
    window.setVisible(true);
    MainWindowState state = fullState();
    state.countdown = {3, stopWaysText(true, "Strg+Alt+Umschalt+S")};
    window.show(state);
    auto* const cover = window.findChild<QWidget*>("countdownCover");
    ASSERT_TRUE(cover->isVisible());
    EXPECT_EQ(cover->geometry(), window.rect());
    EXPECT_EQ(cover->accessibleName(), "Aufnahme beginnt in 3");
    const QWidget* const under = window.childAt(window.findChild<QWidget*>("recordButton")->geometry().center());
    EXPECT_TRUE(under == cover || under->parentWidget() == cover);
    for (const char* each : {"countdownNumber", "countdownNote"}) {
        auto* const label = window.findChild<QLabel*>(each);
        EXPECT_GE(label->height(), label->heightForWidth(label->width())) << each;
    }
    state.countdown.reset();
    window.show(state);
    EXPECT_FALSE(cover->isVisible());
}

TEST_P(MainWindowTest, IsAsLargeAsLaidDown) {
    MainWindow window({});
    window.setVisible(true);
    window.show(fullState());
    if (GetParam() > 10) {
        EXPECT_GE(window.width(), 580);
        EXPECT_GE(window.height(), 634);
    } else {
        EXPECT_EQ(window.size(), QSize(580, 634));
    }
    EXPECT_EQ(window.minimumSize(), window.maximumSize());
    expectNothingIsCutOff(window);
}

TEST_P(MainWindowTest, OneNoticeFitsInAndMoreMakeItHigher) {
    MainWindow window({});
    window.setVisible(true);
    MainWindowState state = fullState();
    state.microphones = state.cameras = {{"Standard"}, 0};
    state.status = "Bereit. 1 Bildschirm(e) gefunden.";
    state.notices[NoticeKind::interrupted] = {"Eine Aufnahme wurde unterbrochen: 2025-03-14_09-05-33", "Abschließen"};
    window.show(state);
    if (GetParam() <= 10) {
        EXPECT_EQ(window.height(), 634);
    }
    expectNothingIsCutOff(window);
    state.notices[NoticeKind::update] = {"LumiVastor 1.2.0 ist verfügbar.", "Herunterladen"};
    state.notices[NoticeKind::recording] = {
        "Die Aufnahme wurde vom System beendet: Das aufgenommene Fenster wurde geschlossen.", ""};
    state.progress = 0.5;
    window.show(state);
    expectNothingIsCutOff(window);
    window.show(fullState());
    if (GetParam() <= 10) {
        EXPECT_EQ(window.size(), QSize(580, 634));
    }
    expectNothingIsCutOff(window);
}

TEST_P(MainWindowTest, PanelsHoldTheirTextsWhateverTheType) {
    QScreen& screen = *QGuiApplication::primaryScreen();
    RegionArmPanel arm(
        screen, [] {}, [] {});
    arm.setVisible(true);
    const double factor = std::max(GetParam() / 10, 1.0);
    const auto grown = [factor](int width, int height) {
        return QSize(static_cast<int>(std::lround(width * factor)), static_cast<int>(std::lround(height * factor)));
    };
    EXPECT_EQ(arm.size(), grown(430, 56));
    expectNothingIsCutOff(arm);
    RecordingPanel panel(screen, nullptr, {}, {});
    panel.setTime("125:00");
    panel.setVisible(true);
    EXPECT_EQ(panel.size(), grown(350, 44));
    expectNothingIsCutOff(panel);
    panel.setPaused(true);
    panel.setMarks(99);
    expectNothingIsCutOff(panel);
    RecordingPanel withCamera(screen, std::make_shared<capture::WebcamPreview>(), {}, {});
    withCamera.setVisible(true);
    EXPECT_EQ(withCamera.size(), grown(414, 60));
    expectNothingIsCutOff(withCamera);
}

TEST_P(MainWindowTest, LevelsHaveAirBelowThePanelsButtons) {
    using Kind = platform::SoundBoard::Kind;
    const double factor = std::max(GetParam() / 10, 1.0);
    for (const bool hasCamera : {false, true}) {
        for (const auto& kinds : {std::vector<Kind>{Kind::microphone}, {Kind::systemAudio, Kind::microphone}}) {
            RecordingPanel panel(*QGuiApplication::primaryScreen(),
                                 hasCamera ? std::make_shared<capture::WebcamPreview>() : nullptr, {}, {});
            const QRect bare = panel.geometry();
            panel.showLevels(kinds, [](Kind) { return platform::LevelMeter::Reading{-20, -9, -3, true}; });
            panel.setVisible(true);
            expectNothingIsCutOff(panel);
            EXPECT_EQ(panel.geometry().bottomRight(), bare.bottomRight());
            EXPECT_EQ(panel.size() == bare.size(), hasCamera) << "there is room beside the camera";
            int below = panel.findChild<QPushButton*>("panelStopButton")->geometry().bottom() + 1;
            double air = 6 * factor;
            EXPECT_EQ(panel.findChildren<QWidget*>("panelLevel").size(), static_cast<int>(kinds.size()));
            for (const QWidget* each : panel.findChildren<QWidget*>("panelLevel")) {
                EXPECT_GE(each->y() - below, air - 1);
                below = each->geometry().bottom() + 1;
                air = 3 * factor;
            }
            EXPECT_GE(panel.height() - below, 6 * factor - 1);
        }
    }
}

TEST_P(MainWindowTest, ThePanelGrowsForAWarningAndItsButtonStaysWhereItIs) {
    RecordingPanel panel(*QGuiApplication::primaryScreen(), nullptr, {}, {});
    panel.setVisible(true);
    const auto* const stop = panel.findChild<QPushButton*>("panelStopButton");
    const auto* const hint = panel.findChild<QLabel*>("recordingHint");
    const QRect bare = panel.geometry();
    const QPoint place = stop->mapToGlobal(QPoint());
    EXPECT_FALSE(hint->isVisible());
    for (const char* sentence : {"Noch Platz für 12 Minuten.",
                                 "Bilder gehen verloren (8 %): der Encoder kommt nicht nach. 30 Bilder pro Sekunde "
                                 "oder ein Ausschnitt helfen."}) {
        panel.setHint(sentence);
        EXPECT_EQ(hint->text(), sentence);
        EXPECT_EQ(hint->property("announced"), sentence);
        EXPECT_TRUE(hint->isVisible());
        expectNothingIsCutOff(panel);
        EXPECT_EQ(panel.geometry().bottomRight(), bare.bottomRight());
        EXPECT_EQ(stop->mapToGlobal(QPoint()), place);
        EXPECT_FALSE(hint->geometry().intersects(stop->geometry()));
    }
    panel.setHint("");
    EXPECT_FALSE(hint->isVisible());
    EXPECT_EQ(panel.geometry(), bare);
    EXPECT_EQ(stop->mapToGlobal(QPoint()), place);
}

TEST_P(MainWindowTest, ThePanelPromisesTheShortcutsOnlyWhereThereAreSome) {
    QScreen& screen = *QGuiApplication::primaryScreen();
    const auto tip = [](const RecordingPanel& panel, const char* button) {
        return panel.findChild<QPushButton*>(button)->toolTip();
    };
    const RecordingPanel with(screen, nullptr, {"Strg+S", "Strg+P", "Strg+M"}, {});
    EXPECT_EQ(tip(with, "panelStopButton"), "Aufnahme stoppen (Strg+S)");
    EXPECT_EQ(tip(with, "panelPauseButton"), "Aufnahme pausieren (Strg+P)");
    EXPECT_EQ(tip(with, "panelMarkButton"), "Marke setzen (Strg+M)");
    const RecordingPanel without(screen, nullptr, {}, {});
    EXPECT_EQ(tip(without, "panelStopButton"), "Aufnahme stoppen");
    EXPECT_EQ(tip(without, "panelPauseButton"), "Aufnahme pausieren");
    EXPECT_EQ(tip(without, "panelMarkButton"), "Marke setzen");
}

TEST_P(MainWindowTest, ThePanelShowsAPauseAndMarks) {
    std::string done;
    RecordingPanel panel(
        *QGuiApplication::primaryScreen(), nullptr, {"", "Strg+P", ""},
        {.stop = [&] { done += "stop "; }, .togglePause = [&] { done += "pause "; }, .mark = [&] { done += "mark "; }});
    auto* const pause = panel.findChild<QPushButton*>("panelPauseButton");
    auto* const mark = panel.findChild<QPushButton*>("panelMarkButton");
    EXPECT_EQ(pause->text(), "Pause");
    panel.setPaused(true);
    EXPECT_EQ(pause->text(), "Weiter");
    EXPECT_EQ(pause->toolTip(), "Aufnahme fortsetzen (Strg+P)");
    panel.setPaused(false);
    EXPECT_EQ(pause->text(), "Pause");
    EXPECT_EQ(mark->text(), "Marke");
    panel.setMarks(2);
    EXPECT_EQ(mark->text(), "Marke · 2");
    for (QPushButton* each : {mark, pause, panel.findChild<QPushButton*>("panelStopButton")}) each->click();
    EXPECT_EQ(done, "mark pause stop ");
}

TEST_P(MainWindowTest, AClickOnTheCountdownCancels) {
    int cancelled = 0;
    CountdownWindow countdown(*QGuiApplication::primaryScreen(), [&] { ++cancelled; });
    countdown.setVisible(true);
    QTest::mouseClick(&countdown, Qt::LeftButton);
    EXPECT_EQ(cancelled, 1);
    MainWindowActions actions;
    actions.cancelCountdown = [&] { ++cancelled; };
    MainWindow window(std::move(actions));
    window.setVisible(true);
    MainWindowState state = fullState();
    state.countdown = {3, ""};
    window.show(state);
    QTest::mouseClick(window.findChild<QWidget*>("countdownCover"), Qt::LeftButton);
    EXPECT_EQ(cancelled, 2);
}

TEST_P(MainWindowTest, TextsCanBeCopiedByTheMenuAndByKeys) {
    MainWindow window({});
    window.setVisible(true);
    QApplication::setActiveWindow(&window);
    MainWindowState state = fullState();
    state.status = "Fertig: 1.0 s\nOrdner: /videos/a";
    state.notices[NoticeKind::recording] = {"Die Aufnahme wurde vom System beendet.", ""};
    window.show(state);
    const auto action = [&](const QString& title) {
        for (QAction* each : window.findChildren<QAction*>()) {
            if (each->text() == title) return each;
        }
        return static_cast<QAction*>(nullptr);
    };
    for (const char* name : {"statusLabel", "noticeLabel"}) {
        QGuiApplication::clipboard()->clear();
        auto* label = window.findChild<QLabel*>(name);
        EXPECT_NE(label->focusPolicy() & Qt::TabFocus, 0) << name;
        label->setFocus();
        action("Alles auswählen")->trigger();
        // What is shown again keeps what is selected.
        window.show(state);
        action("Kopieren")->trigger();
        EXPECT_EQ(QGuiApplication::clipboard()->text(), label->text()) << name;
        QGuiApplication::clipboard()->clear();
        QTest::keyClick(label, Qt::Key_C, Qt::ControlModifier);
        EXPECT_EQ(QGuiApplication::clipboard()->text(), label->text()) << name;
    }
}

TEST_P(MainWindowTest, AButtonThatIsOffForAWhileKeepsTheKeyboard) {
    MainWindow window({});
    window.setVisible(true);
    MainWindowState state = fullState();
    window.show(state);
    auto* const record = window.findChild<QPushButton*>("recordButton");
    ASSERT_EQ(window.focusWidget(), record);
    state.recordEnabled = state.controlsEnabled = false;
    window.show(state);
    EXPECT_EQ(window.focusWidget(), nullptr) << "no text gets a caret instead";
    window.show(state);
    state.recordEnabled = state.controlsEnabled = true;
    window.show(state);
    EXPECT_EQ(window.focusWidget(), record);
    // Not from what the user has gone to meanwhile.
    state.recordEnabled = false;
    window.show(state);
    auto* const box = window.findChild<QCheckBox*>("autoZoomBox");
    box->setFocus();
    state.recordEnabled = true;
    window.show(state);
    EXPECT_EQ(window.focusWidget(), box);
}

TEST_P(MainWindowTest, EverythingThatCanBeSeenHasAName) {
    MainWindow window({});
    window.setVisible(true);
    MainWindowState state = fullState();
    state.progress = 0.5;
    state.notices[NoticeKind::update] = {"LumiVastor 1.2.0 ist verfügbar.", "Herunterladen"};
    window.show(state);
    window.setCameraPreview(std::make_shared<capture::WebcamPreview>());
    EXPECT_GT(expectEverythingIsNamed(window), 20);
    QScreen& screen = *QGuiApplication::primaryScreen();
    RegionArmPanel arm(
        screen, [] {}, [] {});
    arm.setVisible(true);
    EXPECT_GE(expectEverythingIsNamed(arm), 4);
    RecordingPanel panel(screen, std::make_shared<capture::WebcamPreview>(), {}, {});
    panel.setVisible(true);
    EXPECT_GE(expectEverythingIsNamed(panel), 7);
    CountdownWindow countdown(screen, [] {});
    countdown.setNumber(3);
    countdown.setVisible(true);
    EXPECT_GE(expectEverythingIsNamed(countdown), 2);
    PickerWindow picker(screen);
    picker.setVisible(true);
    EXPECT_GE(expectEverythingIsNamed(picker), 2);
}

TEST_P(MainWindowTest, TheTabulatorKeyGoesThroughItInReadingOrder) {
    constexpr const char* kOrder = R"(
Art der Quelle: Bildschirm
Quelle
Liste aktualisieren
Bildrate
Countdown
Automatische Zooms (Kamera fährt zu deinen Klicks)
Systemton aufnehmen
Mikrofon aufnehmen
Kamera aufnehmen (Facecam)
Aufnahme starten
Aufnahme bearbeiten …
Prüfvideo erzeugen …
Aufnahmeordner öffnen
LumiVastor 1.2.0 ist verfügbar.
Herunterladen
Bereit.
)";
    MainWindow window({});
    window.setVisible(true);
    QApplication::setActiveWindow(&window);
    MainWindowState state = fullState();
    state.recordTitle = "Aufnahme starten";
    state.status = "Bereit.";
    state.notices[NoticeKind::update] = {"LumiVastor 1.2.0 ist verfügbar.", "Herunterladen"};
    window.show(state);
    EXPECT_EQ(asLines(tabOrder(window)), kOrder);
    EXPECT_EQ(asLines(tabOrder(window, true)), kOrder);
}

TEST_P(MainWindowTest, ScrollsWhatAScreenHasNoRoomFor) {
    MainWindow window({});
    window.setVisible(true);
    MainWindowState state = fullState();
    state.notices[NoticeKind::update] = {"LumiVastor 1.2.0 ist verfügbar.", "Herunterladen"};
    state.notices[NoticeKind::interrupted] = {"Eine Aufnahme wurde unterbrochen: 2025-03-14_09-05-33", "Abschließen"};
    window.show(state);
    const QSize room = window.screen()->availableSize();
    EXPECT_LE(window.height(), room.height());
    EXPECT_LE(window.width(), room.width());
    expectNothingIsCutOff(window);
}

TEST_P(MainWindowTest, ColoursOfEveryStateCanBeToldApart) {
    const MainWindow window({});
    const StyleColours colours(window.styleSheet());
    std::vector<QColor> surfaces = windowSurfaces();
    surfaces.push_back(QColor(0x1A, 0x1C, 0x21));
    EXPECT_GT(colours.expectReadableText(surfaces), 60);
    EXPECT_GT(colours.expectVisibleFocus(surfaces), 12);
}

TEST_P(MainWindowTest, TheStatusIsReadWhenItChanges) {
    MainWindow window({});
    window.setVisible(true);
    window.show(fullState());
    auto* const label = window.findChild<QLabel*>("statusLabel");
    label->setProperty("announced", "");
    MainWindowState state = fullState();
    window.show(state);
    EXPECT_EQ(label->property("announced").toString(), "") << "nothing has changed";
    state.status = "Bereit.";
    window.show(state);
    EXPECT_EQ(label->property("announced").toString(), "Bereit.");
    QAccessibleInterface* const status = QAccessible::queryAccessibleInterface(label);
    EXPECT_EQ(status->role(), QAccessible::StatusBar);
    EXPECT_EQ(status->text(QAccessible::Name), "Bereit.");
}

TEST_P(MainWindowTest, ARegionIsMadeByKeys) {
    PickerWindow picker(*QGuiApplication::primaryScreen());
    picker.setVisible(true);
    std::optional<Rect> made;
    int finished = 0;
    picker.view().onFinish = [&](std::optional<Rect> rect) {
        ++finished;
        made = rect;
    };
    QTest::keyClick(&picker.view(), Qt::Key_Return);
    QTest::keyClick(&picker.view(), Qt::Key_A);
    EXPECT_EQ(finished, 0) << "there is nothing yet";
    QTest::keyClick(&picker.view(), Qt::Key_Right);
    QTest::keyClick(&picker.view(), Qt::Key_Right);
    QTest::keyClick(&picker.view(), Qt::Key_Down, Qt::ControlModifier);
    const QSizeF screen = picker.view().size();
    const Rect expected{screen.width() / 4 + 10, screen.height() / 4, screen.width() / 2, screen.height() / 2 + 10};
    EXPECT_TRUE(picker.view().accessibleDescription().startsWith("links "));
    QTest::keyClick(&picker.view(), Qt::Key_Return);
    EXPECT_EQ(finished, 1);
    EXPECT_EQ(made, expected);
}

TEST_P(MainWindowTest, ItClosesWhenItMay) {
    bool may = false;
    MainWindowActions actions;
    actions.mayClose = [&] { return may; };
    MainWindow window(std::move(actions));
    window.setVisible(true);
    EXPECT_FALSE(window.close());
    EXPECT_TRUE(window.isVisible());
    may = true;
    EXPECT_TRUE(window.close());
}

TEST_P(MainWindowTest, TheStatusItemStopsByALeftClickAndByItsMenu) {
    int stops = 0;
    int pauses = 0;
    int marks = 0;
    StatusItem item("⏺ 0:00", {.stop = [&] { ++stops; }, .togglePause = [&] { ++pauses; }, .mark = [&] { ++marks; }});
    for (const auto reason : {QSystemTrayIcon::Context, QSystemTrayIcon::MiddleClick, QSystemTrayIcon::Unknown}) {
        Q_EMIT item.icon().activated(reason);
    }
    EXPECT_EQ(stops, 0);
    Q_EMIT item.icon().activated(QSystemTrayIcon::Trigger);
    EXPECT_EQ(stops, 1);
    ASSERT_NE(item.icon().contextMenu(), nullptr);
    const QList<QAction*> menu = item.icon().contextMenu()->actions();
    ASSERT_EQ(menu.size(), 3);
    QAction* const stop = item.icon().contextMenu()->actions()[0];
    EXPECT_EQ(stop->text(), "Aufnahme stoppen");
    stop->trigger();
    EXPECT_EQ(stops, 2);
    EXPECT_EQ(menu[1]->text(), "Aufnahme pausieren");
    item.setPaused(true);
    EXPECT_EQ(menu[1]->text(), "Aufnahme fortsetzen");
    menu[1]->trigger();
    EXPECT_EQ(pauses, 1);
    EXPECT_EQ(menu[2]->text(), "Marke setzen");
    menu[2]->trigger();
    EXPECT_EQ(marks, 1);
}

INSTANTIATE_TEST_SUITE_P(TypeSizes, MainWindowTest, testing::Values(9.0, 10.0, 15.0, 20.0));

}  // namespace
}  // namespace lumivastor::app
