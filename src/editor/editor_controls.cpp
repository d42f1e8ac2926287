// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/editor_controls.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalBlocker>
#include <QStyle>
#include <QVBoxLayout>
#include <cmath>

#include "base/saturated.h"
#include "editor/editor_builders.h"
#include "editor/preview/mask_draw_view.h"
#include "editor/preview/preview_view.h"
#include "editor/session/labels.h"
#include "editor/timeline/timeline_strip.h"
#include "ui/colour_well.h"
#include "ui/icons.h"
#include "ui/segmented_control.h"
#include "ui/text_labels.h"
#include "ui/theme.h"
#include "ui/value_slider.h"

namespace lumivastor::editor {

namespace {

QPushButton* transportButton(const QString& iconName, const ControlNames& names, std::function<void()> action) {
    auto* button = smallButton({}, iconName, names, std::move(action));
    button->setProperty("role", "transport");
    button->setIconSize({22, 22});
    return button;
}

void setProperty(QWidget& widget, const char* name, const QVariant& value) {
    widget.setProperty(name, value);
    widget.style()->unpolish(&widget);
    widget.style()->polish(&widget);
}

}  // namespace

EditorControls::EditorControls(QWidget& window, const Recording& recording, const EditorActions& actions) {
    auto* left = new QVBoxLayout;
    left->setContentsMargins(ui::theme::kMargin, ui::theme::kMargin, ui::theme::kMargin, ui::theme::kMargin);
    left->setSpacing(ui::theme::kApart);
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
    timeLabel = new ui::DigitLabel;
    timeLabel->setObjectName("timeLabel");
    timeLabel->setProperty("role", "time");
    timeLabel->reserveFor(QString::fromStdString(
        labels::time(recording.duration, saturatedRound<std::int64_t>(1 / recording.frameLength))));
    lengthLabel = secondLabel();
    lengthLabel->setObjectName("lengthLabel");
    lengthLabel->setToolTip("Länge des fertigen Videos");

    auto* row = new QGridLayout;
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(timeLabel, 0, 0, Qt::AlignLeft | Qt::AlignVCenter);
    row->addLayout(makeTransportButtons(recording, actions), 0, 1);
    row->addWidget(lengthLabel, 0, 2, Qt::AlignRight | Qt::AlignVCenter);
    row->setColumnStretch(0, 1);
    row->setColumnStretch(2, 1);

    makeTimeline(recording, actions);
    auto* rows = new QVBoxLayout;
    rows->setSpacing(ui::theme::kTight);
    rows->addLayout(row);
    rows->addWidget(timeSlider);
    rows->addWidget(timelineStrip);
    return rows;
}

QLayout* EditorControls::makeTransportButtons(const Recording& recording, const EditorActions& actions) {
    playButton = transportButton("play", {"playButton", "Abspielen", "Abspielen (Leertaste)"}, actions.togglePlayback);
    playButton->setProperty("role", "play");
    playButton->setIconSize({26, 26});
    const double frame = recording.frameLength;
    const auto stepper = [&actions](double seconds) { return [step = actions.step, seconds] { step(seconds); }; };

    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(ui::theme::kTight);
    buttons->addWidget(transportButton(
        "backward-second", {"secondBackButton", "1 Sekunde zurück", "1 Sekunde zurück (Shift+←)"}, stepper(-1)));
    buttons->addWidget(
        transportButton("backward-frame", {"frameBackButton", "1 Bild zurück", "1 Bild zurück (←)"}, stepper(-frame)));
    buttons->addSpacing(ui::theme::kTight);
    buttons->addWidget(playButton);
    buttons->addSpacing(ui::theme::kTight);
    buttons->addWidget(
        transportButton("forward-frame", {"frameForwardButton", "1 Bild vor", "1 Bild vor (→)"}, stepper(frame)));
    buttons->addWidget(transportButton(
        "forward-second", {"secondForwardButton", "1 Sekunde vor", "1 Sekunde vor (Shift+→)"}, stepper(1)));
    return buttons;
}

void EditorControls::makeTimeline(const Recording& recording, const EditorActions& actions) {
    timeSlider =
        new ui::ValueSlider({0, recording.duration}, saturatedRound<int>(recording.duration / recording.frameLength));
    setNames(*timeSlider, {"timeSlider", "Zeit", "Zeit in der Aufnahme"});
    timeSlider->valueText = [fps = std::llround(1 / recording.frameLength)](double seconds) {
        return labels::time(seconds, fps);
    };
    timeSlider->onMove = [this, scrub = actions.scrub] { scrub(timeSlider->doubleValue()); };
    timelineStrip = new TimelineStrip(recording.duration, ui::ValueSlider::kHandleInset);
    timelineStrip->setObjectName("timelineStrip");
    timelineStrip->setAccessibleName("Zeitleiste");
    timelineStrip->setToolTip("Helle Abschnitte sind im Video, orange sind Zooms, Punkte sind Klicks");
    timelineStrip->onScrub = actions.scrub;
}

QLayout* EditorControls::makeBottom(const EditorActions& actions) {
    statusLabel = new ui::ElidedLabel;
    statusLabel->setObjectName("statusLabel");
    progressBar = new QProgressBar;
    progressBar->setObjectName("progressBar");
    progressBar->setAccessibleName("Fortschritt");
    progressBar->setRange(0, 1000);
    progressBar->setTextVisible(false);
    makeRenderButtons(actions);

    auto* texts = new QVBoxLayout;
    texts->setSpacing(ui::theme::kTight);
    texts->addStretch(1);
    texts->addWidget(statusLabel);
    texts->addWidget(progressBar);
    texts->addStretch(1);

    auto* row = new QHBoxLayout;
    row->setSpacing(ui::theme::kNear);
    row->addLayout(texts, 1);
    row->addSpacing(ui::theme::kNear);
    row->addWidget(newRecordingButton);
    row->addWidget(revealRenderButton);
    row->addWidget(cancelRenderButton);
    row->addWidget(renderButton);
    setRendering(false);
    return row;
}

void EditorControls::makeRenderButtons(const EditorActions& actions) {
    newRecordingButton =
        smallButton("Neue Aufnahme …", {},
                    {"newRecordingButton", "Neue Aufnahme", "Das Startfenster für eine neue Aufnahme zeigen (Strg+N)"},
                    actions.newRecording);
    newRecordingButton->setProperty("role", "bottom");
    newRecordingButton->setVisible(actions.newRecording != nullptr);
    revealRenderButton =
        smallButton("Im Finder zeigen", "folder",
                    {"revealRenderButton", "Im Finder zeigen", "Das fertige Video im Ordner zeigen"}, actions.reveal);
    cancelRenderButton = smallButton("Abbrechen", {}, {"cancelRenderButton", "Rendern abbrechen", "Rendern abbrechen"},
                                     actions.cancelRender);
    renderButton = smallButton(
        "Video rendern", {},
        {"renderButton", "Video rendern", "Das fertige Video in den Ordner der Aufnahme schreiben"}, actions.render);
    renderButton->setIcon(ui::icon("film", ui::theme::kOnAccent));
    renderButton->setIconSize(iconBeforeText(18));
    renderButton->setProperty("role", "main");
    revealRenderButton->setProperty("role", "bottom");
    cancelRenderButton->setProperty("role", "bottom");
    revealRenderButton->hide();
}

EditorControls::SliderRow EditorControls::makeSlider(const SliderSpec& spec, const EditorActions& actions) {
    auto* slider = new ui::ValueSlider(spec.range);
    setNames(*slider, spec.names);
    slider->setUsualValue(spec.usual);
    slider->onMove = actions.settingChanged;
    slider->valueText = spec.text;
    const SliderRow row{slider, valueLabel(QString::fromLatin1(spec.names.name) + "Label"), spec.text};
    sliderRows_.push_back(row);
    return row;
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
    playButton->setIcon(ui::icon(playing ? "pause" : "play"));
    playButton->setAccessibleName(playing ? "Anhalten" : "Abspielen");
    playButton->setToolTip(playing ? "Anhalten (Leertaste)" : "Abspielen (Leertaste)");
}

void EditorControls::setMaskDrawing(bool drawing) {
    maskDrawView->setDrawing(drawing);
    maskDrawButton->setText(drawing ? "Abbrechen" : "Bereich aufziehen");
    maskDrawButton->setIcon(drawing ? ui::icon("stop", ui::theme::kOnAccent) : ui::icon("draw"));
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

}  // namespace lumivastor::editor
