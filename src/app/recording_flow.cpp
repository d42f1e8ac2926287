// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/recording_flow.h"

#include <system_error>
#include <utility>

#include "app/auto_zoom_preset.h"
#include "app/status_texts.h"
#include "base/after.h"
#include "base/log.h"
#include "capture/recordings_root.h"

namespace lumivastor::app {

namespace {

constexpr double kTickSeconds = 0.5;
constexpr double kTestRegionSeconds = 1.5;
/// Until a compositor has faded hidden windows out.
constexpr double kClearScreenSeconds = 0.4;
constexpr const char* kNoMicrophone =
    "Ohne Mikrofonberechtigung geht das nicht. Entweder erlauben oder den Haken entfernen.";
constexpr const char* kNoCamera = "Ohne Kameraberechtigung keine Facecam. Entweder erlauben oder den Haken entfernen.";
constexpr const char* kNoDevice =
    "Die Geraete-Aufnahme braucht die Kamera-Berechtigung (so meldet sich das iPhone am Mac).";

// Deletes the folder of a recording that never began, unless it has content.
void removeEmptyFolder(const std::filesystem::path& folder) {
    std::error_code ignored;
    if (!folder.empty()) std::filesystem::remove(folder, ignored);
}

}  // namespace

RecordingFlow::RecordingFlow(const AppServices& services, ViewInForce& view, MainWindowModel& window,
                             Callbacks callbacks)
    : services_(services),
      view_(view),
      window_(window),
      callbacks_(std::move(callbacks)),
      access_(services),
      preview_(services),
      grant_(services) {}

RecordingFlow::~RecordingFlow() {
    abandonCountdown();
}

void RecordingFlow::abandonCountdown() {
    if (phase_ != Phase::countdown) return;
    countdownTimer_.reset();
    escapeKey_.reset();
    phase_ = Phase::idle;
    removeEmptyFolder(folder_);
    grant_.release();
}

void RecordingFlow::cancelCountdown() {
    if (phase_ != Phase::countdown) return;
    countdownTimer_.reset();
    hideCountdown();
    recorder_.reset();
    removeEmptyFolder(folder_);
    releaseGrant();
    showWindowsAgain();
    backToIdle();
    window_.setStatus("Aufnahme abgebrochen.");
    view_->showMainWindow();
}

bool RecordingFlow::hasRecorder() const {
    return phase_ == Phase::starting || phase_ == Phase::recording || phase_ == Phase::finishing;
}

// Regions

void RecordingFlow::beginRegion(const platform::Display& display,
                                std::vector<platform::RunningApplication> excludedApplications, bool provesItself) {
    if (isActive()) return;
    if (!view_->hasScreen(display)) {
        window_.setHint(Hint::source, "Bildschirm nicht gefunden.");
        return;
    }
    Log::write("Region", "Fluss gestartet: Fenster weg, App tritt zurück");
    phase_ = Phase::arming;
    pendingRegion_ = Request{capture::RegionSource{display, {}}, display, std::move(excludedApplications)};
    view_->hideMainWindow();
    view_->showRegionArmPanel(display);
    Log::write("Region", "Bereit-Feld angezeigt");
    if (provesItself) armTimer_ = after(services_.mainLoop, kTestRegionSeconds, [this] { regionArmProceed(); });
}

void RecordingFlow::regionArmProceed() {
    if (phase_ != Phase::arming) return;
    Log::write("Region", "Nutzer bereit, zeige Overlay");
    phase_ = Phase::picking;
    view_->closeRegionArmPanel();
    view_->pickRegion(*pendingRegion_->display, [this](std::optional<Rect> rect) { regionPicked(rect); });
}

void RecordingFlow::regionArmCancel() {
    if (phase_ != Phase::arming) return;
    view_->closeRegionArmPanel();
    regionPicked(std::nullopt);
}

void RecordingFlow::regionPicked(std::optional<Rect> rect) {
    armTimer_.reset();
    phase_ = Phase::idle;
    Request request = *std::exchange(pendingRegion_, std::nullopt);
    showWindowsAgain();
    if (!rect) {
        releaseGrant();
        window_.setStatus("Ausschnitt-Auswahl abgebrochen.");
        view_->showMainWindow();
        return;
    }
    window_.setStatus(regionText({rect->width, rect->height}));
    request.source = capture::RegionSource{*request.display, *rect};
    begin(std::move(request));
}

// The desktop's dialog

void RecordingFlow::beginGrant(SourceType type) {
    if (isActive()) return;
    const GrantUse then = type == SourceType::region ? GrantUse::pickRegion : GrantUse::record;
    if (const auto content = grant_.held(pickedKind(type))) {
        use(*content, then);
    } else {
        ask(type, then);
    }
}

void RecordingFlow::chooseGrant(SourceType type) {
    if (!isActive()) ask(type, GrantUse::keep);
}

void RecordingFlow::showDialogIsOpen() {
    phase_ = Phase::granting;
    window_.update([](MainWindowState& state) {
        state.recordTitle = "Auswahl abbrechen";
        state.controlsEnabled = false;
        state.status = "Warte auf den Dialog des Desktops …";
    });
}

void RecordingFlow::ask(SourceType type, GrantUse use) {
    showDialogIsOpen();
    grant_.ask({pickedKind(type), use == GrantUse::keep, window_.choices().fps(), ""},
               [this, use](const ContentGrant::Outcome& outcome) { answered(outcome, use); });
}

void RecordingFlow::cancelGrant() {
    if (!isGranting()) return;
    grantIsCancelled_ = true;
    grant_.cancel();
}

void RecordingFlow::releaseGrant() {
    if (!grant_.last()) return;
    grant_.release();
    callbacks_.grantChanged();
}

void RecordingFlow::answered(const ContentGrant::Outcome& outcome, GrantUse then) {
    backToIdle();
    callbacks_.grantChanged();
    if (const auto* error = std::get_if<RecorderError>(&outcome)) {
        window_.setHint(Hint::source, error->message());
    } else if (const auto& content = std::get<std::optional<ContentGrant::Content>>(outcome)) {
        use(*content, then);
    } else {
        window_.setStatus("Auswahl abgebrochen.");
    }
}

void RecordingFlow::use(const ContentGrant::Content& content, GrantUse then) {
    if (then == GrantUse::keep) return;
    const auto* display = std::get_if<platform::Display>(&content);
    if (display == nullptr) {
        begin({capture::WindowSource{std::get<platform::Window>(content)}, std::nullopt, {}});
    } else if (then == GrantUse::record) {
        begin({capture::DisplaySource{*display}, *display, {}});
    } else {
        pickRegionOf(*display);
    }
}

void RecordingFlow::pickRegionOf(const platform::Display& display) {
    phase_ = Phase::picking;
    pendingRegion_ = Request{capture::RegionSource{display, {}}, display, {}};
    window_.setStatus("Hole ein Bild des Bildschirms …");
    // The picture must not show this program's windows.
    view_->hideAllWindows();
    windowsAreHidden_ = true;
    armTimer_ = after(services_.mainLoop, kClearScreenSeconds, [this] {
        grant_.takePicture([this](const ContentGrant::Picture& picture) { regionPictureTaken(picture); });
    });
}

void RecordingFlow::regionPictureTaken(const ContentGrant::Picture& picture) {
    if (phase_ != Phase::picking) return;
    if (picture) {
        view_->pickRegionOnPicture(*pendingRegion_->display, picture,
                                   [this](std::optional<Rect> rect) { regionPicked(rect); });
        return;
    }
    regionPicked(std::nullopt);
    window_.setHint(Hint::source, "Der Desktop schickt kein Bild des Bildschirms. Versuch es noch einmal.");
}

// The program's own windows

void RecordingFlow::showWindowsAgain() {
    if (std::exchange(windowsAreHidden_, false)) view_->showAllWindows();
}

void RecordingFlow::showCountdown(int number) {
    if (leavesOwnWindowsOut()) {
        view_->showCountdown(number);
        return;
    }
    const std::string bound = stopShortcut_ ? stopShortcut_->keys() : "";
    const auto keys = bound.empty() ? std::nullopt : std::optional(bound);
    window_.update([&](MainWindowState& state) {
        state.countdown = {number, clearsScreen() ? stopWaysText(view_->hasStatusItems(), keys) : ""};
    });
}

void RecordingFlow::hideCountdown() {
    escapeKey_.reset();
    if (leavesOwnWindowsOut()) {
        view_->hideCountdown();
    } else {
        window_.update([](MainWindowState& state) { state.countdown.reset(); });
    }
}

// Permissions

void RecordingFlow::begin(Request request) {
    if (!isActive()) askForPermissions(std::move(request), {.device = true});
}

void RecordingFlow::beginDevice(const platform::CaptureDevice& device) {
    if (!isActive()) askForPermissions(device, {});
}

void RecordingFlow::askForPermissions(Subject subject, Granted granted) {
    phase_ = Phase::permissions;
    // The device may be busy with our own preview, which proves that it can be used.
    if (preview_.isOn()) granted.webcam = true;
    const MainWindowChoices& choices = window_.choices();
    if (!granted.device) {
        const auto& device = std::get<platform::CaptureDevice>(subject);
        opening_.begin("Öffne „" + device.name + "“ …");
        access_.requestDevice(device, [=, this](Access access) {
            permissionAnswered(access, subject, {true, granted.microphone, granted.webcam}, {Hint::source, kNoDevice});
        });
    } else if (choices.microphone && !granted.microphone) {
        opening_.begin("Öffne das Mikrofon …");
        access_.requestMicrophone([=, this](Access access) {
            permissionAnswered(access, subject, {granted.device, true, granted.webcam},
                               {Hint::microphone, kNoMicrophone});
        });
    } else if (choices.webcam && !granted.webcam) {
        opening_.begin(kOpeningCamera);
        access_.requestCamera([=, this](Access access) {
            permissionAnswered(access, subject, {granted.device, granted.microphone, true}, {Hint::camera, kNoCamera});
        });
    } else {
        prepare(subject);
    }
}

void RecordingFlow::permissionAnswered(Access access, Subject subject, Granted granted, const Refusal& refusal) {
    opening_.end();
    if (access == Access::granted) {
        askForPermissions(std::move(subject), granted);
        return;
    }
    phase_ = Phase::idle;
    releaseGrant();
    window_.setHint(refusal.about, refusal.sentence);
    view_->showMainWindow();
}

// Countdown and start

capture::RecordingRequest RecordingFlow::recordingOf(const Subject& subject) const {
    const MainWindowChoices& choices = window_.choices();
    if (const auto* device = std::get_if<platform::CaptureDevice>(&subject)) {
        return capture::DeviceRecording{*device,
                                        {.microphone = choices.microphone,
                                         .webcam = choices.webcam,
                                         .sound = !services_.selection->cardSound(device->lastingId()).isNone}};
    }
    const auto& request = std::get<Request>(subject);
    return capture::DesktopRecording{services_.desktop,
                                     {request.source, request.excludedApplications, choices.fps(), choices.systemAudio,
                                      choices.microphone, choices.webcam}};
}

void RecordingFlow::prepare(const Subject& subject) {
    // Before the countdown, which says how to stop, and before a recording that would show the desktop's dialog.
    if (!leavesOwnWindowsOut() && !std::exchange(shortcutIsSettled_, true)) {
        askForShortcut(subject);
        return;
    }
    display_.reset();
    deviceName_.reset();
    if (const auto* device = std::get_if<platform::CaptureDevice>(&subject)) {
        deviceName_ = device->name;
    } else {
        display_ = std::get<Request>(subject).display;
    }
    folder_.clear();
    try {
        folder_ = capture::makeRecordingFolder(services_.root, services_.wallClock());
    } catch (const RecorderError& error) {
        startFailed(error.message());
        return;
    }
    recorder_ = capture::makeRecorder(services_, recordingOf(subject), folder_);
    recorder_->onStreamError([this](const RecorderError& error) { streamFailed(error); });
    recorder_->onNotice([this](const std::string& sentence) { note(sentence); });
    recorder_->onSlowStep([this](const std::string& what) { window_.setStatus(what); });
    phase_ = Phase::countdown;
    window_.update([](MainWindowState& state) {
        state.recordEnabled = false;
        state.controlsEnabled = false;
        state.notices.erase(NoticeKind::recording);
        state.notices.erase(NoticeKind::microphone);
    });
    microphone_ = {};
    runCountdown(window_.choices().countdownSeconds(), [this] { startRecorder(); });
}

void RecordingFlow::askForShortcut(const Subject& subject) {
    showDialogIsOpen();
    grantIsCancelled_ = false;
    grant_.askForShortcut(stopFromAnyThread(), {pauseKeys(), markKeys()},
                          [this, subject](const std::shared_ptr<platform::GlobalShortcut>& shortcut) {
                              stopShortcut_ = shortcut;
                              backToIdle();
                              if (!std::exchange(grantIsCancelled_, false)) {
                                  prepare(subject);
                                  return;
                              }
                              shortcutIsSettled_ = false;
                              releaseGrant();
                              window_.setStatus("Auswahl abgebrochen.");
                          });
}

void RecordingFlow::runCountdown(int from, std::function<void()> completion) {
    // It shows the countdown here.
    if (!leavesOwnWindowsOut()) view_->showMainWindow();
    if (from < 1) {
        clearScreen(completion);
        return;
    }
    // Whatever window has the keyboard focus. Elsewhere the main window has it.
    if (leavesOwnWindowsOut()) {
        escapeKey_ =
            services_.grabShortcut({.keys = {.letter = platform::kEscapeKey}, .purpose = "Countdown abbrechen"},
                                   fromAnyThread([this] { cancelCountdown(); }));
    }
    showCountdown(from);
    countdownTimer_ = services_.mainLoop.every(1.0, [this, left = from, completion = std::move(completion)]() mutable {
        if (--left >= 1) {
            showCountdown(left);
            return;
        }
        hideCountdown();
        const auto ended = std::exchange(countdownTimer_, nullptr);
        clearScreen(completion);
    });
}

void RecordingFlow::clearScreen(const std::function<void()>& completion) {
    if (!clearsScreen()) {
        completion();
        return;
    }
    view_->hideAllWindows();
    windowsAreHidden_ = true;
    countdownTimer_ = after(services_.mainLoop, kClearScreenSeconds, [this, completion] {
        const auto cleared = std::exchange(countdownTimer_, nullptr);
        completion();
    });
}

void RecordingFlow::startRecorder() {
    window_.setStatus("Starte …");
    phase_ = Phase::starting;
    view_->hideCameraPreview();
    // The recorder opens the camera itself.
    preview_.stop([this] {
        recorder_->start([this](std::optional<RecorderError> error) { recorderStarted(std::move(error)); });
    });
}

void RecordingFlow::recorderStarted(std::optional<RecorderError> error) {
    if (error) {
        startFailed(error->message());
    } else {
        running();
    }
}

void RecordingFlow::startFailed(const std::string& message) {
    recorder_.reset();
    removeEmptyFolder(folder_);
    releaseGrant();
    showWindowsAgain();
    const std::string text = "Start fehlgeschlagen: " + message;
    Log::write(logCategory(), text);
    backToIdle();
    window_.setHint(Hint::start, text);
    if (std::exchange(terminationPending_, false)) {
        view_->replyToApplicationShouldTerminate();
        return;
    }
    view_->showMainWindow();
}

// While it runs

void RecordingFlow::running() {
    phase_ = Phase::recording;
    callbacks_.started(folder_);
    if (!deviceName_) grant_.handedOver();
    callbacks_.grantChanged();
    window_.update([](MainWindowState& state) {
        state.recordTitle = "Aufnahme stoppen";
        state.recordEnabled = true;
    });
    if (stopRequested_) {
        stop();
        return;
    }
    awake_ = services_.sleep.inhibit("Eine Bildschirmaufnahme läuft.");
    offerStop();
    if (leavesOwnWindowsOut()) view_->hideMainWindow();
    hints_.clear();
    losses_ = {};
    space_ = {};
    view_->installStatusItem("⏺ 0:00");
    if (leavesOwnWindowsOut()) {
        const auto keysOf = [](const auto& shortcut) { return shortcut ? shortcut->keys() : std::string(); };
        view_->showRecordingPanel(display_, recorder_->webcamPreviewLayer(),
                                  {keysOf(stopShortcut_), keysOf(pauseShortcut_), keysOf(markShortcut_)});
    }
    tickTimer_ = services_.mainLoop.every(kTickSeconds, [this] { tick(); });
}

std::function<void()> RecordingFlow::fromAnyThread(std::function<void()> action) {
    return [this, alive = lifetime_.watch(), action = std::move(action)] {
        services_.mainLoop.async([alive, action] {
            if (!alive.expired()) action();
        });
    };
}

std::function<void()> RecordingFlow::stopFromAnyThread() {
    return fromAnyThread([this] { stop(); });
}

platform::FurtherKeys RecordingFlow::pauseKeys() {
    return {{.letter = 'P', .control = true, .alt = true, .shift = true},
            "pause-recording",
            "Aufnahme pausieren oder fortsetzen",
            fromAnyThread([this] { togglePause(capture::RecordingJob::PauseCause::other); })};
}

platform::FurtherKeys RecordingFlow::markKeys() {
    return {{.letter = 'M', .control = true, .alt = true, .shift = true},
            "set-mark",
            "Marke setzen",
            fromAnyThread([this] { setMark(); })};
}

void RecordingFlow::releaseShortcut() {
    pauseShortcut_.reset();
    markShortcut_.reset();
    // A desktop with dialogs would ask again.
    if (leavesOwnWindowsOut()) stopShortcut_.reset();
}

void RecordingFlow::offerStop() {
    if (leavesOwnWindowsOut()) {
        stopShortcut_ = services_.grabStopShortcut(stopFromAnyThread(), {}, {});
        const auto grab = [this](const platform::FurtherKeys& keys) {
            return services_.grabShortcut({.keys = keys.keys, .purpose = keys.purpose}, keys.pressed);
        };
        pauseShortcut_ = grab(pauseKeys());
        markShortcut_ = grab(markKeys());
    }
    stopOffer_ = services_.offerStop(stopFromAnyThread());
}

void RecordingFlow::tick() {
    const capture::RecordingJob::Stats stats = recorder_->snapshot();
    const bool isPaused = recorder_->isPaused();
    window_.setStatus(isPaused ? pausedText(stats) : runningText(stats, deviceName_));
    const std::string time = elapsedText(stats.duration);
    view_->setStatusItemTitle((isPaused ? "⏸ " : "⏺ ") + time);
    view_->setRecordingPanelTime(time);
    // What is wrong while it can still be helped; the most urgent first, empty sentences for what is fine.
    const capture::RecordingHealth health = recorder_->health();
    losses_.update(health);
    space_.update(health);
    showHints({microphoneLine(stats.duration), losses_.screenSentence(), losses_.webcamSentence(), space_.sentence()});
}

std::string RecordingFlow::microphoneLine(double elapsed) {
    if (!window_.choices().microphone) return {};
    if (const auto news = microphone_.take(services_.soundBoard->microphone(services_.hostClock()), elapsed)) {
        Log::write(logCategory(), *news);
        noteMicrophone();
    }
    return microphone_.hint();
}

void RecordingFlow::noteMicrophone() {
    const std::string summary = microphone_.summary();
    if (summary.empty()) return;
    window_.update([&](MainWindowState& state) { state.notices[NoticeKind::microphone] = {summary, ""}; });
}

void RecordingFlow::showHints(const std::vector<std::string>& sentences) {
    std::string hints;
    for (const std::string& sentence : sentences) {
        if (!sentence.empty()) hints += (hints.empty() ? "" : "\n") + sentence;
    }
    if (hints == hints_) return;
    hints_ = hints;
    view_->setRecordingHint(hints);
    Log::write(logCategory(), hints.empty() ? "Hinweis erledigt" : "Hinweis: " + hints);
}

void RecordingFlow::togglePause(capture::RecordingJob::PauseCause cause) {
    if (phase_ != Phase::recording) return;
    if (recorder_->isPaused()) {
        recorder_->resume();
    } else {
        recorder_->pause(cause);
    }
    view_->setRecordingPaused(recorder_->isPaused());
    tick();
}

void RecordingFlow::setMark() {
    if (phase_ == Phase::recording) view_->setRecordingMarks(recorder_->mark());
}

void RecordingFlow::streamFailed(const RecorderError& error) {
    if (phase_ != Phase::recording && phase_ != Phase::starting) return;
    const std::string text = "Die Aufnahme wurde vom System beendet: " + error.message();
    window_.setStatus(text);
    // The status will show the folder's content, but the reason for the early end must stay.
    note(text);
    stop();
}

void RecordingFlow::note(const std::string& sentence) {
    window_.update([&](MainWindowState& state) { state.notices[NoticeKind::recording] = {sentence, ""}; });
}

// Behind what is said already.
void RecordingFlow::addNote(const std::string& sentence) {
    window_.update([&](MainWindowState& state) {
        std::string& text = state.notices[NoticeKind::recording].text;
        text += (text.empty() ? "" : "\n") + sentence;
    });
    Log::write(logCategory(), sentence);
}

// The end

void RecordingFlow::stop() {
    if (phase_ == Phase::starting) stopRequested_ = true;
    if (phase_ != Phase::recording) return;
    phase_ = Phase::finishing;
    tickTimer_.reset();
    microphoneLine(recorder_->snapshot().duration);
    noteMicrophone();
    releaseShortcut();
    stopOffer_.reset();
    view_->removeStatusItem();
    if (leavesOwnWindowsOut()) view_->removeRecordingPanel();
    showWindowsAgain();
    view_->showMainWindow();
    window_.update([](MainWindowState& state) {
        state.recordEnabled = false;
        state.status = "Schließe die Datei ab …";
    });
    recorder_->stop([this, alive = lifetime_.watch()](const capture::RecordingJob::Outcome& outcome) {
        if (!alive.expired()) finished(outcome);
    });
}

void RecordingFlow::stopAndTerminate() {
    terminationPending_ = true;
    stop();
}

void RecordingFlow::finished(const capture::RecordingJob::Outcome& outcome) {
    if (const std::string lost = losses_.summary(); !lost.empty()) addNote(lost);
    if (const auto* stats = std::get_if<capture::RecordingJob::Stats>(&outcome)) {
        conclude(finishedText(*stats, folder_), true);
    } else {
        conclude("Fehler beim Abschließen: " + std::get<RecorderError>(outcome).message(), false);
    }
}

void RecordingFlow::conclude(const std::string& status, bool succeeded) {
    recorder_.reset();
    awake_.reset();
    backToIdle();
    if (std::exchange(terminationPending_, false)) {
        view_->replyToApplicationShouldTerminate();
        return;
    }
    window_.setStatus(status);
    if (!succeeded) {
        Log::write(logCategory(), status);
        return;
    }
    if (!window_.choices().autoZoom) presetZooms();
    callbacks_.finished(folder_);
}

void RecordingFlow::backToIdle() {
    phase_ = Phase::idle;
    stopRequested_ = false;
    window_.update([](MainWindowState& state) {
        state.recordTitle = "Aufnahme starten";
        state.recordEnabled = true;
        state.controlsEnabled = true;
    });
    // Without a hint: the status shows something more important.
    if (window_.choices().webcam && !terminationPending_) startPreview(false);
}

void RecordingFlow::presetZooms() {
    std::optional<model::ProjectSettings> look;
    try {
        look = services_.newLook();
    } catch (const RecorderError& error) {
        Log::write("Editor", error.message());
    }
    try {
        if (presetZoomsOff(folder_, look, window_.choices().webcam)) {
            Log::write("Editor", "Voreinstellung: Aufnahme ohne automatische Zooms");
        }
    } catch (const RecorderError& error) {
        Log::write("Editor", error.message());
    }
}

// Camera preview

void RecordingFlow::startPreview(bool tellsWhatFails) {
    if (hasRecorder()) return;
    if (tellsWhatFails && !isActive()) opening_.begin(kOpeningCamera);
    preview_.start([this, tellsWhatFails](const CameraPreview::Outcome& outcome) {
        if (!isActive()) opening_.end();
        if (outcome.preview) {
            view_->showCameraPreview(outcome.preview);
        } else if (tellsWhatFails && !isActive()) {
            window_.setHint(Hint::camera, outcome.error);
        }
    });
}

void RecordingFlow::stopCameraPreview() {
    if (!isActive()) opening_.end();
    preview_.stop();
    view_->hideCameraPreview();
}

}  // namespace lumivastor::app
