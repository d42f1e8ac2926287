// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <thread>
#include <variant>
#include <vector>

#include "app/app_services.h"
#include "app/app_view.h"
#include "app/interrupted_recordings.h"
#include "app/main_window_model.h"
#include "app/recording_flow.h"
#include "app/session/command_switches.h"
#include "app/view_in_force.h"
#include "base/lifetime.h"
#include "base/serial_queue.h"
#include "editor/session/second_attempt.h"

namespace lumivastor::app {

/// The application's controller: fills the main window, starts recordings and opens them in the editor, writes check
/// videos, completes interrupted recordings, and decides when the program may end. It decides and tells the view what
/// to show; the view reports what the user does. Main thread.
class AppDelegate {
  public:
    AppDelegate(AppServices services, AppView& view);
    ~AppDelegate();
    AppDelegate(const AppDelegate&) = delete;
    AppDelegate& operator=(const AppDelegate&) = delete;

    void applicationDidFinishLaunching(const CommandSwitches& switches);

    enum class TerminateReply { now, later, cancel };
    /// Who requests the end: the user, who can be asked, or the system, which cannot.
    enum class TerminationCause { user, system };
    /// Called by every way to quit. `later`: `AppView::replyToApplicationShouldTerminate` follows. `cancel`: videos are
    /// being rendered, and the user has been told to quit a second time.
    TerminateReply applicationShouldTerminate(TerminationCause cause = TerminationCause::user);
    /// Whether no video is being rendered, or the user requests the end for the second time.
    bool videosMayEnd();
    /// Whether the main window may close, which cancels a check video: the same question for that video alone.
    bool mainWindowShouldClose();
    /// Ends all work after the windows are gone, when no user can be asked. `blind` must outlive this; after `later` it
    /// gets `replyToApplicationShouldTerminate`.
    TerminateReply endWithoutWindows(AppView& blind);
    bool applicationShouldTerminateAfterLastWindowClosed() const;
    /// The program was started again.
    void applicationShouldHandleReopen(bool hasVisibleWindows);
    /// The program was started again to edit this folder.
    void open(const std::filesystem::path& folder);
    /// Asks for a folder to edit; not during a recording.
    void chooseRecording();
    /// Shows the main window for a new recording, unless one is in progress.
    void newRecording();

    // What the user sets.
    void sourceTypeChanged(SourceType type);
    void sourceSelected(int index);
    void fpsSelected(int index);
    void systemAudioToggled(bool on);
    void microphoneToggled(bool on);
    void autoZoomToggled(bool on);
    void webcamToggled(bool on);

    // What the user does.
    void toggleRecording();
    void stopFromStatusItem() { flow_.stop(); }
    void refreshSources();
    void renderCheckVideo();
    void renderStudioVideo();
    void revealFolder();
    void regionArmProceed() { flow_.regionArmProceed(); }
    void regionArmCancel() { flow_.regionArmCancel(); }
    /// The button of the notice about interrupted recordings.
    void completeInterrupted();
    /// The button of the notice about a check video.
    void revealCheckVideo();

    /// Shared with other objects that show something in the main window.
    MainWindowModel& window() { return window_; }

  private:
    void setChoice(const std::function<void(MainWindowChoices&)>& set);
    void startRecording();
    void startGrant(SourceType type);
    void reloadDisplays();
    void applySources(const std::variant<SourceLists, RecorderError>& answer);
    void fillSourcePopup();
    void showPopup(const SourcePopup& popup);
    void openScreenRecordingSettings();
    /// Measures the encoders in the background, so that no recording has to wait for it.
    void tryEncoders();
    void cameraAnswered(Access access);
    void askForRecordingFolder(std::function<void(const std::filesystem::path&)> chosen);
    void startCheckVideo(const std::filesystem::path& folder);
    void checkVideoEnded(const render::CursorRenderer::Outcome& outcome);
    void checkVideoFinished(const render::CursorRenderer::Result& result);
    bool checkVideoMayEnd();
    void cancelCheckVideo();
    std::string readyText() const;
    void openEditor(const std::filesystem::path& folder);
    void startTestRegion();
    void lookForInterrupted();
    void showInterrupted();
    void completionEnded(const CompletionReport& report);
    std::vector<platform::RunningApplication> excludedApplications() const;
    void onMain(std::function<void()> work);

    const AppServices services_;
    ViewInForce view_;
    MainWindowModel window_;
    SourceLists lists_;
    std::optional<std::filesystem::path> lastFolder_;
    std::vector<std::filesystem::path> interrupted_;
    bool completing_ = false;
    bool cameraWasRefused_ = false;
    bool testRegion_ = false;
    bool encodersTried_ = false;
    DeviceAccess access_;
    RecordingFlow flow_;
    std::vector<std::unique_ptr<MainLoop::Timer>> launchTimers_;
    editor::SecondAttempt closing_;  // while a check video is written
    std::unique_ptr<MainLoop::Timer> closingTimer_;
    bool checkVideoCancelled_ = false;
    std::unique_ptr<SleepInhibitor::Hold> checkVideoAwake_;
    std::filesystem::path checkVideoFile_;  // finished, but not revealed yet
    std::jthread checkVideo_;
    Lifetime lifetime_;
    SerialQueue sourceQueue_{"app.sources"};
    SerialQueue workQueue_{"app.work"};
    SerialQueue encoderQueue_{"app.encoders"};
};

}  // namespace lumivastor::app
