// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>
#include <variant>
#include <vector>

#include "app/app_services.h"
#include "app/app_view.h"
#include "app/ended_recording.h"
#include "app/input_devices.h"
#include "app/interrupted_recordings.h"
#include "app/main_window_model.h"
#include "app/opening_status.h"
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
    /// Opens this folder in an editor. A German sentence when that is not possible; the main window says it, too.
    std::optional<std::string> open(const std::filesystem::path& folder);
    /// Shows the list of recordings; not during a recording.
    void chooseRecording();
    /// Asks for any folder to edit. `refused` gets the sentence when it cannot be edited; the main window says it, too.
    void chooseFolder(std::function<void(const std::string&)> refused);
    /// Shows the main window for a new recording, unless one is in progress.
    void newRecording();

    // What the user sets.
    void sourceTypeChanged(SourceType type);
    void sourceSelected(int index);
    void fpsSelected(int index);
    void countdownSelected(int index);
    void systemAudioToggled(bool on);
    void microphoneToggled(bool on);
    void autoZoomToggled(bool on);
    void webcamToggled(bool on);
    void microphoneSelected(int index) { inputs_.microphoneSelected(index); }
    void cameraSelected(int index) { inputs_.cameraSelected(index); }
    void cardSoundSelected(int index) { inputs_.cardSoundSelected(index); }
    /// Whether the user can see the main window.
    void mainWindowShown(bool isShown) { inputs_.windowShown(isShown); }

    // What the user does.
    void toggleRecording();
    void stopFromStatusItem() { flow_.stop(); }
    void togglePause() { flow_.togglePause(capture::RecordingJob::PauseCause::pointer); }
    void setMark() { flow_.setMark(); }
    bool isCountingDown() const { return flow_.isCountingDown(); }
    void cancelCountdown() { flow_.cancelCountdown(); }
    void refreshSources();
    /// The button that opens the desktop's own dialog.
    void chooseContent();
    void renderCheckVideo();
    /// Writes this recording's check video; the main window comes to the front and shows its progress. A German
    /// sentence when that is not possible now.
    std::optional<std::string> renderCheckVideo(const std::filesystem::path& folder);
    /// The button that shows the list of recordings.
    void renderStudioVideo();
    void revealFolder();
    void regionArmProceed() { flow_.regionArmProceed(); }
    void regionArmCancel() { flow_.regionArmCancel(); }
    /// The button of the notice about interrupted recordings: tries again what could not be completed, or else shows
    /// the list.
    void completeInterrupted();
    /// Completes one interrupted recording, unless a recording or another completion is at work.
    void complete(const std::filesystem::path& folder);
    bool isCompleting(const std::filesystem::path& folder) const;
    /// The button of the notice about a check video.
    void revealCheckVideo();

    /// Shared with other objects that show something in the main window.
    MainWindowModel& window() { return window_; }

  private:
    void setChoice(const std::function<void(MainWindowChoices&)>& set);
    void startRecording();
    /// Runs `action` for the chosen type, or says why the desktop's dialog does not offer it.
    void withPicker(const std::function<void(SourceType)>& action);
    void grantChanged();
    SourcePopup presentPopup() const;
    void reloadDisplays();
    void cameraChanged();
    void reloadDevices();
    void applySources(const std::variant<SourceLists, RecorderError>& answer);
    void fillSourcePopup();
    /// The card that is chosen, for its sound.
    void showCard();
    void showPopup(const SourcePopup& popup);
    void openScreenRecordingSettings();
    /// Measures the encoders in the background, so that no recording has to wait for it.
    void tryEncoders(const std::vector<platform::Display>& displays);
    void cameraAnswered(Access access);
    void askForRecordingFolder(std::function<void(const std::filesystem::path&)> chosen,
                               std::function<void(const std::string&)> refused = {});
    void startCheckVideo(const std::filesystem::path& folder);
    void checkVideoEnded(const render::CursorRenderer::Outcome& outcome);
    void checkVideoFinished(const render::CursorRenderer::Result& result);
    bool checkVideoMayEnd();
    void cancelCheckVideo();
    std::string readyText() const;
    std::optional<std::string> openEditor(const std::filesystem::path& folder);
    void startTestRegion();
    void lookForInterrupted();
    void interruptedFound(const std::vector<std::filesystem::path>& folders);
    CompletionReport completed(const std::vector<std::filesystem::path>& folders) const;
    void tellInterrupted(const std::optional<Notice>& notice);
    void beginCompletion(std::vector<std::filesystem::path> folders);
    void completionEnded(const CompletionReport& report);
    void silentCompletionEnded(const CompletionReport& report);
    void checkCompleted(const CompletionReport& report);
    std::vector<platform::RunningApplication> excludedApplications() const;
    void onMain(std::function<void()> work);

    const AppServices services_;
    ViewInForce view_;
    MainWindowModel window_;
    SourceLists lists_;
    std::optional<std::filesystem::path> lastFolder_;
    std::vector<std::filesystem::path> interrupted_;
    std::vector<std::filesystem::path> completing_;  // in the background
    bool completesInSilence_ = false;                // those, and recordings may begin meanwhile
    std::stop_source stop_;
    bool cameraWasRefused_ = false;
    bool testRegion_ = false;
    bool encodersTried_ = false;
    OpeningStatus opening_{services_.mainLoop, window_};
    DeviceAccess access_;
    EndedRecording ended_{services_, window_};
    RecordingFlow flow_;
    InputDevices inputs_;
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
