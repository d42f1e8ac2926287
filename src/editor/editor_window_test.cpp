// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/editor_window.h"

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QDropEvent>
#include <QLabel>
#include <QLayout>
#include <QMimeData>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollArea>
#include <QUrl>
#include <cmath>
#include <filesystem>
#include <set>

#include "editor/preview/mask_draw_view.h"
#include "editor/session/labels.h"
#include "editor/timeline/timeline_strip.h"
#include "support/editor_fixture.h"
#include "support/fitting_texts.h"
#include "support/named_widgets.h"
#include "ui/colour_well.h"
#include "ui/segmented_control.h"
#include "ui/theme.h"
#include "ui/value_slider.h"

namespace lumivastor::editor {
namespace {

class EditorWindowTest : public EditorFixture {
  protected:
    // None while it is a stand-in.
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> frame() {
        const PreviewView& view = *controls().previewView;
        return view.isExact() ? view.frame() : nullptr;
    }
    // Waits for the frame that a change leads to.
    bool awaitFrameAfter(const std::shared_ptr<const imaging::BgraPremultipliedBuffer>& before) {
        return awaitInLoop([&] { return frame() != nullptr && frame() != before; });
    }
    void drawMask(QPointF from, QPointF to) {
        auto* view = controls().maskDrawView;
        QTest::mousePress(view, Qt::LeftButton, {}, from.toPoint());
        QTest::mouseMove(view, ((from + to) / 2).toPoint());
        QTest::mouseMove(view, to.toPoint());
        QTest::mouseRelease(view, Qt::LeftButton, {}, to.toPoint());
    }
};

TEST_F(EditorWindowTest, WithoutPositionsNothingOfThePointerCanBeSet) {
    info_.pointerKnown = model::KnownPointer::embedded;
    openWindow();
    EXPECT_EQ(textOf("pointerNote"), "Der Mauszeiger ist fest im Bild; Zooms setzt du von Hand.");
    EXPECT_TRUE(find<QWidget>("pointerNote")->isVisible());
    for (const char* name : {"cursorSlider", "smoothingSlider"}) {
        EXPECT_FALSE(find(name)->isEnabled()) << name;
        EXPECT_FALSE(find((std::string(name) + "Label").c_str())->isEnabled()) << name;
    }
    EXPECT_TRUE(find("zoomSlider")->isEnabled());
    EXPECT_EQ(session().composition()->zoomCount(), 0);
    EXPECT_EQ(session().composition()->cursorNormalized(1), std::nullopt);
    EXPECT_EQ(controls().settingsColumn.values(), session().controls()) << "the fields keep their values";
}

TEST_F(EditorWindowTest, WithoutClicksItSaysWhatZoomsFollow) {
    info_.pointerKnown = model::KnownPointer::positions;
    openWindow();
    EXPECT_EQ(textOf("pointerNote"), "Klicks sind nicht bekannt; Zooms folgen den Haltepunkten.");
    EXPECT_TRUE(find("cursorSlider")->isEnabled());
    EXPECT_TRUE(find("smoothingSlider")->isEnabled());
}

TEST_F(EditorWindowTest, ShowsTheRecordingAndItsSettings) {
    settings_.tempo = model::Tempo::ruhig;
    settings_.cuts = {{1, 2}};
    settings_.padding = 0.0333;
    openWindow();
    EXPECT_EQ(window().windowTitle().toStdString(), "LumiVastor – " + folder_.path().filename().string());
    EXPECT_EQ(controls().settingsColumn.values(), session().controls());
    EXPECT_EQ(textOf("trimLabel"), "Bereich: 0.000 – 6.000 s (Bild 0 – 180)");
    EXPECT_EQ(textOf("cutLabel"), "1.00–2.00 s");
    EXPECT_EQ(textOf("timeLabel"), "0.000 s · Bild 0");
    EXPECT_EQ(textOf("zoomModeLabel"), "Automatik");
    EXPECT_EQ(textOf("maskLabel"), "Keine Bereiche");
    EXPECT_EQ(window().findChild<QWidget*>("pointerNote"), nullptr);
    EXPECT_EQ(textOf("lengthLabel"), "Video: 5.0 s");
    EXPECT_EQ(find<QComboBox>("zoomPopup")->itemText(0).toStdString(),
              labels::zoomItem(1, session().composition()->zoomSpecs().at(0)));
    EXPECT_TRUE(awaitInLoop([this] { return frame() != nullptr; }));
    EXPECT_EQ(window().findChild<QWidget*>("webcamCornerPopup"), nullptr);
}

TEST_F(EditorWindowTest, TheFrameHasThePixelsOfThePlaceWhereItIsShown) {
    openWindow();
    const auto fits = [this] {
        if (frame() == nullptr) return false;
        const Rect shown = controls().previewView->shownRect();
        const double ratio = window().devicePixelRatioF();
        return frame()->width() == std::lround(shown.width * ratio) &&
               frame()->height() == std::lround(shown.height * ratio);
    };
    EXPECT_TRUE(awaitInLoop(fits));
    window().resize(1500, 1000);
    EXPECT_TRUE(awaitInLoop(fits));
}

TEST_F(EditorWindowTest, ASessionIsUndoneAndRedoneStepByStep) {
    openWindow();
    ASSERT_TRUE(awaitInLoop([this] { return frame() != nullptr; }));
    std::vector<model::ProjectSettings> states = {session().settings()};
    std::vector<std::string> shown = {everythingShown()};
    const auto remember = [&] {
        EXPECT_NE(session().settings(), states.back());
        states.push_back(session().settings());
        shown.push_back(everythingShown());
    };
    drag("timeSlider", 0.1);
    click("trimStartButton");
    remember();
    drag("timeSlider", 0.95);
    click("trimEndButton");
    remember();
    drag("timeSlider", 0.3);
    click("cutStartButton");
    EXPECT_EQ(textOf("cutLabel"), labels::cuts({}, session().pendingCutStart()));
    drag("timeSlider", 0.4);
    click("cutEndButton");
    remember();
    drag("timeSlider", 0.6);
    click("addZoomButton");
    EXPECT_EQ(textOf("zoomModeLabel"), "von Hand bearbeitet");
    EXPECT_EQ(find<QComboBox>("zoomPopup")->currentIndex(), session().selectedZoom());
    EXPECT_EQ(transport().playhead(), session().selectedZoomMoment());
    remember();
    click("maskDrawButton");
    EXPECT_EQ(textOf("maskLabel"), "Rechteck in der Vorschau aufziehen (Esc bricht ab)");
    const Rect area = controls().previewView->shownRect();
    auto before = frame();
    drawMask({area.x + area.width * 0.3, area.y + area.height * 0.3},
             {area.x + area.width * 0.6, area.y + area.height * 0.6});
    EXPECT_EQ(textOf("maskLabel"), "1 Bereich, gilt fürs ganze Video");
    EXPECT_EQ(find<QPushButton>("maskDrawButton")->text(), "Bereich aufziehen");
    EXPECT_TRUE(awaitFrameAfter(before));
    remember();

    before = frame();
    for (std::size_t i = states.size() - 1; i-- > 0;) {
        press(Qt::Key_Z, Qt::ControlModifier);
        EXPECT_EQ(session().settings(), states[i]) << i;
        EXPECT_EQ(everythingShown(), shown[i]) << i;
    }
    EXPECT_TRUE(awaitFrameAfter(before));
    before = frame();
    for (std::size_t i = 1; i < states.size(); ++i) {
        press(Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
        EXPECT_EQ(session().settings(), states[i]) << i;
        EXPECT_EQ(everythingShown(), shown[i]) << i;
    }
    EXPECT_TRUE(awaitFrameAfter(before));
    window().close();
    EXPECT_EQ(saved(), states.back());
    EXPECT_EQ(closed_, 1);
}

TEST_F(EditorWindowTest, EveryControlReachesTheProjectDocument) {
    openWindow(true);
    model::ProjectSettings expected = session().settings();
    const auto value = [this](const char* name) { return find<ui::ValueSlider>(name)->doubleValue(); };
    struct Slider {
        const char* name;
        double part;
        double model::ProjectSettings::*field;
        ui::ControlRange range;
    };
    const Slider sliders[] = {
        {"smoothingSlider", 0.3, &model::ProjectSettings::smoothing, {0.0, 1.0}},
        {"cursorSlider", 0.9, &model::ProjectSettings::cursorScale, {0.8, 2.6}},
        {"paddingSlider", 0.7, &model::ProjectSettings::padding, {0.0, 0.14}},
        {"cornerSlider", 0.2, &model::ProjectSettings::cornerRadius, {0.0, 48.0}},
        {"systemVolumeSlider", 0.8, &model::ProjectSettings::systemVolume, {0.0, 2.0}},
        {"micVolumeSlider", 0.0, &model::ProjectSettings::micVolume, {0.0, 2.0}},
        {"webcamSizeSlider", 0.7, &model::ProjectSettings::webcamSize, {0.14, 0.45}},
        {"webcamZoomSlider", 0.4, &model::ProjectSettings::webcamZoom, {1.0, 2.2}},
        {"cropTopSlider", 0.1, &model::ProjectSettings::cropTop, {0.0, 0.4}},
        {"cropBottomSlider", 0.2, &model::ProjectSettings::cropBottom, {0.0, 0.4}},
        {"cropLeftSlider", 0.3, &model::ProjectSettings::cropLeft, {0.0, 0.4}},
        {"cropRightSlider", 0.4, &model::ProjectSettings::cropRight, {0.0, 0.4}},
        {"zoomToolSlider", 0.9, &model::ProjectSettings::zoomScale, {1.0, 3.0}},
        {"zoomSlider", 0.5, &model::ProjectSettings::zoomScale, {1.0, 3.0}},
    };
    for (const Slider& slider : sliders) {
        controls().settingsColumn.area()->ensureWidgetVisible(find<ui::ValueSlider>(slider.name));
        drag(slider.name, slider.part);
        expected.*slider.field = value(slider.name);
        EXPECT_NEAR(value(slider.name),
                    slider.range.minimum + slider.part * (slider.range.maximum - slider.range.minimum),
                    0.02 * (slider.range.maximum - slider.range.minimum))
            << slider.name;
        EXPECT_EQ(session().settings(), expected) << slider.name;
    }
    controls().settingsColumn.area()->ensureWidgetVisible(find<ui::ValueSlider>("webcamShiftSlider"));
    drag("webcamShiftSlider", 0.7);
    EXPECT_NEAR(value("webcamShiftSlider"), 0.2, 0.02);
    expected.webcamShift = value("webcamShiftSlider");
    EXPECT_EQ(session().settings(), expected);
    EXPECT_EQ(value("zoomToolSlider"), value("zoomSlider"));
    EXPECT_EQ(textOf("micVolumeSliderLabel"), "0 % (stumm)");

    QTest::mouseClick(find<ui::SegmentedControl>("tempoControl")->segment(0), Qt::LeftButton);
    expected.tempo = model::Tempo::schnell;
    QTest::mouseClick(find<ui::SegmentedControl>("exportFormatControl")->segment(1), Qt::LeftButton);
    expected.exportFormat = model::ExportFormat::mov;
    QTest::mouseClick(find<ui::SegmentedControl>("exportResolutionControl")->segment(1), Qt::LeftButton);
    expected.exportHeight = 1440;
    click("webcamCheckbox");
    expected.webcamEnabled = false;
    click("loudnessCheckbox");
    expected.levelLoudness = true;
    QTest::keyClick(find<QComboBox>("webcamCornerPopup"), Qt::Key_Down);
    QTest::keyClick(find<QComboBox>("webcamCornerPopup"), Qt::Key_Down);
    expected.webcamCorner = 2;
    EXPECT_EQ(session().settings().tempo, expected.tempo);
    EXPECT_EQ(session().settings().exportFormat, expected.exportFormat);
    EXPECT_EQ(session().settings().exportHeight, expected.exportHeight);
    EXPECT_EQ(session().settings().webcamEnabled, expected.webcamEnabled);
    EXPECT_EQ(session().settings().webcamCorner, expected.webcamCorner);
    EXPECT_EQ(session().settings().levelLoudness, expected.levelLoudness);
    EXPECT_EQ(session().settings(), expected);

    click("colorWell");
    QColorDialog* dialog = find<ui::ColourWell>("colorWell")->dialog();
    ASSERT_NE(dialog, nullptr);
    dialog->setCurrentColor(QColor(51, 102, 255));
    expected.backgroundRed = 0.2;
    expected.backgroundGreen = 0.4;
    expected.backgroundBlue = 1;
    dialog->close();
    EXPECT_EQ(session().settings(), expected);
    EXPECT_EQ(session().controls(), controls().settingsColumn.values());

    // Without anybody closing anything it is saved a little later.
    EXPECT_TRUE(awaitInLoop([&] { return saved() == expected; }));
}

TEST_F(EditorWindowTest, ADragIsOneStep) {
    openWindow();
    drag("paddingSlider", 0.9);
    EXPECT_EQ(session().history().undoSteps(), 1u);
    press(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(session().settings(), settings_);
    EXPECT_EQ(find<ui::ValueSlider>("paddingSlider")->doubleValue(), settings_.padding);
}

TEST_F(EditorWindowTest, ADoubleClickTakesASliderBackToItsUsualValue) {
    settings_.padding = 0.01;
    openWindow();
    QTest::mouseDClick(find<ui::ValueSlider>("paddingSlider"), Qt::LeftButton);
    EXPECT_EQ(session().settings().padding, model::ProjectSettings().padding);
}

TEST_F(EditorWindowTest, AnEditRightBeforeClosingIsSaved) {
    openWindow();
    drag("cornerSlider", 0.9);
    const model::ProjectSettings expected = session().settings();
    EXPECT_NE(saved(), expected);
    window().close();
    EXPECT_EQ(saved(), expected);
}

TEST_F(EditorWindowTest, KeysWorkWhateverHasTheKeyboard) {
    openWindow();
    press(Qt::Key_Right);
    EXPECT_DOUBLE_EQ(transport().playhead(), 1.0 / 30);
    EXPECT_EQ(textOf("timeLabel"), "0.033 s · Bild 1");
    press(Qt::Key_Right, Qt::ShiftModifier);
    EXPECT_DOUBLE_EQ(transport().playhead(), 31.0 / 30);
    find<ui::ValueSlider>("paddingSlider")->setFocus();
    press(Qt::Key_Left);
    EXPECT_DOUBLE_EQ(transport().playhead(), 30.0 / 30);
    EXPECT_EQ(session().settings(), settings_);
    press(Qt::Key_Left, Qt::ShiftModifier);
    press(Qt::Key_Left, Qt::ShiftModifier);
    EXPECT_EQ(transport().playhead(), 0);
    // Up and down are left for the slider.
    press(Qt::Key_Up);
    EXPECT_GT(session().settings().padding, settings_.padding);
    find<QPushButton>("playButton")->setFocus();
    press(Qt::Key_Space);
    EXPECT_TRUE(transport().isPlaying());
    EXPECT_EQ(find<QPushButton>("playButton")->accessibleName(), "Anhalten");
    press(Qt::Key_Space);
    EXPECT_FALSE(transport().isPlaying());
    EXPECT_EQ(find<QPushButton>("playButton")->accessibleName(), "Abspielen");
    find<QPushButton>("trimResetButton")->setFocus();
    session().setTrimStart(2);
    press(Qt::Key_Return);
    EXPECT_EQ(session().settings().trimStart, 0);
}

TEST_F(EditorWindowTest, EscapeEndsDrawingAndIsOtherwisePassedOn) {
    openWindow();
    press(Qt::Key_Space);
    click("maskDrawButton");
    EXPECT_FALSE(transport().isPlaying());
    EXPECT_TRUE(controls().maskDrawView->isDrawing());
    EXPECT_EQ(find<QPushButton>("maskDrawButton")->text(), "Abbrechen");
    press(Qt::Key_Escape);
    EXPECT_FALSE(controls().maskDrawView->isDrawing());
    EXPECT_EQ(find<QPushButton>("maskDrawButton")->text(), "Bereich aufziehen");
    EXPECT_EQ(textOf("maskLabel"), "Keine Bereiche");
    press(Qt::Key_Escape);
    EXPECT_TRUE(window().isVisible());
}

TEST_F(EditorWindowTest, ARectangleOfFourPointsIsNoMask) {
    openWindow();
    click("maskDrawButton");
    const Rect area = controls().previewView->shownRect();
    const QPointF start(area.midX(), area.midY());
    drawMask(start, start + QPointF(4, 50));
    drawMask(start, start + QPointF(50, 4));
    EXPECT_TRUE(session().settings().masks.empty());
    EXPECT_TRUE(controls().maskDrawView->isDrawing());
    drawMask(start, start + QPointF(5, 50));
    EXPECT_EQ(session().settings().masks.size(), 1u);
    EXPECT_FALSE(controls().maskDrawView->isDrawing());
}

TEST_F(EditorWindowTest, NoMaskIsDrawnOnAStandIn) {
    openWindow();
    ASSERT_TRUE(awaitInLoop([this] { return frame() != nullptr; }));
    click("maskDrawButton");
    const Rect area = controls().previewView->shownRect();
    const Point from{area.x + area.width * 0.3, area.y + area.height * 0.3};
    const QPointF start(from.x, from.y);
    const QPointF end(from.x + 50, from.y + 50);
    controls().previewView->setFrame(frame(), false);
    EXPECT_EQ(frame(), nullptr);
    drawMask(start, end);
    EXPECT_TRUE(session().settings().masks.empty());
    controls().previewView->setFrame(controls().previewView->frame(), true);
    drawMask(start, end);
    EXPECT_EQ(session().settings().masks.size(), 1u);
}

TEST_F(EditorWindowTest, AMaskLiesWhereItWasDrawn) {
    settings_.zooms = std::vector<model::ZoomSpec>();
    openWindow();
    click("maskDrawButton");
    const edit::StudioLayout layout = session().composition()->state()->layout;
    const Rect area = controls().previewView->shownRect();
    const double scale = area.width / layout.canvas.width;
    // The right half of the lower half of the screen picture.
    const double left = area.x + layout.screenRect.midX() * scale;
    const double top = area.y + (layout.canvas.height - layout.screenRect.midY()) * scale;
    drawMask({left, top}, {left + layout.screenRect.width / 2 * scale, top + layout.screenRect.height / 2 * scale});
    ASSERT_EQ(session().settings().masks.size(), 1u);
    const model::MaskRect mask = session().settings().masks[0];
    // The pointer moves by whole points.
    const double tolerance = 1.5 / (layout.screenRect.height * scale);
    EXPECT_NEAR(mask.x, 0.5, tolerance);
    EXPECT_NEAR(mask.y, 0.5, tolerance);
    EXPECT_NEAR(mask.width, 0.5, 2 * tolerance);
    EXPECT_NEAR(mask.height, 0.5, 2 * tolerance);
}

TEST_F(EditorWindowTest, PlayingJumpsOverCutsAndBeginsAnewAtTheEnd) {
    settings_.trimStart = 0.5;
    settings_.trimEnd = 5;
    settings_.cuts = {{1, 4.5}};
    openWindow();
    transport().jump(0.8);
    click("playButton");
    bool insideTheCut = false;
    EXPECT_TRUE(awaitInLoop([&] {
        const double now = transport().playhead();
        insideTheCut = insideTheCut || (now > 1.1 && now < 4.4);
        return !transport().isPlaying();
    }));
    EXPECT_FALSE(insideTheCut);
    EXPECT_NEAR(transport().playhead(), 5, 0.1);
    EXPECT_EQ(find<QPushButton>("playButton")->accessibleName(), "Abspielen");
    click("playButton");
    EXPECT_TRUE(transport().isPlaying());
    EXPECT_LT(transport().playhead(), 0.6);
    EXPECT_TRUE(awaitInLoop([&] { return transport().playhead() > 0.7; }));
    click("playButton");
}

TEST_F(EditorWindowTest, TheStripBelowTheSliderIsTheSlider) {
    openWindow();
    auto* strip = find<TimelineStrip>("timelineStrip");
    const auto& layout = strip->layoutShown();
    EXPECT_EQ(layout.clicks.size(), 3u);
    EXPECT_EQ(layout.zooms.size(), session().composition()->zoomSpecs().size());
    QTest::mouseClick(strip, Qt::LeftButton, {}, QPoint(strip->width() / 2, 10));
    EXPECT_NEAR(transport().playhead(), kSeconds / 2, 0.02);
    EXPECT_NEAR(find<ui::ValueSlider>("timeSlider")->doubleValue(), kSeconds / 2, 0.02);
    EXPECT_NEAR(layout.playhead.value(), strip->width() / 2.0, 2);
}

TEST_F(EditorWindowTest, RefusedCommandsSaySoAndChangeNothing) {
    openWindow();
    click("cutEndButton");
    EXPECT_EQ(textOf("statusLabel"), "Zuerst „Schnitt von hier\" drücken.");
    transport().jump(3);
    click("cutStartButton");
    click("cutEndButton");
    EXPECT_EQ(textOf("statusLabel"), "Das Schnittende muss hinter dem Anfang liegen.");
    click("removeCutButton");
    click("removeMaskButton");
    press(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(session().settings(), settings_);
    EXPECT_EQ(session().history().undoSteps(), 0u);
}

TEST_F(EditorWindowTest, AnExportShowsItsProgressAndWhereItsFileIs) {
    settings_.cuts = {{1, 5}};
    openWindow();
    EXPECT_FALSE(find<QProgressBar>("progressBar")->isVisible());
    EXPECT_FALSE(find<QPushButton>("revealRenderButton")->isVisible());
    click("renderButton");
    EXPECT_EQ(textOf("statusLabel"), "Rendere in 1920×1080 …");
    EXPECT_TRUE(find<QProgressBar>("progressBar")->isVisible());
    EXPECT_TRUE(find<QPushButton>("cancelRenderButton")->isVisible());
    EXPECT_FALSE(find<QPushButton>("renderButton")->isEnabled());
    // The editor stays usable.
    drag("paddingSlider", 0.9);
    ASSERT_TRUE(awaitExport());
    EXPECT_EQ(textOf("statusLabel"),
              "Fertig: 2.0 s, " + std::to_string(session().composition()->zoomCount()) + " Zooms – studio-output.mp4");
    EXPECT_FALSE(find<QProgressBar>("progressBar")->isVisible());
    EXPECT_FALSE(find<QPushButton>("cancelRenderButton")->isVisible());
    EXPECT_TRUE(find<QPushButton>("renderButton")->isEnabled());
    ASSERT_TRUE(find<QPushButton>("revealRenderButton")->isVisible());
    click("revealRenderButton");
    EXPECT_EQ(revealed_, folder_ / "studio-output.mp4");
    EXPECT_TRUE(std::filesystem::exists(revealed_));
}

TEST_F(EditorWindowTest, AnExportThatCannotBeSaysWhy) {
    settings_.cuts = {{0, 99}};
    openWindow();
    click("renderButton");
    ASSERT_TRUE(awaitExport());
    EXPECT_EQ(textOf("statusLabel"), "Fehlgeschlagen: Es bleibt nichts übrig - alles ist weggeschnitten.");
    EXPECT_EQ(count(logText(), "[Editor] Render-Fehler: Es bleibt nichts übrig - alles ist weggeschnitten."), 1);
    EXPECT_TRUE(find<QPushButton>("renderButton")->isEnabled());
    EXPECT_FALSE(find<QPushButton>("revealRenderButton")->isVisible());
}

TEST_F(EditorWindowTest, ACancelledExportLeavesNothing) {
    openWindow();
    click("renderButton");
    click("cancelRenderButton");
    ASSERT_TRUE(awaitExport());
    EXPECT_EQ(textOf("statusLabel"), "Rendern abgebrochen.");
    EXPECT_FALSE(std::filesystem::exists(folder_ / "studio-output.mp4"));
}

TEST_F(EditorWindowTest, AnExportGoesOnWithoutItsWindow) {
    settings_.cuts = {{1, 5}};
    openWindow();
    click("renderButton");
    EXPECT_TRUE(window().close());
    EXPECT_EQ(closed_, 1);
    EXPECT_TRUE(exports_->list().isBusy());
    ASSERT_TRUE(awaitInLoop([this] { return !exports_->list().isBusy(); }, 300));
    EXPECT_EQ(exports_->list().entries().front().state, ExportState::done);
    EXPECT_TRUE(std::filesystem::exists(folder_ / "studio-output.mp4"));
}

TEST_F(EditorWindowTest, TheMachineIsKeptAwakeFromTheFirstMomentOfAnExport) {
    openWindow();
    EXPECT_TRUE(awake_.expired());
    click("renderButton");
    EXPECT_FALSE(awake_.expired());
    click("cancelRenderButton");
    ASSERT_TRUE(awaitExport());
    EXPECT_TRUE(awake_.expired());
}

TEST_F(EditorWindowTest, EndingTheWorkSaves) {
    openWindow();
    session().setTrimStart(2);
    window().endWork();
    EXPECT_EQ(saved().trimStart, 2);
}

TEST_F(EditorWindowTest, AHintGoesWhenTheUserDoesSomethingElse) {
    openWindow();
    click("cutEndButton");
    EXPECT_EQ(textOf("statusLabel"), "Zuerst „Schnitt von hier\" drücken.");
    click("cutStartButton");
    EXPECT_EQ(textOf("statusLabel"), "");
    click("cutEndButton");
    EXPECT_EQ(textOf("statusLabel"), "Das Schnittende muss hinter dem Anfang liegen.");
    press(Qt::Key_Right);
    EXPECT_EQ(textOf("statusLabel"), "");
    // What is no hint stays.
    controls().renderBar.setStatus("Etwas anderes.");
    press(Qt::Key_Right);
    EXPECT_EQ(textOf("statusLabel"), "Etwas anderes.");
}

TEST_F(EditorWindowTest, ANewRecordingCanBeBegunByTheButtonAndByKeys) {
    openWindow();
    click("newRecordingButton");
    EXPECT_EQ(newRecordings_, 1);
    press(Qt::Key_N, Qt::ControlModifier);
    EXPECT_EQ(newRecordings_, 2);
}

TEST_F(EditorWindowTest, WithoutAWayToRecordThereIsNoButtonForIt) {
    openWindow();
    window_.reset();
    EditorWindow other(folder_.path(), loop_, {});
    other.show();
    EXPECT_FALSE(other.findChild<QPushButton*>("newRecordingButton")->isVisible());
}

TEST_F(EditorWindowTest, EverythingThatCanBeSeenHasAName) {
    openWindow(true);
    controls().renderBar.setRendering(true);
    find<QPushButton>("revealRenderButton")->show();
    EXPECT_GT(expectEverythingIsNamed(window()), 80);
}

TEST_F(EditorWindowTest, SlidersTellTheirValueToAssistivePrograms) {
    openWindow(true);
    int count = 0;
    for (QSlider* each : window().findChildren<QSlider*>()) {
        auto* slider = dynamic_cast<ui::ValueSlider*>(each);
        ASSERT_NE(slider, nullptr);
        ++count;
        const std::string name = slider->objectName().toStdString();
        QAccessibleInterface* const accessible = QAccessible::queryAccessibleInterface(slider);
        ASSERT_NE(accessible->valueInterface(), nullptr) << name;
        EXPECT_EQ(accessible->role(), QAccessible::Slider) << name;
        EXPECT_EQ(accessible->valueInterface()->currentValue().toDouble(), slider->doubleValue()) << name;
        EXPECT_LT(accessible->valueInterface()->minimumValue().toDouble(),
                  accessible->valueInterface()->maximumValue().toDouble())
            << name;
        const QString written = accessible->text(QAccessible::Value);
        EXPECT_FALSE(written.isEmpty()) << name;
        if (const auto* label = window().findChild<QLabel*>(slider->objectName() + "Label")) {
            EXPECT_EQ(written, label->text()) << name;
        }
        EXPECT_TRUE(accessible->text(QAccessible::Description).startsWith(written + ". ")) << name;
    }
    EXPECT_EQ(count, 16);
    // A reader may set it, too.
    QAccessible::queryAccessibleInterface(find<ui::ValueSlider>("paddingSlider"))
        ->valueInterface()
        ->setCurrentValue(0.07);
    EXPECT_EQ(session().settings().padding, 0.07);
    QAccessible::queryAccessibleInterface(find<ui::ValueSlider>("paddingSlider"))->valueInterface()->setCurrentValue(7);
    EXPECT_EQ(session().settings().padding, 0.14);
}

TEST_F(EditorWindowTest, AFolderThatIsDroppedOnItIsOpened) {
    openWindow();
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(QString::fromStdString(folder_.path().string()))});
    QDragEnterEvent enter({100, 100}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&window(), &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDropEvent drop({100, 100}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&window(), &drop);
    EXPECT_TRUE(awaitInLoop([this] { return opened_ == folder_.path(); }));
}

TEST_F(EditorWindowTest, AFileThatIsDroppedOnItIsNot) {
    openWindow();
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(QString::fromStdString((folder_ / "source.mov").string()))});
    QDragEnterEvent enter({100, 100}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    enter.ignore();
    QApplication::sendEvent(&window(), &enter);
    EXPECT_FALSE(enter.isAccepted());
}

TEST_F(EditorWindowTest, AFolderWithoutAMovieIsRefused) {
    makeRecording(1);
    info_.save(folder_.path());
    model::PointerTrack().save(folder_.path());
    std::filesystem::remove(folder_ / "source.mov");
    EXPECT_THROW(EditorWindow(folder_.path(), loop_, {}), RecorderError);
}

// Rules for every control, in windows of all kinds.
class EditorWindowLook : public EditorFixture, public testing::WithParamInterface<std::pair<bool, double>> {
  protected:
    EditorWindowLook() {
        QFont larger = before_;
        larger.setPointSizeF(GetParam().second);
        QApplication::setFont(larger);
    }
    ~EditorWindowLook() override { QApplication::setFont(before_); }

    // At the size that the window has.
    void expectNothingIsCutOff() {
        QCoreApplication::processEvents();
        EXPECT_GT(expectTextsFit(window()), 60);
        EXPECT_FALSE(controls().settingsColumn.area()->widget()->width() >
                     controls().settingsColumn.area()->viewport()->width());
    }

    std::vector<QWidget*> allControls() {
        std::vector<QWidget*> all;
        for (QWidget* each : window().findChildren<QWidget*>()) {
            const bool isControl = qobject_cast<QAbstractButton*>(each) != nullptr ||
                                   qobject_cast<QSlider*>(each) != nullptr || qobject_cast<QComboBox*>(each) != nullptr;
            // Qt's own parts of a menu bar are no controls of ours.
            const bool isOurs = each->window() == &window() && !each->objectName().startsWith("qt_");
            if (isControl && isOurs) all.push_back(each);
        }
        return all;
    }

  private:
    const QFont before_ = QApplication::font();
};

TEST_P(EditorWindowLook, IsAsLargeAsLaidDownAndCutsNothingOff) {
    openWindow(GetParam().first);
    const int least = GetParam().first ? 930 : 800;
    if (GetParam().second <= 10) {
        EXPECT_EQ(window().minimumSize(), QSize(1180, least));
        EXPECT_EQ(window().size(), QSize(1320, least + 20));
    } else {
        EXPECT_GE(window().minimumWidth(), 1180);
        EXPECT_GE(window().minimumHeight(), least);
    }
    controls().renderBar.setRendering(true);
    find<QPushButton>("revealRenderButton")->show();
    window().resize(window().minimumSize());
    expectNothingIsCutOff();
}

TEST_P(EditorWindowLook, GivesWayToASmallScreenAndCutsNothingOff) {
    openWindow(GetParam().first);
    const QSize usual = window().size();
    window().fitInto({4000, 3000});
    EXPECT_EQ(window().size(), usual);
    window().fitInto({1366, 700});
    EXPECT_LE(window().width(), std::max(1366, window().layout()->totalMinimumSize().width()));
    EXPECT_LE(window().height(), std::max(700, window().layout()->totalMinimumSize().height()));
    if (GetParam().second <= 10) {
        EXPECT_EQ(window().size(), QSize(1320, 700));
    }
    controls().renderBar.setRendering(true);
    find<QPushButton>("revealRenderButton")->show();
    expectNothingIsCutOff();
    EXPECT_GE(controls().previewView->height(), 180);
}

TEST_P(EditorWindowLook, EveryControlIsNamedExplainedAndReachedByTheKeyboard) {
    openWindow(GetParam().first);
    const std::vector<QWidget*> all = allControls();
    EXPECT_GT(all.size(), 40u);
    std::set<QWidget*> reachable;
    QWidget* at = &window();
    do {
        at = at->nextInFocusChain();
        if ((at->focusPolicy() & Qt::TabFocus) != 0) reachable.insert(at);
    } while (at != &window());
    for (QWidget* each : all) {
        const std::string name = each->metaObject()->className() + (" " + each->objectName()).toStdString();
        EXPECT_FALSE(each->accessibleName().isEmpty()) << name;
        EXPECT_FALSE(each->toolTip().isEmpty() && each->parentWidget()->toolTip().isEmpty()) << name;
        // Of segments, the tabulator key goes to the selected one.
        const auto* button = qobject_cast<QAbstractButton*>(each);
        if (button != nullptr && button->group() != nullptr && !button->isChecked()) continue;
        EXPECT_TRUE(reachable.contains(each)) << name;
    }
}

INSTANTIATE_TEST_SUITE_P(Windows, EditorWindowLook,
                         testing::Values(std::pair{false, 9.0}, std::pair{true, 10.0}, std::pair{true, 14.0},
                                         std::pair{true, 20.0}));

}  // namespace
}  // namespace lumivastor::editor
