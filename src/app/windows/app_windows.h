#pragma once

#include <QPointer>
#include <QTimer>
#include <memory>
#include <optional>
#include <vector>

#include "app/app_view.h"
#include "app/sleep_inhibitor.h"
#include "app/windows/main_window.h"
#include "app/windows/panels.h"
#include "app/windows/region_picker.h"
#include "app/windows/status_item.h"
#include "editor/editor_window.h"
#include "editor/editor_windows.h"

class QScreen;

namespace lumivastor {

class AppDelegate;

/// All windows of the application, on Qt. Main thread.
class AppWindows final : public AppView {
  public:
    struct Options {
        EditorWindows& editors;
        /// For as long as an editor exports.
        SleepInhibitor& sleep;
        /// Without, the menu has no such item.
        std::function<void()> checkForUpdates;
        /// The button of the notice about an update.
        std::function<void()> openUpdate;
    };
    explicit AppWindows(Options options);
    ~AppWindows() override;

    /// Whom the windows tell what the user does. Before anything is shown.
    void setDelegate(AppDelegate& delegate) { delegate_ = &delegate; }

    /// The user wants the program to end. It does once nothing is being recorded.
    void terminate();
    /// The program was started once more.
    void reopen();

    void show(const MainWindowState& state) override;
    void showMainWindow() override;
    void hideMainWindow() override;
    void showCameraPreview(std::shared_ptr<WebcamPreview> preview) override;
    void hideCameraPreview() override;
    void showCountdown(int number) override;
    void hideCountdown() override;
    bool hasScreen(const Display& display) override;
    void showRegionArmPanel(const Display& display) override;
    void closeRegionArmPanel() override;
    void pickRegion(const Display& display, std::function<void(std::optional<Rect>)> completion) override;
    void installStatusItem(const std::string& title) override;
    void setStatusItemTitle(const std::string& title) override;
    void removeStatusItem() override;
    void showRecordingPanel(const std::optional<Display>& display, std::shared_ptr<WebcamPreview> preview) override;
    void setRecordingPanelTime(const std::string& time) override;
    void removeRecordingPanel() override;
    void askForFolder(const std::string& message, const std::filesystem::path& start,
                      std::function<void(std::optional<std::filesystem::path>)> completion) override;
    void openEditor(const std::filesystem::path& folder) override;
    void openFolder(const std::filesystem::path& folder) override;
    void revealFile(const std::filesystem::path& file) override;
    void replyToApplicationShouldTerminate() override;

  private:
    MainWindowActions actions();
    void noticeAction(NoticeKind kind);
    void watchExports();
    void showAbout();

    const Options options_;
    AppDelegate* delegate_ = nullptr;
    std::unique_ptr<MainWindow> window_;
    std::unique_ptr<CountdownWindow> countdown_;
    std::unique_ptr<RegionArmPanel> armPanel_;
    std::unique_ptr<RecordingPanel> recordingPanel_;
    std::unique_ptr<StatusItem> statusItem_;
    RegionPicker picker_;
    std::vector<QPointer<EditorWindow>> openEditors_;
    QTimer exportWatch_;
    std::unique_ptr<SleepInhibitor::Hold> awake_;
};

}  // namespace lumivastor
