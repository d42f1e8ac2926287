// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/editor_tools.h"

#include <QComboBox>
#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>
#include <QStyle>
#include <QVBoxLayout>
#include <initializer_list>

#include "editor/session/control_table.h"
#include "editor/session/labels.h"
#include "ui/flow_layout.h"
#include "ui/icons.h"
#include "ui/text_labels.h"
#include "ui/theme.h"
#include "ui/value_slider.h"

namespace lumivastor::editor {

namespace {

// A row of tools: its controls from the left, and what fills the row. With large type it has more lines.
QLayout* toolRow(std::initializer_list<QWidget*> controls, QWidget* filling, int least) {
    auto* row = new ui::FlowLayout(ui::theme::kTight + 1);
    for (QWidget* control : controls) row->addWidget(control);
    row->addFilling(filling, least);
    return row;
}

// Shorter, the label of a row's state goes to a line of its own. Longer texts end in dots.
int leastLabel() {
    return ui::theme::smallTextWidth("Bereich: 0.000 – 0.000 s");
}

ui::ElidedLabel* stateLabel(const char* name) {
    auto* label = new ui::ElidedLabel;
    label->setObjectName(name);
    label->setProperty("role", "second");
    label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    return label;
}

// A row with its heading before it, a note below the heading, and a line above. Returns the heading.
QLabel* addTools(QGridLayout& grid, const QString& title, QLayout* tools, QLabel* note = nullptr) {
    auto* heading = new QVBoxLayout;
    heading->setSpacing(0);
    heading->addStretch(1);
    auto* label = toolHeading(title);
    heading->addWidget(label);
    if (note != nullptr) heading->addWidget(note);
    heading->addStretch(1);
    const int line = grid.count() == 0 ? -1 : grid.rowCount();
    grid.addLayout(heading, line + 1, 0);
    grid.addLayout(tools, line + 1, 1);
    if (line >= 0) grid.addWidget(separator(), line, 0, 1, 2);
    return label;
}

}  // namespace

EditorTools::EditorTools(const EditorActions& actions) : frame_(new QFrame), zoomModeLabel_(secondLabel()) {
    frame_->setProperty("role", "tools");
    frame_->setAccessibleName("Werkzeuge");
    auto* grid = new QGridLayout(frame_);
    grid->setContentsMargins(ui::theme::kApart, ui::theme::kTight, ui::theme::kApart, ui::theme::kTight);
    grid->setHorizontalSpacing(ui::theme::kApart);
    // Close together: what they do not need belongs to the preview.
    grid->setVerticalSpacing(ui::theme::kTight / 2);
    grid->setColumnStretch(1, 1);

    zoomModeLabel_->setObjectName("zoomModeLabel");
    // The row does not move when the mode changes.
    zoomModeLabel_->setMinimumWidth(ui::theme::smallTextWidth(QString::fromStdString(labels::zoomMode(true))));

    addTools(*grid, "TRIM", makeTrimTools(actions));
    addTools(*grid, "SCHNITT", makeCutTools(actions));
    // Assistive programs find the name of a list in its label.
    addTools(*grid, "ZOOMS", makeZoomTools(actions), zoomModeLabel_)->setBuddy(zoomPopup_);
    addTools(*grid, "VERPIXELN", makeMaskTools(actions));
    setMaskDrawing(false);
}

QLayout* EditorTools::makeTrimTools(const EditorActions& actions) {
    trimLabel_ = stateLabel("trimLabel");
    return toolRow(
        {smallButton("Anfang = hier", "mark-start",
                     {"trimStartButton", "Anfang = hier", "Das Video beginnt an der Abspielposition"},
                     actions.setTrimStart),
         smallButton("Ende = hier", "mark-end",
                     {"trimEndButton", "Ende = hier", "Das Video endet an der Abspielposition"}, actions.setTrimEnd),
         smallButton({}, "whole", {"trimResetButton", "Ganze Aufnahme", "Anfang und Ende zurücksetzen"},
                     actions.resetTrim)},
        trimLabel_, leastLabel());
}

QLayout* EditorTools::makeCutTools(const EditorActions& actions) {
    cutLabel_ = stateLabel("cutLabel");
    return toolRow(
        {smallButton("Von hier", "scissors",
                     {"cutStartButton", "Schnitt von hier", "Der Schnitt beginnt an der Abspielposition"},
                     actions.markCutStart),
         smallButton("Bis hier", "scissors",
                     {"cutEndButton", "Schnitt bis hier", "Schneidet bis zur Abspielposition heraus"}, actions.addCut),
         smallButton({}, "remove-last", {"removeCutButton", "Letzten Schnitt entfernen", "Letzten Schnitt entfernen"},
                     actions.removeLastCut),
         smallButton("Leerlauf …", {},
                     {"idleButton", "Leerlauf kürzen", "Stellen vorschlagen, an denen nichts passiert"},
                     actions.showIdleProposals)},
        cutLabel_, leastLabel());
}

QLayout* EditorTools::makeZoomTools(const EditorActions& actions) {
    makeZoomPopup(actions);
    showZoomButton_ = smallButton("Anzeigen", {}, {"showZoomButton", "Zoom anzeigen", "Zum gewählten Zoom springen"},
                                  actions.showZoom);
    deleteZoomButton_ =
        smallButton({}, "trash", {"deleteZoomButton", "Zoom löschen", "Gewählten Zoom löschen"}, actions.deleteZoom);
    makeZoomSlider(actions);
    auto* scale = new QWidget;
    auto* row = new QHBoxLayout(scale);
    row->setContentsMargins(ui::theme::kTight, 0, 0, 0);
    row->setSpacing(ui::theme::kTight + 1);
    row->addWidget(zoomSlider_.slider, 1);
    row->addWidget(zoomSlider_.label);
    return toolRow({zoomPopup_, showZoomButton_,
                    smallButton("Hier hinzufügen", "plus",
                                {"addZoomButton", "Zoom hier hinzufügen", "Zoom an der Abspielposition hinzufügen"},
                                actions.addZoom),
                    deleteZoomButton_,
                    smallButton("Automatik", {},
                                {"autoZoomsButton", "Zooms automatisch", "Zooms wieder aus den Klicks vorschlagen"},
                                actions.resetZooms)},
                   scale, 0);
}

void EditorTools::makeZoomPopup(const EditorActions& actions) {
    zoomPopup_ = popUp({"zoomPopup", "Zoom", "Zoom auswählen und ansehen"});
    zoomPopup_->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    zoomPopup_->setMinimumContentsLength(15);
    zoomPopup_->setPlaceholderText("Keine Zooms");
    QObject::connect(zoomPopup_, &QComboBox::activated, zoomPopup_, actions.selectZoom);
}

void EditorTools::makeZoomSlider(const EditorActions& actions) {
    const auto& kind = std::get<ZoomControl>(controlTable()[controlIndex(kZoomSlider)].kind);
    zoomSlider_ = makeSlider({{"zoomToolSlider", "Vergrößerung", "Wie stark der gewählte Zoom vergrößert"},
                              kind.range,
                              model::ProjectSettings().zoomScale,
                              kind.text});
    zoomSlider_.slider->setMinimumWidth(64);
    zoomSlider_.slider->onMove = [slider = zoomSlider_.slider, set = actions.setZoomScale] {
        set(slider->doubleValue());
    };
    zoomSlider_.label->setMinimumWidth(ui::theme::smallTextWidth("200 %"));
}

QLayout* EditorTools::makeMaskTools(const EditorActions& actions) {
    maskLabel_ = stateLabel("maskLabel");
    maskDrawButton_ = smallButton(
        "Bereich aufziehen", "draw",
        {"maskDrawButton", "Bereich zum Verpixeln aufziehen", "Rechteck zum Verpixeln in der Vorschau aufziehen"},
        actions.toggleMaskDrawing);
    return toolRow(
        {maskDrawButton_,
         smallButton({}, "remove-last", {"removeMaskButton", "Letzten Bereich entfernen", "Letzten Bereich entfernen"},
                     actions.removeLastMask),
         smallButton("Alle entfernen", {}, {"removeMasksButton", "Alle Bereiche entfernen", "Alle Bereiche entfernen"},
                     actions.removeAllMasks)},
        maskLabel_, leastLabel());
}

void EditorTools::setContent(const Content& content) {
    trimLabel_->setFullText(QString::fromStdString(content.trim));
    cutLabel_->setFullText(QString::fromStdString(content.cuts));
    zoomModeLabel_->setText(QString::fromStdString(content.zoomMode));
    maskLabel_->setFullText(QString::fromStdString(content.masks));
    setZooms(content.zooms, content.selectedZoom);
    zoomSlider_.setValue(content.zoomScale);
}

void EditorTools::setZooms(const std::vector<std::string>& items, int selected) {
    const QSignalBlocker quiet(zoomPopup_);
    if (static_cast<int>(items.size()) != zoomPopup_->count()) {
        zoomPopup_->clear();
        for (const std::string& item : items) zoomPopup_->addItem(QString::fromStdString(item));
    }
    // While a zoom is dragged, only its own item changes.
    for (int i = 0; i < zoomPopup_->count(); ++i) {
        const QString item = QString::fromStdString(items[static_cast<std::size_t>(i)]);
        if (zoomPopup_->itemText(i) != item) zoomPopup_->setItemText(i, item);
    }
    zoomPopup_->setCurrentIndex(selected);
    for (QWidget* each : {static_cast<QWidget*>(zoomPopup_), static_cast<QWidget*>(showZoomButton_),
                          static_cast<QWidget*>(deleteZoomButton_)}) {
        each->setEnabled(!items.empty());
    }
}

void EditorTools::setMaskDrawing(bool drawing) {
    maskDrawButton_->setText(drawing ? "Abbrechen" : "Bereich aufziehen");
    maskDrawButton_->setIcon(drawing ? ui::icon("stop", ui::theme::kOnAccent) : ui::icon("draw"));
    // A style sheet sees the change of a property only when the style is applied again.
    maskDrawButton_->setProperty("active", drawing);
    maskDrawButton_->style()->unpolish(maskDrawButton_);
    maskDrawButton_->style()->polish(maskDrawButton_);
}

}  // namespace lumivastor::editor
