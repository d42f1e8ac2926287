// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPointer>
#include <QWidget>
#include <functional>
#include <memory>

#include "app/main_window_state.h"
#include "app/windows/level_view.h"
#include "capture/recording/webcam_preview.h"

class QAction;
class QBoxLayout;
class QCheckBox;
class QComboBox;
class QHBoxLayout;
class QLabel;
class QProgressBar;
class QPushButton;
class QScrollArea;
class QSpacerItem;
class QVBoxLayout;

namespace lumivastor::ui {
class SegmentedControl;
}

namespace lumivastor::app {

class CameraView;
class CountdownCover;

/// Callbacks for the user's actions in the main window.
struct MainWindowActions {
    std::function<void(SourceType)> sourceTypeChanged;
    std::function<void(int)> sourceSelected;
    std::function<void()> refreshSources;
    std::function<void()> chooseContent;
    std::function<void(int)> fpsSelected;
    std::function<void(int)> countdownSelected;
    /// A click on the countdown in the window.
    std::function<void()> cancelCountdown;
    std::function<void(bool)> autoZoomToggled;
    std::function<void(bool)> systemAudioToggled;
    std::function<void(bool)> microphoneToggled;
    std::function<void(bool)> webcamToggled;
    std::function<void(int)> microphoneSelected;
    std::function<void(int)> cameraSelected;
    std::function<void(int)> cardSoundSelected;
    /// Whether the user can see the window.
    std::function<void(bool)> shown;
    /// What the level meters show; without it they are empty.
    LevelReader level;
    std::function<void()> toggleRecording;
    std::function<void()> renderCheckVideo;
    std::function<void()> renderStudioVideo;
    std::function<void()> revealFolder;
    std::function<void(NoticeKind)> noticeAction;
    /// Shows the list of exports. Without it the menu has no such item.
    std::function<void()> showExports;
    std::function<void()> about;
    /// Without it the menu has no such item.
    std::function<void()> checkForUpdates;
    std::function<void()> terminate;
    /// Whether the window may close now; without it always.
    std::function<bool()> mayClose;
};

/// The small window from which every recording starts. Shows a state and reports the user's actions. It has a fixed
/// size, and is higher only if notices or large type need it.
class MainWindow final : public QWidget {
  public:
    explicit MainWindow(MainWindowActions actions);

    void show(const MainWindowState& state);
    /// Null hides the preview.
    void setCameraPreview(std::shared_ptr<capture::WebcamPreview> preview);

  protected:
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void changeEvent(QEvent* event) override;
    bool focusNextPrevChild(bool next) override;

  private:
    void buildMenus(QVBoxLayout& column);
    void buildSource(QVBoxLayout& column);
    void buildBoxes(QVBoxLayout& column);
    void buildButtons(QVBoxLayout& column);
    void buildStatus(QVBoxLayout& column);
    void reserveStatusRoom();
    void takeRoom();
    void tellShown();
    QComboBox* devicePopup(const char* title, const char* name, const std::function<void(int)>& selected);
    void showDevices(const MainWindowState& state);
    void showChoices(const MainWindowState& state);
    void showButtons(const MainWindowState& state);
    void keepFocus(QWidget* focused);
    void orderNotices();
    void showNotices(const std::map<NoticeKind, Notice>& notices);

    const MainWindowActions actions_;
    QScrollArea* area_ = nullptr;  // of everything below the menus
    QWidget* content_ = nullptr;
    ui::SegmentedControl* sourceTypeControl_ = nullptr;
    QWidget* sourceRow_ = nullptr;
    QComboBox* displayPopup_ = nullptr;
    QPushButton* refreshButton_ = nullptr;
    QPushButton* chooseButton_ = nullptr;
    QComboBox* fpsPopup_ = nullptr;
    QComboBox* countdownPopup_ = nullptr;
    QCheckBox* autoZoomBox_ = nullptr;
    QCheckBox* systemAudioBox_ = nullptr;
    QCheckBox* microphoneBox_ = nullptr;
    QCheckBox* webcamBox_ = nullptr;
    LevelView* systemAudioLevel_ = nullptr;
    LevelView* microphoneLevel_ = nullptr;
    QComboBox* microphonePopup_ = nullptr;
    QComboBox* cameraPopup_ = nullptr;
    QLabel* cardSoundCaption_ = nullptr;
    QComboBox* cardSoundPopup_ = nullptr;
    DevicePopup shownMicrophones_;
    DevicePopup shownCameras_;
    DevicePopup shownCardSounds_;
    bool toldShown_ = false;
    CameraView* webcamPreviewContainer_ = nullptr;
    QAction* showRecordings_ = nullptr;
    QAction* showExports_ = nullptr;
    QBoxLayout* buttonRow_ = nullptr;
    QPushButton* recordButton_ = nullptr;
    QPushButton* renderButton_ = nullptr;
    QPushButton* studioButton_ = nullptr;
    QPushButton* revealButton_ = nullptr;
    QVBoxLayout* noticeRows_ = nullptr;
    QHBoxLayout* statusRow_ = nullptr;
    QSpacerItem* statusRoom_ = nullptr;  // beside the text, which takes more if it needs it
    QLabel* statusLabel_ = nullptr;
    QProgressBar* progressBar_ = nullptr;
    QPointer<QWidget> lostFocus_;  // the control that was disabled while it had the keyboard focus
    std::vector<std::string> shownItems_;
    std::map<NoticeKind, Notice> shownNotices_;
    CountdownCover* countdown_ = nullptr;
};

}  // namespace lumivastor::app
