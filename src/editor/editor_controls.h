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

namespace lumivastor {

class Card;
class ColourWell;
class DigitLabel;
class ElidedLabel;
class MaskDrawView;
class PreviewView;
class SegmentedControl;
class TimelineStrip;
class ValueSlider;
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
    ValueSlider* timeSlider;
    TimelineStrip* timelineStrip;
    DigitLabel* timeLabel;
    /// How long the finished video is.
    QLabel* lengthLabel;
    ElidedLabel* trimLabel;
    ElidedLabel* cutLabel;
    QComboBox* zoomPopup;
    QPushButton* showZoomButton;
    QPushButton* deleteZoomButton;
    QLabel* zoomModeLabel;
    /// The zoom slider stands in two places: beside the zooms, and first among the camera's settings.
    ValueSlider* zoomSlider;
    ValueSlider* zoomToolSlider;
    QPushButton* maskDrawButton;
    ElidedLabel* maskLabel;

    SegmentedControl* tempoControl;
    ValueSlider* smoothingSlider;
    ValueSlider* cursorSlider;
    ValueSlider* paddingSlider;
    ValueSlider* cornerSlider;
    ColourWell* colourWell;
    ValueSlider* systemVolumeSlider;
    ValueSlider* micVolumeSlider;
    SegmentedControl* exportResolutionControl;
    SegmentedControl* exportFormatControl;
    // Null without a webcam.
    QCheckBox* webcamCheckbox = nullptr;
    ValueSlider* webcamSizeSlider = nullptr;
    QComboBox* webcamCornerPopup = nullptr;
    ValueSlider* webcamZoomSlider = nullptr;
    ValueSlider* cropTopSlider;
    ValueSlider* cropBottomSlider;
    ValueSlider* cropLeftSlider;
    ValueSlider* cropRightSlider;

    QPushButton* newRecordingButton;
    QPushButton* renderButton;
    QPushButton* cancelRenderButton;
    QPushButton* revealRenderButton;
    QProgressBar* progressBar;
    ElidedLabel* statusLabel;
    QScrollArea* column;

  private:
    struct SliderRow {
        ValueSlider* slider;
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
    ValueSlider* addSlider(Card& card, const QString& caption, const SliderSpec& spec, const EditorActions& actions);

    // A slider and the label that shows its value from now on.
    SliderRow makeSlider(const SliderSpec& spec, const EditorActions& actions);
    void updateValueLabels();

    std::vector<SliderRow> sliderRows_;
};

}  // namespace lumivastor
