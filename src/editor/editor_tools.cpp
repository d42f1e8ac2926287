// SPDX-License-Identifier: GPL-3.0-or-later
#include <QComboBox>
#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <initializer_list>

#include "editor/editor_builders.h"
#include "editor/editor_controls.h"
#include "editor/session/labels.h"
#include "ui/text_labels.h"
#include "ui/theme.h"
#include "ui/value_slider.h"

// The rows of tools below the transport.

namespace lumivastor::editor {

namespace {

// A row of tools: its controls from the left, its label to the end.
QHBoxLayout* toolRow(std::initializer_list<QWidget*> controls, QWidget* label) {
    auto* row = new QHBoxLayout;
    row->setSpacing(ui::theme::kTight + 1);
    for (QWidget* control : controls) row->addWidget(control);
    if (label == nullptr) return row;
    row->addSpacing(ui::theme::kNear);
    row->addWidget(label, 1);
    return row;
}

ui::ElidedLabel* stateLabel(const char* name) {
    auto* label = new ui::ElidedLabel;
    label->setObjectName(name);
    label->setProperty("role", "second");
    label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    return label;
}

// A row with its heading before it, a note below the heading, and a line above.
void addTools(QGridLayout& grid, const QString& title, QLayout* tools, QLabel* note = nullptr) {
    auto* heading = new QVBoxLayout;
    heading->setSpacing(0);
    heading->addStretch(1);
    heading->addWidget(toolHeading(title));
    if (note != nullptr) heading->addWidget(note);
    heading->addStretch(1);
    const int line = grid.count() == 0 ? -1 : grid.rowCount();
    grid.addLayout(heading, line + 1, 0);
    grid.addLayout(tools, line + 1, 1);
    if (line >= 0) grid.addWidget(separator(), line, 0, 1, 2);
}

}  // namespace

QWidget* EditorControls::makeTools(const EditorActions& actions) {
    auto* frame = new QFrame;
    frame->setProperty("role", "tools");
    auto* grid = new QGridLayout(frame);
    grid->setContentsMargins(ui::theme::kApart, ui::theme::kNear, ui::theme::kApart, ui::theme::kNear);
    grid->setHorizontalSpacing(ui::theme::kApart);
    grid->setVerticalSpacing(ui::theme::kTight + 1);
    grid->setColumnStretch(1, 1);

    zoomModeLabel = secondLabel();
    zoomModeLabel->setObjectName("zoomModeLabel");
    // The row does not move when the mode changes.
    zoomModeLabel->setMinimumWidth(ui::theme::smallTextWidth(QString::fromStdString(labels::zoomMode(true))));

    addTools(*grid, "TRIM", makeTrimTools(actions));
    addTools(*grid, "SCHNITT", makeCutTools(actions));
    addTools(*grid, "ZOOMS", makeZoomTools(actions), zoomModeLabel);
    addTools(*grid, "VERPIXELN", makeMaskTools(actions));
    return frame;
}

QLayout* EditorControls::makeTrimTools(const EditorActions& actions) {
    trimLabel = stateLabel("trimLabel");
    return toolRow(
        {smallButton("Anfang = hier", "mark-start",
                     {"trimStartButton", "Anfang = hier", "Das Video beginnt an der Abspielposition"},
                     actions.setTrimStart),
         smallButton("Ende = hier", "mark-end",
                     {"trimEndButton", "Ende = hier", "Das Video endet an der Abspielposition"}, actions.setTrimEnd),
         smallButton({}, "whole", {"trimResetButton", "Ganze Aufnahme", "Anfang und Ende zurücksetzen"},
                     actions.resetTrim)},
        trimLabel);
}

QLayout* EditorControls::makeCutTools(const EditorActions& actions) {
    cutLabel = stateLabel("cutLabel");
    return toolRow(
        {smallButton("Von hier", "scissors",
                     {"cutStartButton", "Schnitt von hier", "Der Schnitt beginnt an der Abspielposition"},
                     actions.markCutStart),
         smallButton("Bis hier", "scissors",
                     {"cutEndButton", "Schnitt bis hier", "Schneidet bis zur Abspielposition heraus"}, actions.addCut),
         smallButton({}, "remove-last", {"removeCutButton", "Letzten Schnitt entfernen", "Letzten Schnitt entfernen"},
                     actions.removeLastCut)},
        cutLabel);
}

QLayout* EditorControls::makeZoomTools(const EditorActions& actions) {
    makeZoomPopup(actions);
    showZoomButton = smallButton("Anzeigen", {}, {"showZoomButton", "Zoom anzeigen", "Zum gewählten Zoom springen"},
                                 actions.showZoom);
    deleteZoomButton =
        smallButton({}, "trash", {"deleteZoomButton", "Zoom löschen", "Gewählten Zoom löschen"}, actions.deleteZoom);
    auto* row =
        toolRow({zoomPopup, showZoomButton,
                 smallButton("Hier hinzufügen", "plus",
                             {"addZoomButton", "Zoom hier hinzufügen", "Zoom an der Abspielposition hinzufügen"},
                             actions.addZoom),
                 deleteZoomButton,
                 smallButton("Automatik", {},
                             {"autoZoomsButton", "Zooms automatisch", "Zooms wieder aus den Klicks vorschlagen"},
                             actions.resetZooms)},
                nullptr);
    QLabel* percent = makeZoomToolSlider(actions);
    row->addSpacing(ui::theme::kTight);
    row->addWidget(zoomToolSlider, 1);
    row->addWidget(percent);
    return row;
}

void EditorControls::makeZoomPopup(const EditorActions& actions) {
    zoomPopup = popUp({"zoomPopup", "Zoom", "Zoom auswählen und ansehen"});
    zoomPopup->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    zoomPopup->setMinimumContentsLength(15);
    zoomPopup->setPlaceholderText("Keine Zooms");
    QObject::connect(zoomPopup, &QComboBox::activated, zoomPopup, actions.selectZoom);
}

QLabel* EditorControls::makeZoomToolSlider(const EditorActions& actions) {
    const SliderRow row = makeSlider({{"zoomToolSlider", "Vergrößerung", "Wie stark der gewählte Zoom vergrößert"},
                                      kZoomRange,
                                      model::ProjectSettings().zoomScale,
                                      labels::zoomPercent},
                                     actions);
    zoomToolSlider = row.slider;
    zoomToolSlider->setMinimumWidth(64);
    zoomToolSlider->onMove = [this, changed = actions.settingChanged] {
        zoomSlider->setDoubleValue(zoomToolSlider->doubleValue());
        changed();
    };
    row.label->setMinimumWidth(ui::theme::smallTextWidth("200 %"));
    return row.label;
}

QLayout* EditorControls::makeMaskTools(const EditorActions& actions) {
    maskLabel = stateLabel("maskLabel");
    maskDrawButton = smallButton(
        "Bereich aufziehen", "draw",
        {"maskDrawButton", "Bereich zum Verpixeln aufziehen", "Rechteck zum Verpixeln in der Vorschau aufziehen"},
        actions.toggleMaskDrawing);
    return toolRow(
        {maskDrawButton,
         smallButton({}, "remove-last", {"removeMaskButton", "Letzten Bereich entfernen", "Letzten Bereich entfernen"},
                     actions.removeLastMask),
         smallButton("Alle entfernen", {}, {"removeMasksButton", "Alle Bereiche entfernen", "Alle Bereiche entfernen"},
                     actions.removeAllMasks)},
        maskLabel);
}

}  // namespace lumivastor::editor
