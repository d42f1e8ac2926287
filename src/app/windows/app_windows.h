// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QPointer>
#include <memory>
#include <optional>
#include <vector>

#include "app/app_delegate.h"
#include "app/app_view.h"
#include "app/windows/main_window.h"
#include "app/windows/panels.h"
#include "app/windows/recordings_window.h"
#include "app/windows/region_picker.h"
#include "app/windows/status_item.h"
#include "editor/editor_windows.h"

class QScreen;

namespace lumivastor::app {

/// All windows of the application, on Qt. Main thread.
class AppWindows final : public QObject, public AppView {
  public:
    struct Options {
        editor::EditorWindows& editors;
        /// What the list of recordings shows.
        RecordingLibrary& library;
        /// The order of the list that the user chose last, and where it goes when another one is chosen.
        RecordingOrder order = RecordingOrder::newestFirst;
        std::function<void(RecordingOrder order)> orderChosen = {};
        /// Exports a recording with its own settings.
        std::function<void(const std::filesystem::path& folder)> render;
        /// Without it the menu has no such item.
        std::function<void()> checkForUpdates;
        /// The action of the notice about an update.
        std::function<void()> openUpdate;
        /// What the level meters show.
        LevelReader level = nullptr;
    };
    explicit AppWindows(Options options);
    ~AppWindows() override;

    /// The receiver of the user's actions. Set it before any window is shown.
    void setDelegate(AppDelegate& delegate) { delegate_ = &delegate; }

    /// Ends the program; every way to quit calls this. A recording is finished first. A user who would lose a video
    /// that is being rendered is asked first.
    void terminate(AppDelegate::TerminationCause cause);
    /// The program was started again.
    void reopen();

    void show(const MainWindowState& state) override;
    void showMainWindow() override;
    void hideMainWindow() override;
    void hideAllWindows() override;
    void showAllWindows() override;
    void showCameraPreview(std::shared_ptr<capture::WebcamPreview> preview) override;
    void hideCameraPreview() override;
    void showCountdown(int number) override;
    void hideCountdown() override;
    bool hasScreen(const platform::Display& display) override;
    void showRegionArmPanel(const platform::Display& display) override;
    void closeRegionArmPanel() override;
    void pickRegion(const platform::Display& display, std::function<void(std::optional<Rect>)> completion) override;
    void pickRegionOnPicture(const platform::Display& display,
                             std::shared_ptr<const imaging::BgraPremultipliedBuffer> picture,
                             std::function<void(std::optional<Rect>)> completion) override;
    bool hasStatusItems() override { return StatusItem::areShown(); }
    void installStatusItem(const std::string& title) override;
    void setStatusItemTitle(const std::string& title) override;
    void removeStatusItem() override;
    void showRecordingPanel(const std::optional<platform::Display>& display,
                            std::shared_ptr<capture::WebcamPreview> preview, const RecordingKeys& keys) override;
    void setRecordingPaused(bool paused) override;
    void setRecordingMarks(int count) override;
    void setRecordingPanelTime(const std::string& time) override;
    void setRecordingHint(const std::string& sentence) override;
    void removeRecordingPanel() override;
    void askForFolder(const std::string& message, const std::filesystem::path& start,
                      std::function<void(std::optional<std::filesystem::path>)> completion) override;
    void showRecordings() override;
    void openEditor(const std::filesystem::path& folder) override;
    bool editorsMayClose() override { return options_.editors.mayClose(); }
    bool openFolder(const std::filesystem::path& folder) override;
    void revealFile(const std::filesystem::path& file) override;
    void replyToApplicationShouldTerminate() override;

  protected:
    /// Handles the quit shortcut in windows without a menu, and the desktop's request to quit.
    bool eventFilter(QObject* object, QEvent* event) override;

  private:
    MainWindowActions actions();
    RecordingActions recordingActions();
    void noticeAction(NoticeKind kind);
    RecordingsActions recordingsActions();
    void showAbout();

    const Options options_;
    AppDelegate* delegate_ = nullptr;
    MainWindowChoices choices_;  // those shown last
    std::unique_ptr<MainWindow> window_;
    std::unique_ptr<RecordingsWindow> recordings_;  // once it was shown
    std::unique_ptr<CountdownWindow> countdown_;
    std::unique_ptr<RegionArmPanel> armPanel_;
    std::unique_ptr<RecordingPanel> recordingPanel_;
    std::unique_ptr<StatusItem> statusItem_;
    RegionPicker picker_;
    std::vector<QPointer<QWidget>> hidden_;  // by `hideAllWindows`, besides the main window
};

}  // namespace lumivastor::app
