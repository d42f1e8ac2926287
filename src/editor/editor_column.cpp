// SPDX-License-Identifier: GPL-3.0-or-later
#include <QCheckBox>
#include <QComboBox>
#include <QScrollArea>
#include <QVBoxLayout>
#include <span>
#include <string_view>

#include "editor/editor_builders.h"
#include "editor/editor_controls.h"
#include "editor/session/labels.h"
#include "ui/colour_well.h"
#include "ui/segmented_control.h"
#include "ui/theme.h"
#include "ui/value_slider.h"

// The column of settings beside the preview, a card for each kind.

namespace lumivastor::editor {

namespace {

const model::ProjectSettings kUsual;

// The column's width, in points: captions and values as wide as the type makes them, and between them sliders that a
// hundredth can be set with. The bar takes its room when there is one.
constexpr int kColumnSlider = 120;
constexpr int kScrollBar = 10;
int columnWidth() {
    return ui::theme::smallTextWidth("Hintergrund") + ui::theme::smallTextWidth("0 % (stumm)") + kColumnSlider +
           4 * ui::theme::kApart + 2 * ui::theme::kNear + kScrollBar;
}

ui::SegmentedControl* addSegments(Card& card, const QString& caption, std::span<const std::string_view> titles,
                                  const ControlNames& names, const EditorActions& actions) {
    auto* control = new ui::SegmentedControl(titles, QString::fromUtf8(names.accessible));
    setNames(*control, names);
    control->onSelect = actions.settingChanged;
    card.addRow(caption, control);
    return control;
}

}  // namespace

QWidget* EditorControls::makeColumn(const Recording& recording, const EditorActions& actions) {
    auto* content = new QWidget;
    content->setProperty("role", "column");
    auto* cards = new QVBoxLayout(content);
    cards->setContentsMargins(ui::theme::kApart, ui::theme::kApart, ui::theme::kApart, ui::theme::kApart);
    cards->setSpacing(ui::theme::kNear);
    addCameraCard(*cards, actions);
    addCursorCard(*cards, actions);
    addLookCard(*cards, actions);
    addCropCard(*cards, actions);
    addSoundCard(*cards, actions);
    if (recording.hasWebcam) addWebcamCard(*cards, actions);
    addExportCard(*cards, actions);
    cards->addStretch(1);

    column = new QScrollArea;
    column->setWidget(content);
    column->setWidgetResizable(true);
    column->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    column->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    column->setFrameShape(QFrame::NoFrame);
    column->setFocusPolicy(Qt::NoFocus);
    column->setAccessibleName("Einstellungen");
    column->setFixedWidth(columnWidth());
    return column;
}

void EditorControls::addCameraCard(QLayout& cards, const EditorActions& actions) {
    Card card(cards, "Kamera");
    zoomSlider = addSlider(
        card, "Zoom",
        {{"zoomSlider", "Zoom", "Wie stark Zooms vergrößern"}, kZoomRange, kUsual.zoomScale, labels::zoomPercent},
        actions);
    tempoControl =
        addSegments(card, "Tempo", kTempoTitles, {"tempoControl", "Tempo", "Wie schnell die Kamera fährt"}, actions);
    smoothingSlider = addSlider(card, "Glättung",
                                {{"smoothingSlider", "Glättung", "Wie ruhig sich der Zeiger bewegt"},
                                 kSmoothingRange,
                                 kUsual.smoothing,
                                 labels::percent},
                                actions);
}

void EditorControls::addCursorCard(QLayout& cards, const EditorActions& actions) {
    Card card(cards, "Cursor");
    cursorSlider = addSlider(card, "Größe",
                             {{"cursorSlider", "Größe des Cursors", "Wie groß der Cursor gezeichnet wird"},
                              kCursorRange,
                              kUsual.cursorScale,
                              labels::magnification},
                             actions);
}

void EditorControls::addLookCard(QLayout& cards, const EditorActions& actions) {
    Card card(cards, "Look");
    colourWell = new ui::ColourWell;
    setNames(*colourWell, {"colorWell", "Hintergrund", "Farbe des Hintergrunds wählen"});
    colourWell->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    colourWell->onChoose = actions.settingChanged;
    card.addRow("Hintergrund", colourWell);
    paddingSlider = addSlider(card, "Rand",
                              {{"paddingSlider", "Rand", "Wie viel Hintergrund um das Bild zu sehen ist"},
                               kPaddingRange,
                               kUsual.padding,
                               labels::crop},
                              actions);
    cornerSlider = addSlider(card, "Ecken",
                             {{"cornerSlider", "Ecken", "Wie rund die Ecken des Bildes sind"},
                              kCornerRange,
                              kUsual.cornerRadius,
                              labels::pixels},
                             actions);
}

void EditorControls::addCropCard(QLayout& cards, const EditorActions& actions) {
    Card card(cards, "Zuschnitt");
    const auto add = [&](const QString& caption, const ControlNames& names) {
        return addSlider(card, caption, {names, kCropRange, 0, labels::crop}, actions);
    };
    cropTopSlider = add("Oben", {"cropTopSlider", "Zuschnitt oben", "Wie viel oben wegfällt"});
    cropBottomSlider = add("Unten", {"cropBottomSlider", "Zuschnitt unten", "Wie viel unten wegfällt"});
    cropLeftSlider = add("Links", {"cropLeftSlider", "Zuschnitt links", "Wie viel links wegfällt"});
    cropRightSlider = add("Rechts", {"cropRightSlider", "Zuschnitt rechts", "Wie viel rechts wegfällt"});
}

void EditorControls::addSoundCard(QLayout& cards, const EditorActions& actions) {
    Card card(cards, "Ton");
    const auto add = [&](const QString& caption, const ControlNames& names) {
        return addSlider(card, caption, {names, kVolumeRange, 1, labels::volume}, actions);
    };
    systemVolumeSlider =
        add("Systemton", {"systemVolumeSlider", "Lautstärke des Systemtons", "Lautstärke des Systemtons"});
    micVolumeSlider = add("Mikrofon", {"micVolumeSlider", "Lautstärke des Mikrofons", "Lautstärke des Mikrofons"});
}

void EditorControls::addWebcamCard(QLayout& cards, const EditorActions& actions) {
    Card card(cards, "Facecam");
    const auto changed = actions.settingChanged;
    webcamCheckbox = new QCheckBox("anzeigen");
    webcamCheckbox->setFocusPolicy(Qt::TabFocus);
    webcamCheckbox->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setNames(*webcamCheckbox, {"webcamCheckbox", "Facecam anzeigen", "Ob das Kamera-Bild im Video zu sehen ist"});
    QObject::connect(webcamCheckbox, &QCheckBox::clicked, webcamCheckbox, [changed] { changed(); });
    card.addRow("Im Video", webcamCheckbox);
    webcamSizeSlider = addSlider(card, "Kamera-Bild",
                                 {{"webcamSizeSlider", "Größe des Kamera-Bilds", "Wie groß das Kamera-Bild ist"},
                                  kWebcamSizeRange,
                                  kUsual.webcamSize,
                                  labels::percent},
                                 actions);
    webcamZoomSlider = addSlider(card, "Zoom",
                                 {{"webcamZoomSlider", "Zoom des Kamera-Bilds", "Wie nah das Kamera-Bild ist"},
                                  kWebcamZoomRange,
                                  kUsual.webcamZoom,
                                  labels::magnification},
                                 actions);
    webcamCornerPopup = popUp({"webcamCornerPopup", "Ecke des Kamera-Bilds", "In welcher Ecke das Kamera-Bild liegt"});
    for (const std::string_view title : kWebcamCornerTitles) {
        webcamCornerPopup->addItem(QString::fromUtf8(title.data(), static_cast<qsizetype>(title.size())));
    }
    QObject::connect(webcamCornerPopup, &QComboBox::activated, webcamCornerPopup, [changed] { changed(); });
    card.addRow("Ecke", webcamCornerPopup);
}

void EditorControls::addExportCard(QLayout& cards, const EditorActions& actions) {
    Card card(cards, "Export");
    exportFormatControl = addSegments(card, "Format", kExportFormatTitles,
                                      {"exportFormatControl", "Format", "Dateiformat des Videos"}, actions);
    exportResolutionControl =
        addSegments(card, "Auflösung", kExportResolutionTitles,
                    {"exportResolutionControl", "Auflösung", "Wie viele Zeilen das Video hat"}, actions);
}

ui::ValueSlider* EditorControls::addSlider(Card& card, const QString& caption, const SliderSpec& spec,
                                           const EditorActions& actions) {
    const SliderRow row = makeSlider(spec, actions);
    card.addRow(caption, row.slider, row.label);
    return row.slider;
}

}  // namespace lumivastor::editor
