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

/// The application's controller: fills the main window, starts recordings and hands them to the editor, writes check
/// videos, completes what was interrupted, and says when the program may end. It decides and tells the view; the view
/// tells it what the user does. Main thread.
class AppDelegate {
  public:
    AppDelegate(AppServices services, AppView& view);
    ~AppDelegate();
    AppDelegate(const AppDelegate&) = delete;
    AppDelegate& operator=(const AppDelegate&) = delete;

    void applicationDidFinishLaunching(const CommandSwitches& switches);

    enum class TerminateReply { now, later, cancel };
    /// Who wants the program to end: the user, who can be asked, or the system, which cannot.
    enum class TerminationCause { user, system };
    /// Every way to the program's end asks here. `later`: the view is told when. `cancel`: videos are being rendered,
    /// and the user has been told to ask a second time.
    TerminateReply applicationShouldTerminate(TerminationCause cause = TerminationCause::user);
    /// Whether nothing is being rendered, or the user asks for the second time to end it.
    bool videosMayEnd();
    /// Whether the main window may close: the same for a check video, which closing it cancels.
    bool mainWindowShouldClose();
    /// The windows are gone, so that nobody can be asked: ends what runs. `later`: `blind` is told when; it
    /// outlives this.
    TerminateReply endWithoutWindows(AppView& blind);
    bool applicationShouldTerminateAfterLastWindowClosed() const;
    /// The program was started once more.
    void applicationShouldHandleReopen(bool hasVisibleWindows);
    /// The program was started once more, to edit this folder.
    void open(const std::filesystem::path& folder);
    /// The same, to ask which folder; not while something is recorded.
    void chooseRecording();
    /// Shows the main window to begin a recording, unless one is under way.
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

    /// For whoever else has something to say in the main window.
    MainWindowModel& window() { return window_; }

  private:
    void setChoice(const std::function<void(MainWindowChoices&)>& set);
    void startRecording();
    void reloadDisplays();
    void applySources(const std::variant<SourceLists, RecorderError>& answer);
    void fillSourcePopup();
    void showPopup(const SourcePopup& popup);
    void openScreenRecordingSettings();
    /// Finds out how fast encoders are here before a recording has to wait for it.
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
    std::filesystem::path checkVideoFile_;  // finished, and not shown yet
    std::jthread checkVideo_;
    Lifetime lifetime_;
    SerialQueue sourceQueue_{"app.sources"};
    SerialQueue workQueue_{"app.work"};
    SerialQueue encoderQueue_{"app.encoders"};
};

}  // namespace lumivastor::app
