// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <functional>
#include <string>
#include <vector>

#include "editor/session/control_values.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLayout;
class QProgressBar;
class QPushButton;
class QScrollArea;
class QWidget;

namespace lumivastor::ui {
class ColourWell;
class DigitLabel;
class ElidedLabel;
class SegmentedControl;
class ValueSlider;
}  // namespace lumivastor::ui

namespace lumivastor::editor {

class Card;
class MaskDrawView;
class PreviewView;
class TimelineStrip;
struct SliderSpec;

/// What the editor's controls do; the window fills it in.
struct EditorActions {
    std::function<void()> togglePlayback;
    std::function<void(double seconds)> step;
    std::function<void(double seconds)> scrub;
    std::function<void()> setTrimStart, setTrimEnd, resetTrim;
    std::function<void()> markCutStart, addCut, removeLastCut;
    std::function<void(int index)> selectZoom;
    std::function<void()> showZoom, addZoom, deleteZoom, resetZooms;
    std::function<void()> toggleMaskDrawing, removeLastMask, removeAllMasks;
    std::function<void()> settingChanged;
    std::function<void()> render, cancelRender, reveal;
    /// Without it there is no such button.
    std::function<void()> newRecording;
};

/// Every control of the editor's window and where it lies: built once, wired to the actions, and deciding nothing.
///
///     +-----------------------------+-----------+
///     | preview (mask view over it) | Kamera    |
///     | transport            time   | Cursor    |
///     | time slider, strip          | Look      |
///     | TRIM, SCHNITT, ZOOMS,       | Zuschnitt |
///     | VERPIXELN                   | ...       |
///     | status, "Video rendern"     | (scrolls) |
///     +-----------------------------+-----------+
struct EditorControls {
    struct Recording {
        double duration = 0;
        double frameLength = 1;
        bool hasWebcam = false;
    };

    /// Builds everything into `window`, whose style sheet is set.
    EditorControls(QWidget& window, const Recording& recording, const EditorActions& actions);

    /// What the controls stand at.
    ControlValues values() const;
    /// Puts them there; tells nobody. The labels that show a slider's value follow.
    void setValues(const ControlValues& values);
    /// The list of zooms, an item each.
    void setZoomItems(const std::vector<std::string>& items, int selected);
    void setPlaying(bool playing);
    void setMaskDrawing(bool drawing);
    /// While an export runs there is a bar and a button that ends it.
    void setRendering(bool rendering);
    void setStatus(const std::string& text);

    PreviewView* previewView;
    MaskDrawView* maskDrawView;
    QPushButton* playButton;
    ui::ValueSlider* timeSlider;
    TimelineStrip* timelineStrip;
    ui::DigitLabel* timeLabel;
    /// How long the finished video is.
    QLabel* lengthLabel;
    ui::ElidedLabel* trimLabel;
    ui::ElidedLabel* cutLabel;
    QComboBox* zoomPopup;
    QPushButton* showZoomButton;
    QPushButton* deleteZoomButton;
    QLabel* zoomModeLabel;
    /// The zoom slider stands in two places: beside the zooms, and first among the camera's settings.
    ui::ValueSlider* zoomSlider;
    ui::ValueSlider* zoomToolSlider;
    QPushButton* maskDrawButton;
    ui::ElidedLabel* maskLabel;

    ui::SegmentedControl* tempoControl;
    ui::ValueSlider* smoothingSlider;
    ui::ValueSlider* cursorSlider;
    ui::ValueSlider* paddingSlider;
    ui::ValueSlider* cornerSlider;
    ui::ColourWell* colourWell;
    ui::ValueSlider* systemVolumeSlider;
    ui::ValueSlider* micVolumeSlider;
    ui::SegmentedControl* exportResolutionControl;
    ui::SegmentedControl* exportFormatControl;
    // Null without a webcam.
    QCheckBox* webcamCheckbox = nullptr;
    ui::ValueSlider* webcamSizeSlider = nullptr;
    QComboBox* webcamCornerPopup = nullptr;
    ui::ValueSlider* webcamZoomSlider = nullptr;
    ui::ValueSlider* cropTopSlider;
    ui::ValueSlider* cropBottomSlider;
    ui::ValueSlider* cropLeftSlider;
    ui::ValueSlider* cropRightSlider;

    QPushButton* newRecordingButton;
    QPushButton* renderButton;
    QPushButton* cancelRenderButton;
    QPushButton* revealRenderButton;
    QProgressBar* progressBar;
    ui::ElidedLabel* statusLabel;
    QScrollArea* column;

  private:
    struct SliderRow {
        ui::ValueSlider* slider;
        QLabel* label;
        std::string (*text)(double value);
    };

    QWidget* makePreview();
    QLayout* makeTransport(const Recording& recording, const EditorActions& actions);
    QLayout* makeTransportButtons(const Recording& recording, const EditorActions& actions);
    void makeTimeline(const Recording& recording, const EditorActions& actions);
    QLayout* makeBottom(const EditorActions& actions);
    void makeRenderButtons(const EditorActions& actions);

    // In editor_tools.cpp: the tools below the transport, and each of their rows.
    QWidget* makeTools(const EditorActions& actions);
    QLayout* makeTrimTools(const EditorActions& actions);
    QLayout* makeCutTools(const EditorActions& actions);
    QLayout* makeZoomTools(const EditorActions& actions);
    void makeZoomPopup(const EditorActions& actions);
    QLabel* makeZoomToolSlider(const EditorActions& actions);
    QLayout* makeMaskTools(const EditorActions& actions);

    // In editor_column.cpp: the column of settings, and each of its cards.
    QWidget* makeColumn(const Recording& recording, const EditorActions& actions);
    void addCameraCard(QLayout& cards, const EditorActions& actions);
    void addCursorCard(QLayout& cards, const EditorActions& actions);
    void addLookCard(QLayout& cards, const EditorActions& actions);
    void addCropCard(QLayout& cards, const EditorActions& actions);
    void addSoundCard(QLayout& cards, const EditorActions& actions);
    void addWebcamCard(QLayout& cards, const EditorActions& actions);
    void addExportCard(QLayout& cards, const EditorActions& actions);
    ui::ValueSlider* addSlider(Card& card, const QString& caption, const SliderSpec& spec,
                               const EditorActions& actions);

    // A slider and the label that shows its value from now on.
    SliderRow makeSlider(const SliderSpec& spec, const EditorActions& actions);
    void updateValueLabels();

    std::vector<SliderRow> sliderRows_;
};

}  // namespace lumivastor::editor
