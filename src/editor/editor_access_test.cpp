// SPDX-License-Identifier: GPL-3.0-or-later

// The editor's windows without a mouse, with a screen reader, and with large type.

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QScrollArea>
#include <QTest>
#include <string>
#include <vector>

#include "editor/idle_dialog.h"
#include "editor/key_page.h"
#include "editor/preview/mask_draw_view.h"
#include "editor/preview/preview_handles_view.h"
#include "editor/timeline/strip_painter.h"
#include "editor/timeline/timeline_strip.h"
#include "support/editor_fixture.h"
#include "support/fitting_texts.h"
#include "support/named_widgets.h"
#include "support/style_colours.h"
#include "support/tab_order.h"
#include "ui/colour_well.h"
#include "ui/segmented_control.h"
#include "ui/theme.h"
#include "ui/value_slider.h"

namespace lumivastor::editor {
namespace {

class EditorAccess : public EditorFixture {
  protected:
    void run(Command command) { window().commandActions().at(command)(); }
    QDialog* shownDialog(const char* name) {
        for (QDialog* each : window().findChildren<QDialog*>(name)) {
            if (each->isVisible()) return each;
        }
        ADD_FAILURE() << "no dialog " << name;
        return nullptr;
    }
    static QAccessibleInterface& accessible(QWidget* widget) { return *QAccessible::queryAccessibleInterface(widget); }
    QString announced() { return find("statusLabel")->property("announced").toString(); }
};

constexpr const char* kEditorOrder = R"(
Elemente der Vorschau
1 Sekunde zurück
1 Bild zurück
Abspielen
1 Bild vor
1 Sekunde vor
Zeit
Zeitleiste
Anfang = hier
Ende = hier
Ganze Aufnahme
Schnitt von hier
Schnitt bis hier
Letzten Schnitt entfernen
Leerlauf kürzen
ZOOMS
Zoom anzeigen
Zoom hier hinzufügen
Zoom löschen
Zooms automatisch
Vergrößerung
Bereich zum Verpixeln aufziehen
Letzten Bereich entfernen
Alle Bereiche entfernen
Neue Aufnahme
Video rendern
Zoom
Tempo: Normal
Glättung
Größe des Cursors
Hintergrund
Rand
Ecken
Zuschnitt oben
Zuschnitt unten
Zuschnitt links
Zuschnitt rechts
Lautstärke des Systemtons
Lautstärke des Mikrofons
Lautheit angleichen
Facecam anzeigen
Größe des Kamera-Bilds
Zoom des Kamera-Bilds
Ecke
Kamera-Versatz
Format: MP4
Auflösung: 1080p
)";

TEST_F(EditorAccess, TheTabulatorKeyGoesThroughTheEditorInReadingOrder) {
    openWindow(true);
    EXPECT_EQ(asLines(tabOrder(window())), kEditorOrder);
    EXPECT_EQ(asLines(tabOrder(window(), true)), kEditorOrder);
}

TEST_F(EditorAccess, TheTabulatorKeyGoesThroughTheIdleDialog) {
    openWindow();
    run(Command::shortenIdle);
    QDialog* const dialog = shownDialog("idleDialog");
    ASSERT_NE(dialog, nullptr);
    constexpr const char* kOrder = R"(
Leerlauf ab
Rest
Stellen ohne Bewegung und Ton
Schließen
)";
    ASSERT_TRUE(awaitInLoop([this] { return textOf("idleSummary") == "Kein Leerlauf gefunden."; }));
    EXPECT_EQ(asLines(tabOrder(*dialog)), kOrder);
    EXPECT_EQ(asLines(tabOrder(*dialog, true)), kOrder);
    QTest::keyClick(dialog, Qt::Key_Escape);
    EXPECT_FALSE(dialog->isVisible());
}

TEST_F(EditorAccess, EveryDialogIsNamedAndLeftByEscape) {
    openWindow();
    session().setTrimStart(1);
    const auto expectGood = [this](Command command, const char* name, const char* order) {
        run(command);
        QDialog* const dialog = shownDialog(name);
        ASSERT_NE(dialog, nullptr);
        EXPECT_GT(expectEverythingIsNamed(*dialog), 2) << name;
        EXPECT_EQ(asLines(tabOrder(*dialog)), order) << name;
        EXPECT_EQ(asLines(tabOrder(*dialog, true)), order) << name;
        QTest::keyClick(dialog, Qt::Key_Escape);
        EXPECT_FALSE(dialog->isVisible()) << name;
    };
    expectGood(Command::showKeys, "keyPage", "\nTasten des Editors\n");
    expectGood(Command::saveLook, "lookNameDialog", "\nName des Looks:\nSichern\nAbbrechen\n");
    model::LookFolder(looks_.path()).save("Breit", {});
    expectGood(Command::deleteLook, "lookDeleteDialog", "\nDieser Look wird gelöscht:\nLöschen\nAbbrechen\n");
}

TEST_F(EditorAccess, SegmentsAreRadioButtonsThatTheArrowKeysGoThrough) {
    openWindow();
    auto* const tempo = find<ui::SegmentedControl>("tempoControl");
    EXPECT_EQ(accessible(tempo).role(), QAccessible::Grouping);
    EXPECT_EQ(accessible(tempo).text(QAccessible::Value), "Normal");
    QAbstractButton* const normal = tempo->segment(1);
    EXPECT_EQ(accessible(normal).role(), QAccessible::RadioButton);
    EXPECT_TRUE(accessible(normal).state().checked);
    normal->setFocus();
    const double before = transport().playhead();
    press(Qt::Key_Down);
    EXPECT_EQ(session().settings().tempo, model::Tempo::ruhig);
    EXPECT_EQ(window().focusWidget(), tempo->segment(2));
    press(Qt::Key_Up);
    press(Qt::Key_Up);
    EXPECT_EQ(session().settings().tempo, model::Tempo::schnell);
    EXPECT_EQ(transport().playhead(), before);
    accessible(normal).actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    // It moves like a press with the pointer, which takes a moment.
    EXPECT_TRUE(awaitInLoop([this] { return session().settings().tempo == model::Tempo::normal; }));
}

TEST_F(EditorAccess, TheColourCanBeReadAndSet) {
    openWindow();
    auto* const well = find<ui::ColourWell>("colorWell");
    EXPECT_EQ(accessible(well).role(), QAccessible::Button);
    accessible(well).setText(QAccessible::Value, "#336699");
    EXPECT_DOUBLE_EQ(session().settings().backgroundRed, 0.2);
    EXPECT_DOUBLE_EQ(session().settings().backgroundBlue, 0.6);
    EXPECT_EQ(accessible(well).text(QAccessible::Value), "#336699");
    accessible(well).setText(QAccessible::Value, "no colour");
    EXPECT_DOUBLE_EQ(session().settings().backgroundRed, 0.2);
    accessible(well).actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    ASSERT_NE(well->dialog(), nullptr);
    QTest::keyClick(well->dialog(), Qt::Key_Escape);
}

TEST_F(EditorAccess, TheTimelineIsASliderOfThePlayhead) {
    settings_.zooms = {{{1, 2, 2, {{1.7, 0.3, 0.3}}}, {3, 4, 2, {{3.7, 0.6, 0.6}}}}};
    openWindow();
    TimelineStrip& strip = controls().transportBar.strip();
    QAccessibleInterface& timeline = accessible(&strip);
    EXPECT_EQ(timeline.role(), QAccessible::Slider);
    ASSERT_NE(timeline.valueInterface(), nullptr);
    EXPECT_EQ(timeline.valueInterface()->maximumValue().toDouble(), kSeconds);
    EXPECT_NEAR(timeline.valueInterface()->minimumStepSize().toDouble(), 1.0 / 30, 1e-9);
    timeline.valueInterface()->setCurrentValue(2.5);
    EXPECT_EQ(transport().playhead(), 2.5);
    EXPECT_EQ(timeline.valueInterface()->currentValue().toDouble(), 2.5);
    timeline.actionInterface()->doAction("Nächsten Zoom oder Schnitt wählen");
    EXPECT_EQ(timeline.text(QAccessible::Value), "Zoom 2: 0:03.00 – 0:04.00 ausgewählt. Abspielposition 0:02.50");
    timeline.actionInterface()->doAction("Vorigen Zoom oder Schnitt wählen");
    timeline.actionInterface()->doAction("Auswahl löschen");
    ASSERT_EQ(session().settings().zooms->size(), 1u);
    EXPECT_EQ(session().settings().zooms->at(0).start, 3);
}

TEST_F(EditorAccess, WhatIsInThePreviewIsChosenMovedAndSized) {
    settings_.zooms.emplace();
    settings_.masks = {{0.25, 0.25, 0.25, 0.25}};
    openWindow();
    QAccessibleInterface& preview = accessible(controls().previewHandlesView);
    EXPECT_EQ(preview.text(QAccessible::Value), "Nichts gewählt");
    const auto act = [&preview](const char* name) { preview.actionInterface()->doAction(QString::fromUtf8(name)); };
    act("Nächstes Element wählen");
    EXPECT_EQ(preview.text(QAccessible::Value), "Bereich 1 von 1: links 32, oben 24, 32 × 24 Pixel");
    act("Nach rechts");
    act("Nach unten");
    act("Größer");
    EXPECT_EQ(preview.text(QAccessible::Value), "Bereich 1 von 1: links 33, oben 25, 33 × 25 Pixel");
    act("Nach links");
    act("Nach oben");
    act("Kleiner");
    EXPECT_EQ(preview.text(QAccessible::Value), "Bereich 1 von 1: links 32, oben 24, 32 × 24 Pixel");
    for (const QString& each : preview.actionInterface()->actionNames()) {
        EXPECT_FALSE(preview.actionInterface()->localizedActionName(each).isEmpty());
    }
    act("Löschen");
    EXPECT_TRUE(session().settings().masks.empty());
}

TEST_F(EditorAccess, TheStatusLineIsReadWhenItChanges) {
    openWindow();
    auto* const status = find<QLabel>("statusLabel");
    EXPECT_EQ(accessible(status).role(), QAccessible::StatusBar);
    click("cutEndButton");
    EXPECT_EQ(accessible(status).text(QAccessible::Name).toStdString(), textOf("statusLabel"));
    EXPECT_EQ(announced().toStdString(), textOf("statusLabel"));
    controls().renderBar.setRendering(true);
    controls().renderBar.setProgress(0.5);
    auto* const progress = find("progressBar");
    EXPECT_EQ(accessible(progress).role(), QAccessible::ProgressBar);
    EXPECT_EQ(accessible(progress).valueInterface()->currentValue().toInt(), 500);
    controls().renderBar.setStatus("Rendere in 1920×1080 … noch 10 s");
    EXPECT_NE(announced().toStdString(), textOf("statusLabel")) << "not each second of an export";
    controls().renderBar.setRendering(false);
    controls().renderBar.setStatus("Fertig");
    EXPECT_EQ(announced(), "Fertig");
}

TEST_F(EditorAccess, AMaskIsMadeWithoutAMouse) {
    settings_.zooms.emplace();
    openWindow();
    find<QAbstractButton>("maskDrawButton")->setFocus();
    press(Qt::Key_Return);
    ASSERT_TRUE(controls().maskDrawView->isDrawing());
    press(Qt::Key_Return);
    EXPECT_FALSE(controls().maskDrawView->isDrawing());
    ASSERT_EQ(session().settings().masks.size(), 1u);
    const model::MaskRect made = session().settings().masks[0];
    EXPECT_NEAR(made.x + made.width / 2, 0.5, 0.03);
    EXPECT_NEAR(made.y + made.height / 2, 0.5, 0.03);
    ASSERT_EQ(window().previewTools().selection(), (PreviewItem{PreviewItem::Kind::mask, 0}));
    press(Qt::Key_Right, Qt::ShiftModifier);
    EXPECT_NEAR(session().settings().masks[0].x - made.x, 10.0 / 128, 0.01);
    press(Qt::Key_Escape);
    EXPECT_EQ(window().previewTools().selection(), std::nullopt);
}

TEST_F(EditorAccess, LooksThatThereAreNotAreGreyed) {
    openWindow();
    const auto item = [this](const QString& title) -> QAction* {
        for (QAction* menu : find<QMenuBar>("menuBar")->actions()) {
            if (menu->text() == "&Look") Q_EMIT menu->menu()->aboutToShow();
            for (QAction* each : menu->menu()->actions()) {
                if (each->text() == title) return each;
            }
        }
        return nullptr;
    };
    EXPECT_FALSE(item("Look löschen …")->isEnabled());
    // Another editor saves one.
    model::LookFolder(looks_.path()).save("Breit", {});
    EXPECT_TRUE(item("Look löschen …")->isEnabled());
    model::LookFolder(looks_.path()).remove("Breit");
    EXPECT_FALSE(item("Look löschen …")->isEnabled());
}

TEST_F(EditorAccess, ColoursOfTheTimelineCanBeToldApart) {
    namespace colours = strip_colours;
    using ui::contrast;
    EXPECT_GE(contrast(colours::kZoomText, colours::kZoom), ui::kTextContrast);
    EXPECT_GE(contrast(colours::kSelectedZoomText, colours::kSelectedZoom), ui::kTextContrast);
    EXPECT_GE(contrast(colours::kRulerText, ui::theme::kWindow), ui::kTextContrast);
    EXPECT_GE(contrast(ui::theme::kWindow, ui::theme::kText), ui::kTextContrast) << "the time at a drag";
    for (const QColor& shape : {colours::kZoomEdge, colours::kSelectedZoom, colours::kClick, colours::kWave,
                                colours::kMutedWave, colours::kHandle, colours::kPlayhead, colours::kCutEdge}) {
        EXPECT_GE(contrast(shape, colours::kKept), ui::kShapeContrast) << shape.name().toStdString();
        EXPECT_GE(contrast(shape, ui::theme::kColumn), ui::kShapeContrast) << shape.name().toStdString();
    }
    EXPECT_GE(contrast(colours::kTick, ui::theme::kWindow), ui::kShapeContrast);
    openWindow();
    EXPECT_GT(StyleColours(window().styleSheet()).expectReadableText(windowSurfaces()), 60);
}

// With type of 100, 150 and 200 %.
class EditorType : public EditorAccess, public testing::WithParamInterface<double> {
  protected:
    EditorType() {
        QFont larger = before_;
        larger.setPointSizeF(GetParam());
        QApplication::setFont(larger);
    }
    ~EditorType() override { QApplication::setFont(before_); }

    // What a small screen has for a window.
    static constexpr QSize kRoom{1366 - 8, 768 - 40};

  private:
    const QFont before_ = QApplication::font();
};

TEST_P(EditorType, CutsNothingOffInTheEditor) {
    openWindow(true);
    controls().renderBar.setRendering(true);
    controls().renderBar.setStatus("Rendere in 1920×1080 … noch etwa 1 Minute");
    find("revealRenderButton")->show();
    QApplication::processEvents();
    EXPECT_GT(expectTextsFit(window()), 60);
    window().fitInto(kRoom);
    QApplication::processEvents();
    EXPECT_LE(window().width(), kRoom.width());
    EXPECT_LE(window().height(), kRoom.height());
    EXPECT_GT(expectTextsFit(window()), 60);
    EXPECT_GE(controls().previewView->height(), 180);
    // Every control can be scrolled to, and is seen then.
    const std::vector<std::string> stops = tabOrder(window());
    EXPECT_GT(stops.size(), 40u);
}

TEST_P(EditorType, CutsNothingOffInDialogs) {
    openWindow();
    model::LookFolder(looks_.path()).save("Breit", {});
    for (const auto& [command, name] : {std::pair(Command::shortenIdle, "idleDialog"),
                                        {Command::showKeys, "keyPage"},
                                        {Command::saveLook, "lookNameDialog"},
                                        {Command::deleteLook, "lookDeleteDialog"}}) {
        run(command);
        QDialog* const dialog = shownDialog(name);
        ASSERT_NE(dialog, nullptr);
        QApplication::processEvents();
        EXPECT_GT(expectTextsFit(*dialog), 2) << name;
        EXPECT_LE(dialog->width(), kRoom.width()) << name;
        EXPECT_LE(dialog->height(), kRoom.height()) << name;
        dialog->close();
    }
}

TEST_P(EditorType, GivesThePreviewRoom) {
    openWindow();
    if (GetParam() <= 10) {
        window().resize(1180, 800);
        QApplication::processEvents();
        EXPECT_GE(controls().previewView->height(), 370);
    } else {
        EXPECT_GE(controls().previewView->height(), 180);
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, EditorType, testing::Values(10.0, 15.0, 20.0));

}  // namespace
}  // namespace lumivastor::editor
