#include "editor/editor_controls.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QStyle>
#include <QVBoxLayout>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>

#include "editor/colour_well.h"
#include "editor/editor_builders.h"
#include "editor/icons.h"
#include "editor/labels.h"
#include "editor/look.h"
#include "editor/mask_draw_view.h"
#include "editor/preview_view.h"
#include "editor/segmented_control.h"
#include "editor/text_labels.h"
#include "editor/timeline_strip.h"
#include "editor/value_slider.h"

namespace lumivastor {

struct SliderSpec {
    ControlNames names;
    ControlRange range;
    double usual;
    std::string (*text)(double value);
};

namespace {

const ProjectSettings kUsual;

// The column of settings, in points: captions and values as wide as the type makes them, and between them sliders that
// a hundredth can be set with. The bar takes its room when there is one.
constexpr int kColumnSlider = 120;
constexpr int kScrollBar = 10;
int columnWidth() {
    return look::smallTextWidth("Hintergrund") + look::smallTextWidth("0 % (stumm)") + kColumnSlider +
           4 * look::kApart + 2 * look::kNear + kScrollBar;
}

// The wheel scrolls the column, not the menu under the pointer.
class PopUp final : public QComboBox {
  protected:
    void wheelEvent(QWheelEvent* event) override { event->ignore(); }
};

QComboBox* popUp(const ControlNames& names) {
    auto* box = new PopUp;
    box->setFocusPolicy(Qt::TabFocus);
    box->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    setNames(*box, names);
    return box;
}

QPushButton* transportButton(const QString& iconName, const ControlNames& names, std::function<void()> action) {
    auto* button = smallButton({}, iconName, names, std::move(action));
    button->setProperty("role", "transport");
    button->setIconSize({22, 22});
    return button;
}

// A row of tools: its controls from the left, its label to the end.
QHBoxLayout* toolRow(std::initializer_list<QWidget*> controls, QWidget* label) {
    auto* row = new QHBoxLayout;
    row->setSpacing(look::kTight + 1);
    for (QWidget* control : controls) row->addWidget(control);
    if (label == nullptr) return row;
    row->addSpacing(look::kNear);
    row->addWidget(label, 1);
    return row;
}

ElidedLabel* stateLabel(const char* name) {
    auto* label = new ElidedLabel;
    label->setObjectName(name);
    label->setProperty("role", "second");
    label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    return label;
}

void setProperty(QWidget& widget, const char* name, const QVariant& value) {
    widget.setProperty(name, value);
    widget.style()->unpolish(&widget);
    widget.style()->polish(&widget);
}

}  // namespace

EditorControls::EditorControls(QWidget& window, const Recording& recording, const EditorActions& actions) {
    auto* left = new QVBoxLayout;
    left->setContentsMargins(look::kMargin, look::kMargin, look::kMargin, look::kMargin);
    left->setSpacing(look::kApart);
    left->addWidget(makePreview(), 1);
    left->addLayout(makeTransport(recording, actions));
    left->addWidget(makeTools(actions));
    left->addLayout(makeBottom(actions));

    auto* whole = new QHBoxLayout(&window);
    whole->setContentsMargins(0, 0, 0, 0);
    whole->setSpacing(0);
    whole->addLayout(left, 1);
    whole->addWidget(makeColumn(recording, actions));
}

QWidget* EditorControls::makePreview() {
    previewView = new PreviewView;
    previewView->setObjectName("previewView");
    maskDrawView = new MaskDrawView;
    maskDrawView->setObjectName("maskDrawView");
    auto* over = new QGridLayout(previewView);
    over->setContentsMargins(0, 0, 0, 0);
    over->addWidget(maskDrawView, 0, 0);
    return previewView;
}

QLayout* EditorControls::makeTransport(const Recording& recording, const EditorActions& actions) {
    timeLabel = new DigitLabel;
    timeLabel->setObjectName("timeLabel");
    timeLabel->setProperty("role", "time");
    timeLabel->reserveFor(
        QString::fromStdString(labels::time(recording.duration, std::llround(1 / recording.frameLength))));

    playButton = transportButton("play", {"playButton", "Abspielen", "Abspielen (Leertaste)"}, actions.togglePlayback);
    playButton->setProperty("role", "play");
    playButton->setIconSize({26, 26});
    const double frame = recording.frameLength;
    const auto stepper = [&actions](double seconds) { return [step = actions.step, seconds] { step(seconds); }; };

    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(look::kTight);
    buttons->addWidget(transportButton(
        "backward-second", {"secondBackButton", "1 Sekunde zurück", "1 Sekunde zurück (Shift+←)"}, stepper(-1)));
    buttons->addWidget(
        transportButton("backward-frame", {"frameBackButton", "1 Bild zurück", "1 Bild zurück (←)"}, stepper(-frame)));
    buttons->addSpacing(look::kTight);
    buttons->addWidget(playButton);
    buttons->addSpacing(look::kTight);
    buttons->addWidget(
        transportButton("forward-frame", {"frameForwardButton", "1 Bild vor", "1 Bild vor (→)"}, stepper(frame)));
    buttons->addWidget(transportButton(
        "forward-second", {"secondForwardButton", "1 Sekunde vor", "1 Sekunde vor (Shift+→)"}, stepper(1)));

    lengthLabel = secondLabel();
    lengthLabel->setObjectName("lengthLabel");
    lengthLabel->setToolTip("Länge des fertigen Videos");

    auto* row = new QGridLayout;
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(timeLabel, 0, 0, Qt::AlignLeft | Qt::AlignVCenter);
    row->addLayout(buttons, 0, 1);
    row->addWidget(lengthLabel, 0, 2, Qt::AlignRight | Qt::AlignVCenter);
    row->setColumnStretch(0, 1);
    row->setColumnStretch(2, 1);

    timeSlider = new ValueSlider({0, recording.duration},
                                 static_cast<int>(std::lround(recording.duration / recording.frameLength)));
    setNames(*timeSlider, {"timeSlider", "Zeit", "Zeit in der Aufnahme"});
    timeSlider->moved = [this, scrub = actions.scrub] { scrub(timeSlider->doubleValue()); };
    timelineStrip = new TimelineStrip(recording.duration, ValueSlider::kHandleInset);
    timelineStrip->setObjectName("timelineStrip");
    timelineStrip->setAccessibleName("Zeitleiste");
    timelineStrip->setToolTip("Helle Abschnitte sind im Video, orange sind Zooms, Punkte sind Klicks");
    timelineStrip->scrubbed = actions.scrub;

    auto* rows = new QVBoxLayout;
    rows->setSpacing(look::kTight);
    rows->addLayout(row);
    rows->addWidget(timeSlider);
    rows->addWidget(timelineStrip);
    return rows;
}

QWidget* EditorControls::makeTools(const EditorActions& actions) {
    trimLabel = stateLabel("trimLabel");
    cutLabel = stateLabel("cutLabel");
    maskLabel = stateLabel("maskLabel");
    zoomModeLabel = secondLabel();
    zoomModeLabel->setObjectName("zoomModeLabel");
    // The row does not move when the mode changes.
    zoomModeLabel->setMinimumWidth(look::smallTextWidth(QString::fromStdString(labels::zoomMode(true))));

    auto* trim = toolRow(
        {smallButton("Anfang = hier", "mark-start",
                     {"trimStartButton", "Anfang = hier", "Das Video beginnt an der Abspielposition"},
                     actions.setTrimStart),
         smallButton("Ende = hier", "mark-end",
                     {"trimEndButton", "Ende = hier", "Das Video endet an der Abspielposition"}, actions.setTrimEnd),
         smallButton({}, "whole", {"trimResetButton", "Ganze Aufnahme", "Anfang und Ende zurücksetzen"},
                     actions.resetTrim)},
        trimLabel);

    auto* cut = toolRow(
        {smallButton("Von hier", "scissors",
                     {"cutStartButton", "Schnitt von hier", "Der Schnitt beginnt an der Abspielposition"},
                     actions.markCutStart),
         smallButton("Bis hier", "scissors",
                     {"cutEndButton", "Schnitt bis hier", "Schneidet bis zur Abspielposition heraus"}, actions.addCut),
         smallButton({}, "remove-last", {"removeCutButton", "Letzten Schnitt entfernen", "Letzten Schnitt entfernen"},
                     actions.removeLastCut)},
        cutLabel);

    zoomPopup = popUp({"zoomPopup", "Zoom", "Zoom auswählen und ansehen"});
    zoomPopup->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    zoomPopup->setMinimumContentsLength(15);
    zoomPopup->setPlaceholderText("Keine Zooms");
    QObject::connect(zoomPopup, &QComboBox::activated, zoomPopup, actions.selectZoom);
    showZoomButton = smallButton("Anzeigen", {}, {"showZoomButton", "Zoom anzeigen", "Zum gewählten Zoom springen"},
                                 actions.showZoom);
    deleteZoomButton =
        smallButton({}, "trash", {"deleteZoomButton", "Zoom löschen", "Gewählten Zoom löschen"}, actions.deleteZoom);
    zoomToolSlider = makeSlider({{"zoomToolSlider", "Vergrößerung", "Wie stark der gewählte Zoom vergrößert"},
                                 kZoomRange,
                                 kUsual.zoomScale,
                                 labels::zoomPercent},
                                actions);
    zoomToolPercentLabel = sliderRows_.back().label;
    zoomToolPercentLabel->setMinimumWidth(look::smallTextWidth("200 %"));
    zoomToolSlider->setMinimumWidth(64);
    zoomToolSlider->moved = [this, changed = actions.settingChanged] {
        zoomSlider->setDoubleValue(zoomToolSlider->doubleValue());
        changed();
    };
    auto* zooms =
        toolRow({zoomPopup, showZoomButton,
                 smallButton("Hier hinzufügen", "plus",
                             {"addZoomButton", "Zoom hier hinzufügen", "Zoom an der Abspielposition hinzufügen"},
                             actions.addZoom),
                 deleteZoomButton,
                 smallButton("Automatik", {},
                             {"autoZoomsButton", "Zooms automatisch", "Zooms wieder aus den Klicks vorschlagen"},
                             actions.resetZooms)},
                nullptr);
    zooms->addSpacing(look::kTight);
    zooms->addWidget(zoomToolSlider, 1);
    zooms->addWidget(zoomToolPercentLabel);

    maskDrawButton = smallButton(
        "Bereich aufziehen", "draw",
        {"maskDrawButton", "Bereich zum Verpixeln aufziehen", "Rechteck zum Verpixeln in der Vorschau aufziehen"},
        actions.toggleMaskDrawing);
    auto* masks = toolRow(
        {maskDrawButton,
         smallButton({}, "remove-last", {"removeMaskButton", "Letzten Bereich entfernen", "Letzten Bereich entfernen"},
                     actions.removeLastMask),
         smallButton("Alle entfernen", {}, {"removeMasksButton", "Alle Bereiche entfernen", "Alle Bereiche entfernen"},
                     actions.removeAllMasks)},
        maskLabel);

    auto* frame = new QFrame;
    frame->setProperty("role", "tools");
    auto* grid = new QGridLayout(frame);
    grid->setContentsMargins(look::kApart, look::kNear, look::kApart, look::kNear);
    grid->setHorizontalSpacing(look::kApart);
    grid->setVerticalSpacing(look::kTight + 1);
    grid->setColumnStretch(1, 1);
    const auto add = [grid](int row, const QString& title, QLayout* tools, QLabel* below = nullptr) {
        auto* heading = new QVBoxLayout;
        heading->setSpacing(0);
        heading->addStretch(1);
        heading->addWidget(toolHeading(title));
        if (below != nullptr) heading->addWidget(below);
        heading->addStretch(1);
        grid->addLayout(heading, row, 0);
        grid->addLayout(tools, row, 1);
        if (row > 0) grid->addWidget(separator(), row - 1, 0, 1, 2);
    };
    add(0, "TRIM", trim);
    add(2, "SCHNITT", cut);
    add(4, "ZOOMS", zooms, zoomModeLabel);
    add(6, "VERPIXELN", masks);
    return frame;
}

QWidget* EditorControls::makeColumn(const Recording& recording, const EditorActions& actions) {
    auto* content = new QWidget;
    content->setProperty("role", "column");
    auto* cards = new QVBoxLayout(content);
    cards->setContentsMargins(look::kApart, look::kApart, look::kApart, look::kApart);
    cards->setSpacing(look::kNear);
    const auto changed = actions.settingChanged;
    const auto slider = [this, &actions](Card& card, const QString& caption, const SliderSpec& spec) {
        ValueSlider* made = makeSlider(spec, actions);
        card.addRow(caption, made, sliderRows_.back().label);
        return made;
    };
    const auto segments = [&changed](Card& card, const QString& caption, std::span<const std::string_view> titles,
                                     const ControlNames& names) {
        auto* control = new SegmentedControl(titles, QString::fromUtf8(names.accessible));
        setNames(*control, names);
        control->selected = changed;
        card.addRow(caption, control);
        return control;
    };

    Card camera(*cards, "Kamera");
    zoomSlider = slider(
        camera, "Zoom",
        {{"zoomSlider", "Zoom", "Wie stark Zooms vergrößern"}, kZoomRange, kUsual.zoomScale, labels::zoomPercent});
    zoomPercentLabel = sliderRows_.back().label;
    tempoControl = segments(camera, "Tempo", kTempoTitles, {"tempoControl", "Tempo", "Wie schnell die Kamera fährt"});
    smoothingSlider = slider(camera, "Glättung",
                             {{"smoothingSlider", "Glättung", "Wie ruhig sich der Zeiger bewegt"},
                              kSmoothingRange,
                              kUsual.smoothing,
                              labels::percent});

    Card cursor(*cards, "Cursor");
    cursorSlider = slider(cursor, "Größe",
                          {{"cursorSlider", "Größe des Cursors", "Wie groß der Cursor gezeichnet wird"},
                           kCursorRange,
                           kUsual.cursorScale,
                           labels::magnification});

    Card look(*cards, "Look");
    colourWell = new ColourWell;
    setNames(*colourWell, {"colorWell", "Hintergrund", "Farbe des Hintergrunds wählen"});
    colourWell->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    colourWell->chosen = changed;
    look.addRow("Hintergrund", colourWell);
    paddingSlider = slider(look, "Rand",
                           {{"paddingSlider", "Rand", "Wie viel Hintergrund um das Bild zu sehen ist"},
                            kPaddingRange,
                            kUsual.padding,
                            labels::crop});
    cornerSlider = slider(look, "Ecken",
                          {{"cornerSlider", "Ecken", "Wie rund die Ecken des Bildes sind"},
                           kCornerRange,
                           kUsual.cornerRadius,
                           labels::pixels});

    Card crop(*cards, "Zuschnitt");
    const auto cropSlider = [&](const QString& caption, const ControlNames& names) {
        return slider(crop, caption, {names, kCropRange, 0, labels::crop});
    };
    cropTopSlider = cropSlider("Oben", {"cropTopSlider", "Zuschnitt oben", "Wie viel oben wegfällt"});
    cropBottomSlider = cropSlider("Unten", {"cropBottomSlider", "Zuschnitt unten", "Wie viel unten wegfällt"});
    cropLeftSlider = cropSlider("Links", {"cropLeftSlider", "Zuschnitt links", "Wie viel links wegfällt"});
    cropRightSlider = cropSlider("Rechts", {"cropRightSlider", "Zuschnitt rechts", "Wie viel rechts wegfällt"});

    Card sound(*cards, "Ton");
    const auto volumeSlider = [&](const QString& caption, const ControlNames& names) {
        return slider(sound, caption, {names, kVolumeRange, 1, labels::volume});
    };
    systemVolumeSlider =
        volumeSlider("Systemton", {"systemVolumeSlider", "Lautstärke des Systemtons", "Lautstärke des Systemtons"});
    systemVolumeLabel = sliderRows_.back().label;
    micVolumeSlider =
        volumeSlider("Mikrofon", {"micVolumeSlider", "Lautstärke des Mikrofons", "Lautstärke des Mikrofons"});
    micVolumeLabel = sliderRows_.back().label;

    if (recording.hasWebcam) {
        Card facecam(*cards, "Facecam");
        webcamCheckbox = new QCheckBox("anzeigen");
        webcamCheckbox->setFocusPolicy(Qt::TabFocus);
        webcamCheckbox->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
        setNames(*webcamCheckbox, {"webcamCheckbox", "Facecam anzeigen", "Ob das Kamera-Bild im Video zu sehen ist"});
        QObject::connect(webcamCheckbox, &QCheckBox::clicked, webcamCheckbox, [changed] { changed(); });
        facecam.addRow("Im Video", webcamCheckbox);
        webcamSizeSlider = slider(facecam, "Kamera-Bild",
                                  {{"webcamSizeSlider", "Größe des Kamera-Bilds", "Wie groß das Kamera-Bild ist"},
                                   kWebcamSizeRange,
                                   kUsual.webcamSize,
                                   labels::percent});
        webcamZoomSlider = slider(facecam, "Zoom",
                                  {{"webcamZoomSlider", "Zoom des Kamera-Bilds", "Wie nah das Kamera-Bild ist"},
                                   kWebcamZoomRange,
                                   kUsual.webcamZoom,
                                   labels::magnification});
        webcamCornerPopup =
            popUp({"webcamCornerPopup", "Ecke des Kamera-Bilds", "In welcher Ecke das Kamera-Bild liegt"});
        for (const std::string_view title : kWebcamCornerTitles) {
            webcamCornerPopup->addItem(QString::fromUtf8(title.data(), static_cast<qsizetype>(title.size())));
        }
        QObject::connect(webcamCornerPopup, &QComboBox::activated, webcamCornerPopup, [changed] { changed(); });
        facecam.addRow("Ecke", webcamCornerPopup);
    }

    Card exporting(*cards, "Export");
    exportFormatControl =
        segments(exporting, "Format", kExportFormatTitles, {"exportFormatControl", "Format", "Dateiformat des Videos"});
    exportResolutionControl = segments(exporting, "Auflösung", kExportResolutionTitles,
                                       {"exportResolutionControl", "Auflösung", "Wie viele Zeilen das Video hat"});
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

QLayout* EditorControls::makeBottom(const EditorActions& actions) {
    statusLabel = new ElidedLabel;
    statusLabel->setObjectName("statusLabel");
    statusLabel->setAccessibleName("Status");
    progressBar = new QProgressBar;
    progressBar->setObjectName("progressBar");
    progressBar->setAccessibleName("Fortschritt");
    progressBar->setRange(0, 1000);
    progressBar->setTextVisible(false);
    revealRenderButton =
        smallButton("Im Finder zeigen", "folder",
                    {"revealRenderButton", "Im Finder zeigen", "Das fertige Video im Ordner zeigen"}, actions.reveal);
    cancelRenderButton = smallButton("Abbrechen", {}, {"cancelRenderButton", "Rendern abbrechen", "Rendern abbrechen"},
                                     actions.cancelRender);
    renderButton = smallButton(
        "Video rendern", {},
        {"renderButton", "Video rendern", "Das fertige Video in den Ordner der Aufnahme schreiben"}, actions.render);
    renderButton->setIcon(icon("film", look::kOnAccent));
    renderButton->setIconSize({18, 18});
    renderButton->setProperty("role", "main");
    revealRenderButton->setProperty("role", "bottom");
    cancelRenderButton->setProperty("role", "bottom");
    revealRenderButton->hide();

    auto* texts = new QVBoxLayout;
    texts->setSpacing(look::kTight);
    texts->addStretch(1);
    texts->addWidget(statusLabel);
    texts->addWidget(progressBar);
    texts->addStretch(1);

    auto* row = new QHBoxLayout;
    row->setSpacing(look::kNear);
    row->addLayout(texts, 1);
    row->addSpacing(look::kNear);
    row->addWidget(revealRenderButton);
    row->addWidget(cancelRenderButton);
    row->addWidget(renderButton);
    setRendering(false);
    return row;
}

ValueSlider* EditorControls::makeSlider(const SliderSpec& spec, const EditorActions& actions) {
    auto* slider = new ValueSlider(spec.range);
    setNames(*slider, spec.names);
    slider->setUsualValue(spec.usual);
    slider->moved = actions.settingChanged;
    auto* label = valueLabel(QString::fromLatin1(spec.names.name) + "Label");
    sliderRows_.push_back({slider, label, spec.text});
    return slider;
}

void EditorControls::updateValueLabels() {
    for (const SliderRow& row : sliderRows_) {
        row.label->setText(QString::fromStdString(row.text(row.slider->doubleValue())));
    }
}

ControlValues EditorControls::values() const {
    ControlValues values;
    values.zoom = zoomSlider->doubleValue();
    values.tempo = tempoControl->index();
    values.smoothing = smoothingSlider->doubleValue();
    values.cursor = cursorSlider->doubleValue();
    values.padding = paddingSlider->doubleValue();
    values.corner = cornerSlider->doubleValue();
    values.red = colourWell->components().red;
    values.green = colourWell->components().green;
    values.blue = colourWell->components().blue;
    values.systemVolume = systemVolumeSlider->doubleValue();
    values.micVolume = micVolumeSlider->doubleValue();
    values.exportResolution = exportResolutionControl->index();
    values.exportFormat = exportFormatControl->index();
    if (webcamCheckbox != nullptr) {
        values.webcam = webcamCheckbox->isChecked();
        values.webcamSize = webcamSizeSlider->doubleValue();
        values.webcamCorner = webcamCornerPopup->currentIndex();
        values.webcamZoom = webcamZoomSlider->doubleValue();
    }
    values.cropTop = cropTopSlider->doubleValue();
    values.cropBottom = cropBottomSlider->doubleValue();
    values.cropLeft = cropLeftSlider->doubleValue();
    values.cropRight = cropRightSlider->doubleValue();
    return values;
}

void EditorControls::setValues(const ControlValues& values) {
    zoomSlider->setDoubleValue(values.zoom);
    zoomToolSlider->setDoubleValue(values.zoom);
    tempoControl->setIndex(values.tempo);
    smoothingSlider->setDoubleValue(values.smoothing);
    cursorSlider->setDoubleValue(values.cursor);
    paddingSlider->setDoubleValue(values.padding);
    cornerSlider->setDoubleValue(values.corner);
    colourWell->setComponents({values.red, values.green, values.blue});
    systemVolumeSlider->setDoubleValue(values.systemVolume);
    micVolumeSlider->setDoubleValue(values.micVolume);
    exportResolutionControl->setIndex(values.exportResolution);
    exportFormatControl->setIndex(values.exportFormat);
    if (webcamCheckbox != nullptr) {
        webcamCheckbox->setChecked(values.webcam);
        webcamSizeSlider->setDoubleValue(values.webcamSize);
        webcamCornerPopup->setCurrentIndex(values.webcamCorner);
        webcamZoomSlider->setDoubleValue(values.webcamZoom);
    }
    cropTopSlider->setDoubleValue(values.cropTop);
    cropBottomSlider->setDoubleValue(values.cropBottom);
    cropLeftSlider->setDoubleValue(values.cropLeft);
    cropRightSlider->setDoubleValue(values.cropRight);
    updateValueLabels();
}

void EditorControls::setZoomItems(const std::vector<std::string>& items, int selected) {
    const QSignalBlocker quiet(zoomPopup);
    bool same = static_cast<int>(items.size()) == zoomPopup->count();
    for (int i = 0; same && i < zoomPopup->count(); ++i) {
        same = zoomPopup->itemText(i).toStdString() == items[static_cast<std::size_t>(i)];
    }
    if (!same) {
        zoomPopup->clear();
        for (const std::string& item : items) zoomPopup->addItem(QString::fromStdString(item));
    }
    zoomPopup->setCurrentIndex(selected);
    for (QWidget* each : {static_cast<QWidget*>(zoomPopup), static_cast<QWidget*>(showZoomButton),
                          static_cast<QWidget*>(deleteZoomButton)}) {
        each->setEnabled(!items.empty());
    }
}

void EditorControls::setPlaying(bool playing) {
    playButton->setIcon(icon(playing ? "pause" : "play"));
    playButton->setAccessibleName(playing ? "Anhalten" : "Abspielen");
    playButton->setToolTip(playing ? "Anhalten (Leertaste)" : "Abspielen (Leertaste)");
}

void EditorControls::setMaskDrawing(bool drawing) {
    maskDrawView->setDrawing(drawing);
    maskDrawButton->setText(drawing ? "Abbrechen" : "Bereich aufziehen");
    maskDrawButton->setIcon(drawing ? icon("stop", look::kOnAccent) : icon("draw"));
    setProperty(*maskDrawButton, "active", drawing);
}

void EditorControls::setRendering(bool rendering) {
    renderButton->setEnabled(!rendering);
    cancelRenderButton->setVisible(rendering);
    progressBar->setVisible(rendering);
    if (rendering) progressBar->setValue(0);
}

void EditorControls::setStatus(const std::string& text) {
    statusLabel->setFullText(QString::fromStdString(text));
}

}  // namespace lumivastor
