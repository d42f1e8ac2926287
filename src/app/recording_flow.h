// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "app/app_services.h"
#include "app/camera_preview.h"
#include "app/content_grant.h"
#include "app/device_access.h"
#include "app/main_window_model.h"
#include "app/opening_status.h"
#include "app/source_choice.h"
#include "app/view_in_force.h"
#include "base/lifetime.h"
#include "capture/loss_watch.h"
#include "capture/microphone_remarks.h"
#include "capture/recording/recorder_factory.h"
#include "capture/recording/recording_job.h"
#include "capture/space_watch.h"

namespace lumivastor::app {

/// One recording after the other, from the click on "Aufnahme starten" until its folder is finished:
///
///     idle -> arming ──────────────────────────────> picking ─┐  (regions only)
///       ├───> granting (the desktop's dialog chooses) ──┴─────┤
///       └─────────────────────────────────────────────────────┴> permissions -> countdown -> starting -> recording
///            -> finishing -> idle
///
/// A failure or cancellation returns to idle, and the main window shows why. Main thread.
class RecordingFlow {
  public:
    enum class Phase { idle, arming, picking, granting, permissions, countdown, starting, recording, finishing };

    struct Callbacks {
        /// A recording into this folder has begun.
        std::function<void(const std::filesystem::path&)> started;
        /// The recording in this folder is complete.
        std::function<void(const std::filesystem::path&)> finished;
        /// What the desktop's dialog has granted and no recording has taken over has changed; see `granted`.
        std::function<void()> grantChanged;
    };

    RecordingFlow(const AppServices& services, ViewInForce& view, MainWindowModel& window, Callbacks callbacks);
    ~RecordingFlow();
    RecordingFlow(const RecordingFlow&) = delete;
    RecordingFlow& operator=(const RecordingFlow&) = delete;

    bool isActive() const { return phase_ != Phase::idle; }
    /// Whether a recorder starts, runs or finishes its folder. The program must not end then.
    bool hasRecorder() const;

    /// A source of the desktop, the display that shows it, and the programs whose windows are left out.
    struct Request {
        capture::CaptureSource source;
        std::optional<platform::Display> display;
        std::vector<platform::RunningApplication> excludedApplications;
    };

    // The following begin a recording with the main window's choices. Only while idle.
    void begin(Request request);
    void beginDevice(const platform::CaptureDevice& device);
    /// Lets the user choose a region of `display` first. `provesItself` confirms the panel without the user after a
    /// moment.
    void beginRegion(const platform::Display& display, std::vector<platform::RunningApplication> excludedApplications,
                     bool provesItself);

    // Where the desktop's own dialog chooses. Not for devices.

    /// Begins a recording with what is granted, or else lets the user choose first.
    void beginGrant(SourceType type);
    /// Lets the user choose, and keeps that for the next recording. Only while idle.
    void chooseGrant(SourceType type);
    /// What was chosen and not recorded yet.
    const std::optional<ContentGrant::Content>& granted() const { return grant_.last(); }
    /// Gives that back.
    void releaseGrant();
    /// Whether the dialog is open, and closes it.
    bool isGranting() const { return phase_ == Phase::granting; }
    void cancelGrant();
    /// Whether a recording runs on a desktop that cannot leave this program's windows out, so that there is no panel.
    bool runsWithoutPanel() const { return phase_ == Phase::recording && !leavesOwnWindowsOut(); }

    void regionArmProceed();
    void regionArmCancel();

    /// Ends the running recording; one that is being started ends as soon as it runs.
    void stop();
    /// The same, and then answers the pending quit request instead of opening the editor.
    void stopAndTerminate();

    /// Whether the numbers before a recording are shown.
    bool isCountingDown() const { return phase_ == Phase::countdown; }
    /// The user does not want the recording after all: ends the countdown and deletes its folder.
    void cancelCountdown();
    /// The same at the end of the program.
    void abandonCountdown();

    /// Pauses the running recording, or lets it go on.
    void togglePause(capture::RecordingJob::PauseCause cause);
    /// Marks this moment of the running recording.
    void setMark();

    /// Shows the camera in the main window. On failure the status says why.
    void startCameraPreview() { startPreview(true); }
    void stopCameraPreview();

  private:
    /// The subject of the recording: a source of the desktop or a device.
    using Subject = std::variant<Request, platform::CaptureDevice>;
    struct Granted {
        bool device = false;
        bool microphone = false;
        bool webcam = false;
    };

    /// The messages for a device that cannot be used.
    struct Refusal {
        Hint about;
        const char* sentence;
    };

    void askForPermissions(Subject subject, Granted granted);
    void permissionAnswered(Access access, Subject subject, Granted granted, const Refusal& refusal);
    void regionPicked(std::optional<Rect> rect);
    /// What happens to the desktop's choice.
    enum class GrantUse { record, pickRegion, keep };
    void ask(SourceType type, GrantUse use);
    void showDialogIsOpen();
    void answered(const ContentGrant::Outcome& outcome, GrantUse use);
    void use(const ContentGrant::Content& content, GrantUse use);
    void pickRegionOf(const platform::Display& display);
    void regionPictureTaken(const ContentGrant::Picture& picture);

    /// False where everything on the screen is recorded.
    bool leavesOwnWindowsOut() const { return services_.desktop.contentPicker() == nullptr; }
    /// Whether the program's windows must be away while the present subject is recorded.
    bool clearsScreen() const { return !leavesOwnWindowsOut() && !deviceName_; }
    void showWindowsAgain();
    void showCountdown(int number);
    void hideCountdown();

    capture::RecordingRequest recordingOf(const Subject& subject) const;
    void prepare(const Subject& subject);
    void askForShortcut(const Subject& subject);
    void runCountdown(int from, std::function<void()> completion);
    void clearScreen(const std::function<void()>& completion);
    void startRecorder();
    void recorderStarted(std::optional<RecorderError> error);
    void startFailed(const std::string& message);
    std::function<void()> fromAnyThread(std::function<void()> action);
    std::function<void()> stopFromAnyThread();
    platform::FurtherKeys pauseKeys();
    platform::FurtherKeys markKeys();
    void releaseShortcut();
    void offerStop();
    void running();
    void tick();
    /// What the microphone's line says now; notes what it has not said before.
    std::string microphoneLine(double elapsed);
    void noteMicrophone();
    void showHints(const std::vector<std::string>& sentences);
    void streamFailed(const RecorderError& error);
    void note(const std::string& sentence);
    void addNote(const std::string& sentence);
    void finished(const capture::RecordingJob::Outcome& outcome);
    void backToIdle();
    void conclude(const std::string& status, bool succeeded);
    const char* logCategory() const { return deviceName_ ? "Device" : "Capture"; }
    void presetZooms();
    void startPreview(bool tellsWhatFails);

    const AppServices& services_;
    ViewInForce& view_;
    MainWindowModel& window_;
    const Callbacks callbacks_;
    OpeningStatus opening_{services_.mainLoop, window_};
    DeviceAccess access_;
    CameraPreview preview_;
    ContentGrant grant_;

    Phase phase_ = Phase::idle;
    bool terminationPending_ = false;
    bool stopRequested_ = false;  // while starting
    std::optional<Request> pendingRegion_;
    bool grantIsCancelled_ = false;  // while granting
    bool windowsAreHidden_ = false;  // all of them, by `hideAllWindows`

    std::filesystem::path folder_;
    std::optional<platform::Display> display_;  // where the recording shows, when that is known
    std::optional<std::string> deviceName_;     // of the device that is recorded, for texts and the log
    std::unique_ptr<capture::RecordingJob> recorder_;
    std::unique_ptr<MainLoop::Timer> armTimer_;
    std::unique_ptr<MainLoop::Timer> countdownTimer_;
    std::unique_ptr<MainLoop::Timer> tickTimer_;
    std::unique_ptr<SleepInhibitor::Hold> awake_;
    capture::MicrophoneRemarks microphone_;  // of the running recording
    capture::LossWatch losses_;
    capture::SpaceWatch space_;
    std::string hints_;  // shown while recording
    Lifetime lifetime_;
    bool shortcutIsSettled_ = false;  // the desktop was asked for one; not on desktops that list what can be recorded
    // Last: they may call back until they are destroyed.
    std::shared_ptr<platform::GlobalShortcut> stopShortcut_;
    std::unique_ptr<platform::GlobalShortcut> escapeKey_;      // during the countdown
    std::unique_ptr<platform::GlobalShortcut> pauseShortcut_;  // while recording
    std::unique_ptr<platform::GlobalShortcut> markShortcut_;   // while recording
    std::shared_ptr<void> stopOffer_;                          // while recording
};

}  // namespace lumivastor::app
