// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/app_delegate.h"

#include <algorithm>
#include <system_error>
#include <utility>
#include <variant>

#include "app/status_texts.h"
#include "base/after.h"
#include "base/handled_error.h"
#include "base/log.h"
#include "base/private_folder.h"
#include "capture/capture_plan.h"
#include "capture/desktop_dialog.h"
#include "capture/live_video.h"
#include "capture/recording/device_recorder.h"
#include "capture/recovery/recovery_space.h"

namespace lumivastor::app {

namespace {

constexpr double kOpenEditorSeconds = 1.0;
constexpr double kTestRegionSeconds = 3.0;
constexpr int kFastestPace = 60;  // pictures a second
constexpr const char* kLookingForSources = "Suche Quellen …";
constexpr const char* kDrawingCursor = "Zeichne den Cursor auf das Video …";

template <typename T>
std::optional<T> chosen(const std::vector<T>& from, int index) {
    if (index < 0 || static_cast<std::size_t>(index) >= from.size()) return std::nullopt;
    return from[static_cast<std::size_t>(index)];
}

}  // namespace

AppDelegate::AppDelegate(AppServices services, AppView& view)
    : services_(std::move(services)),
      view_(view),
      window_(view_),
      access_(services_),
      flow_(services_, view_, window_,
            {.started =
                 [this](const std::filesystem::path& folder) {
                     lastFolder_ = folder;
                     ended_.pause();
                 },
             .finished =
                 [this](const std::filesystem::path& folder) {
                     ended_.check(folder);
                     openEditor(folder);
                 },
             .grantChanged = [this] { grantChanged(); }}),
      inputs_(services_, window_,
              {.cameraChanged = [this] { cameraChanged(); },
               .devicesChanged = [this] { reloadDevices(); },
               .isRecording = [this] { return flow_.hasRecorder(); },
               .readyText = [this] { return readyText(); }}) {
    window_.update([&](MainWindowState& state) {
        state.choices.autoZoom = services_.preferences.autoZoomsEnabled().value_or(true);
        state.choices.countdownIndex = countdownIndexOf(services_.preferences.countdownSeconds());
    });
}

AppDelegate::~AppDelegate() {
    stop_.request_stop();
}

// Launch and end

void AppDelegate::applicationDidFinishLaunching(const CommandSwitches& switches) {
    testRegion_ = switches.testRegion;
    capture::DeviceRecorder::enableScreenCaptureDevices();
    view_->showMainWindow();
    refreshSources();
    inputs_.begin();
    lookForInterrupted();
    if (switches.openEditor) {
        launchTimers_.push_back(after(services_.mainLoop, kOpenEditorSeconds,
                                      [this, folder = *switches.openEditor] { openEditor(folder); }));
    }
    if (switches.chooseRecording) {
        launchTimers_.push_back(after(services_.mainLoop, kOpenEditorSeconds, [this] { chooseRecording(); }));
    }
    if (switches.testRegion) {
        launchTimers_.push_back(after(services_.mainLoop, kTestRegionSeconds, [this] { startTestRegion(); }));
    }
}

void AppDelegate::startTestRegion() {
    Log::write("Region", "Testmodus: löse Ausschnitt-Fluss aus");
    sourceTypeChanged(SourceType::region);
    startRecording();
}

AppDelegate::TerminateReply AppDelegate::applicationShouldTerminate(TerminationCause cause) {
    if (cause == TerminationCause::user && !videosMayEnd()) return TerminateReply::cancel;
    if (!flow_.hasRecorder()) return TerminateReply::now;
    flow_.stopAndTerminate();
    return TerminateReply::later;
}

bool AppDelegate::videosMayEnd() {
    // Asks all of them, so that each one with an export shows its message.
    const bool editorsMay = view_->editorsMayClose();
    const bool checkVideoMay = checkVideoMayEnd();
    return editorsMay && checkVideoMay;
}

bool AppDelegate::mainWindowShouldClose() {
    if (!checkVideoMayEnd()) return false;
    cancelCheckVideo();
    // Without this window nobody would know that the screen is still shared.
    if (!flow_.isActive()) flow_.releaseGrant();
    return true;
}

AppDelegate::TerminateReply AppDelegate::endWithoutWindows(AppView& blind) {
    view_.replace(blind);
    flow_.abandonCountdown();
    const TerminateReply reply = applicationShouldTerminate(TerminationCause::system);
    // Waits for its end, so that no half video is left.
    checkVideo_ = {};
    return reply;
}

bool AppDelegate::applicationShouldTerminateAfterLastWindowClosed() const {
    return !flow_.isActive();
}

void AppDelegate::applicationShouldHandleReopen(bool hasVisibleWindows) {
    // Where a recording has no panel, this is the way back to the button that stops it.
    const bool wantsToStop = flow_.runsWithoutPanel();
    if (wantsToStop || (!flow_.isActive() && !hasVisibleWindows)) view_->showMainWindow();
}

void AppDelegate::newRecording() {
    if (!flow_.isActive()) view_->showMainWindow();
}

std::optional<std::string> AppDelegate::open(const std::filesystem::path& folder) {
    return openEditor(folder);
}

void AppDelegate::chooseRecording() {
    // A window would end up in the recording.
    if (!flow_.isActive()) renderStudioVideo();
}

// Sources

void AppDelegate::refreshSources() {
    window_.setStatus(kLookingForSources);
    reloadDisplays();
}

void AppDelegate::reloadDisplays() {
    sourceQueue_.async([this] {
        std::variant<SourceLists, RecorderError> answer;
        try {
            const platform::ShareableContent content = services_.desktop.shareableContent();
            SourceLists lists = sourceLists(content, capture::DeviceRecorder::availableDevices(services_.devices));
            if (platform::ContentPicker* const picker = services_.desktop.contentPicker())
                lists.picker = picker->offer();
            answer = std::move(lists);
        } catch (...) {
            answer = handledError("Unerwarteter Fehler");
        }
        onMain([this, answer] { applySources(answer); });
    });
}

void AppDelegate::applySources(const std::variant<SourceLists, RecorderError>& answer) {
    if (const auto* lists = std::get_if<SourceLists>(&answer)) {
        lists_ = *lists;
        fillSourcePopup();
        tryEncoders(lists_.displays);
        return;
    }
    lists_ = {};
    const std::string reason = std::get<RecorderError>(answer).message();
    Log::write("Permissions", "SCShareableContent: " + reason);
    if (services_.desktop.contentPicker() != nullptr) {
        showPopup(missingDialogPopup(reason));
        return;
    }
    showPopup(deniedSourcePopup());
    openScreenRecordingSettings();
}

// A capture card that comes or goes. What is chosen stays chosen.
void AppDelegate::reloadDevices() {
    sourceQueue_.async([this] {
        onMain([this, devices = capture::DeviceRecorder::availableDevices(services_.devices)] {
            if (devices == lists_.devices) return;
            const bool isShown = window_.choices().sourceType == SourceType::device;
            const auto before = chosen(lists_.devices, window_.choices().sourceIndex);
            lists_.devices = devices;
            if (!isShown || flow_.isActive()) return;
            fillSourcePopup();
            const auto found = before ? std::find(devices.begin(), devices.end(), *before) : devices.end();
            if (found == devices.end()) return;
            setChoice(
                [&](MainWindowChoices& choices) { choices.sourceIndex = static_cast<int>(found - devices.begin()); });
            showCard();
        });
    });
}

void AppDelegate::tryEncoders(const std::vector<platform::Display>& displays) {
    // Only once, because later a recording may run.
    if (displays.empty() || encodersTried_ || flow_.isActive()) return;
    encodersTried_ = true;
    encoderQueue_.async([choose = services_.chooseEncoder, displays] {
        try {
            for (const platform::Display& display : displays) {
                choose(capture::screenEncodingJob(
                    capture::evenPixelSize({display.frame.width, display.frame.height}, display.scale), kFastestPace));
            }
        } catch (...) {
            // The recording chooses its encoder itself and reports what prevents that.
            Log::write("Capture", "Encoder nicht erprobt: " + handledError("Unerwarteter Fehler").message());
        }
    });
}

SourcePopup AppDelegate::presentPopup() const {
    return sourcePopup(window_.choices().sourceType, lists_, flow_.granted());
}

void AppDelegate::fillSourcePopup() {
    showPopup(presentPopup());
}

std::string AppDelegate::readyText() const {
    return presentPopup().status;
}

void AppDelegate::grantChanged() {
    if (const auto& granted = flow_.granted()) {
        if (const auto* display = std::get_if<platform::Display>(&*granted)) tryEncoders({*display});
    }
    fillSourcePopup();
}

void AppDelegate::chooseContent() {
    if (!lists_.picker) return;
    window_.withdrawHint(Hint::source, readyText());
    withPicker([this](SourceType type) { flow_.chooseGrant(type); });
}

void AppDelegate::showPopup(const SourcePopup& popup) {
    window_.update([&](MainWindowState& state) {
        state.sourceItems = popup.items;
        state.chooseTitle = popup.chooseTitle;
        state.choices.sourceIndex = popup.items.empty() ? -1 : 0;
        // A late list must not replace the recording's status.
        if (!flow_.isActive()) state.status = popup.status;
    });
    showCard();
}

void AppDelegate::showCard() {
    const MainWindowChoices& choices = window_.choices();
    inputs_.showCard(choices.sourceType == SourceType::device ? chosen(lists_.devices, choices.sourceIndex)
                                                              : std::nullopt);
}

// X desktops have no permission settings that could be opened.
void AppDelegate::openScreenRecordingSettings() {
    Log::write("Permissions", "keine Einstellungen für die Bildschirmaufnahme zum Öffnen");
}

// Choices

void AppDelegate::setChoice(const std::function<void(MainWindowChoices&)>& set) {
    window_.update([&](MainWindowState& state) { set(state.choices); });
}

void AppDelegate::sourceTypeChanged(SourceType type) {
    setChoice([&](MainWindowChoices& choices) { choices.sourceType = type; });
    // What was chosen is shared until then, so it is given back when it is of no use any more.
    if (type == SourceType::device || (flow_.granted() && !isOfKind(*flow_.granted(), pickedKind(type)))) {
        flow_.releaseGrant();
    }
    fillSourcePopup();
}

void AppDelegate::sourceSelected(int index) {
    setChoice([&](MainWindowChoices& choices) { choices.sourceIndex = index; });
    window_.withdrawHint(Hint::source, readyText());
    showCard();
}

void AppDelegate::fpsSelected(int index) {
    setChoice([&](MainWindowChoices& choices) { choices.fpsIndex = index; });
}

void AppDelegate::countdownSelected(int index) {
    setChoice([&](MainWindowChoices& choices) { choices.countdownIndex = index; });
    services_.preferences.setCountdownSeconds(window_.choices().countdownSeconds());
}

void AppDelegate::systemAudioToggled(bool on) {
    setChoice([&](MainWindowChoices& choices) { choices.systemAudio = on; });
    inputs_.boxToggled();
}

void AppDelegate::microphoneToggled(bool on) {
    setChoice([&](MainWindowChoices& choices) { choices.microphone = on; });
    window_.withdrawHint(Hint::microphone, readyText());
    inputs_.boxToggled();
}

void AppDelegate::autoZoomToggled(bool on) {
    setChoice([&](MainWindowChoices& choices) { choices.autoZoom = on; });
    services_.preferences.setAutoZoomsEnabled(on);
}

void AppDelegate::webcamToggled(bool on) {
    setChoice([&](MainWindowChoices& choices) { choices.webcam = on; });
    window_.withdrawHint(Hint::camera, readyText());
    opening_.end();
    if (!on) {
        flow_.stopCameraPreview();
        return;
    }
    if (!flow_.isActive()) opening_.begin(kOpeningCamera);
    access_.requestCamera([this](Access access) { cameraAnswered(access); });
}

void AppDelegate::cameraChanged() {
    if (!window_.choices().webcam || flow_.isActive()) return;
    flow_.stopCameraPreview();
    flow_.startCameraPreview();
}

void AppDelegate::cameraAnswered(Access access) {
    opening_.end();
    if (!window_.choices().webcam || flow_.hasRecorder()) return;
    if (access != Access::refused) {
        cameraWasRefused_ = false;
        flow_.startCameraPreview();
        return;
    }
    const bool again = std::exchange(cameraWasRefused_, true);
    setChoice([](MainWindowChoices& choices) { choices.webcam = false; });
    window_.setHint(Hint::camera,
                    again ? "Kamerazugriff ist gesperrt: Systemeinstellungen → Datenschutz & Sicherheit → Kamera → "
                            "LumiVastor erlauben."
                          : "Ohne Kameraberechtigung keine Facecam.");
}

// Recording

void AppDelegate::toggleRecording() {
    if (flow_.hasRecorder()) {
        flow_.stop();
    } else if (flow_.isGranting()) {
        flow_.cancelGrant();
    } else if (!flow_.isActive()) {
        startRecording();
    }
}

std::vector<platform::RunningApplication> AppDelegate::excludedApplications() const {
    if (!lists_.ownApplication) return {};
    return {*lists_.ownApplication};
}

void AppDelegate::startRecording() {
    if (!completing_.empty() && !completesInSilence_) return;
    for (const Hint about : {Hint::microphone, Hint::camera, Hint::source, Hint::folder, Hint::start}) {
        window_.withdrawHint(about, readyText());
    }
    const MainWindowChoices& choices = window_.choices();
    if (lists_.picker && choices.sourceType != SourceType::device) {
        withPicker([this](SourceType type) { flow_.beginGrant(type); });
        return;
    }
    const auto display = chosen(lists_.displays, choices.sourceIndex);
    switch (choices.sourceType) {
        case SourceType::device:
            if (const auto device = chosen(lists_.devices, choices.sourceIndex)) {
                flow_.beginDevice(*device);
            } else {
                window_.setHint(Hint::source, "Kein Geraet ausgewaehlt - iPhone anschliessen und ↻ druecken.");
            }
            return;
        case SourceType::window:
            if (const auto window = chosen(lists_.windows, choices.sourceIndex)) {
                flow_.begin({capture::WindowSource{*window}, displayOf(capture::WindowSource{*window}, lists_.displays),
                             excludedApplications()});
            } else {
                window_.setHint(Hint::source, "Kein Fenster ausgewählt - Liste mit ↻ aktualisieren.");
            }
            return;
        case SourceType::region:
        case SourceType::display:
            if (lists_.displayRefusal) {
                window_.setHint(Hint::source, *lists_.displayRefusal);
            } else if (!display) {
                window_.setHint(Hint::source, "Kein Bildschirm ausgewählt.");
            } else if (choices.sourceType == SourceType::region) {
                flow_.beginRegion(*display, excludedApplications(), testRegion_);
            } else {
                flow_.begin({capture::DisplaySource{*display}, display, excludedApplications()});
            }
            return;
    }
}

void AppDelegate::withPicker(const std::function<void(SourceType)>& action) {
    const SourceType type = window_.choices().sourceType;
    if (const auto refusal = capture::dialogRefusal(pickedKind(type), *lists_.picker)) {
        window_.setHint(Hint::source, *refusal);
    } else {
        action(type);
    }
}

// Folders, editor, check video

std::optional<std::string> AppDelegate::openEditor(const std::filesystem::path& folder) {
    try {
        view_->openEditor(folder);
        window_.withdrawHint(Hint::folder, readyText());
        services_.recordingOpened(folder);
        return std::nullopt;
    } catch (const RecorderError& error) {
        std::string sentence = "Editor konnte nicht geöffnet werden: " + error.message();
        window_.setHint(Hint::folder, sentence);
        Log::write("Editor", "Öffnen fehlgeschlagen: " + error.message());
        return sentence;
    }
}

void AppDelegate::renderStudioVideo() {
    window_.withdrawHint(Hint::folder, readyText());
    view_->showRecordings();
}

void AppDelegate::chooseFolder(std::function<void(const std::string&)> refused) {
    askForRecordingFolder(
        [this, refused](const std::filesystem::path& folder) {
            if (const auto refusal = openEditor(folder)) refused(*refusal);
        },
        refused);
}

void AppDelegate::askForRecordingFolder(std::function<void(const std::filesystem::path&)> chosenFolder,
                                        std::function<void(const std::string&)> refused) {
    window_.withdrawHint(Hint::folder, readyText());
    view_->askForFolder("Aufnahmeordner auswählen (enthält source.mov und pointer.json)",
                        lastFolder_ ? lastFolder_->parent_path() : services_.root,
                        [this, chosenFolder = std::move(chosenFolder),
                         refused = std::move(refused)](std::optional<std::filesystem::path> folder) {
                            if (!folder) return;
                            std::error_code ignored;
                            if (std::filesystem::exists(*folder / "source.mov", ignored)) {
                                chosenFolder(*folder);
                                return;
                            }
                            const std::string sentence = "In diesem Ordner liegt keine source.mov.";
                            window_.setHint(Hint::folder, sentence);
                            if (refused) refused(sentence);
                        });
}

void AppDelegate::renderCheckVideo() {
    if (window_.state().progress) return;
    askForRecordingFolder([this](const std::filesystem::path& folder) { startCheckVideo(folder); });
}

std::optional<std::string> AppDelegate::renderCheckVideo(const std::filesystem::path& folder) {
    if (window_.state().progress) return "Es wird schon ein Prüfvideo erzeugt.";
    if (flow_.isActive()) return "Während einer Aufnahme entsteht kein Prüfvideo.";
    window_.withdrawHint(Hint::folder, readyText());
    view_->showMainWindow();
    startCheckVideo(folder);
    return std::nullopt;
}

void AppDelegate::startCheckVideo(const std::filesystem::path& folder) {
    window_.update([](MainWindowState& state) {
        state.progress = 0.0;
        state.status = kDrawingCursor;
        state.notices.erase(NoticeKind::checkVideo);
    });
    closing_.forget();
    checkVideoCancelled_ = false;
    checkVideoAwake_ = services_.sleep.inhibit("Ein Prüfvideo wird geschrieben.");
    render::CursorRenderer::Options options;
    options.postToMain = [this, alive = lifetime_.watch()](std::function<void()> work) {
        services_.mainLoop.async([alive, work = std::move(work)] {
            if (!alive.expired()) work();
        });
    };
    options.progress = [this](double done) { window_.update([&](MainWindowState& state) { state.progress = done; }); };
    try {
        checkVideo_ = services_.renderCheckVideo(
            folder, std::move(options),
            [this](const render::CursorRenderer::Outcome& outcome) { checkVideoEnded(outcome); });
    } catch (const RecorderError& error) {
        checkVideoEnded(error);
    }
}

void AppDelegate::checkVideoEnded(const render::CursorRenderer::Outcome& outcome) {
    checkVideoAwake_.reset();
    closingTimer_.reset();
    window_.update([](MainWindowState& state) { state.progress.reset(); });
    if (const auto* result = std::get_if<render::CursorRenderer::Result>(&outcome)) {
        checkVideoFinished(*result);
        return;
    }
    if (checkVideoCancelled_) {
        window_.setStatus("Prüfvideo abgebrochen.");
        return;
    }
    const std::string message = std::get<RecorderError>(outcome).message();
    window_.setStatus("Prüfvideo fehlgeschlagen: " + message);
    Log::write("Render", "Fehler: " + message);
}

void AppDelegate::checkVideoFinished(const render::CursorRenderer::Result& result) {
    if (!flow_.isActive()) {
        window_.setStatus(checkVideoText(result));
        view_->revealFile(result.url);
        return;
    }
    // Opens no window during a recording, which would show it, and leaves the status to the recording.
    checkVideoFile_ = result.url;
    window_.update([](MainWindowState& state) {
        state.notices[NoticeKind::checkVideo] = {"Das Prüfvideo ist fertig.", "Zeigen"};
    });
}

void AppDelegate::revealCheckVideo() {
    window_.update([](MainWindowState& state) { state.notices.erase(NoticeKind::checkVideo); });
    view_->revealFile(checkVideoFile_);
}

bool AppDelegate::checkVideoMayEnd() {
    if (!window_.state().progress || checkVideoCancelled_) return true;
    if (closing_.attempt(services_.hostClock())) return true;
    window_.setStatus(editor::kCloseWhileRendering);
    closingTimer_ = after(services_.mainLoop, editor::SecondAttempt::kSeconds, [this] {
        if (window_.state().status == editor::kCloseWhileRendering) window_.setStatus(kDrawingCursor);
    });
    if (!flow_.isActive()) view_->showMainWindow();
    return false;
}

void AppDelegate::cancelCheckVideo() {
    if (!window_.state().progress) return;
    checkVideoCancelled_ = true;
    checkVideo_.request_stop();
}

void AppDelegate::revealFolder() {
    std::error_code ignored;
    const bool hasLast = lastFolder_ && std::filesystem::is_directory(*lastFolder_, ignored);
    const std::filesystem::path folder = hasLast ? *lastFolder_ : services_.root;
    if (!hasLast) makePrivateFolder(folder, ignored);
    if (std::filesystem::is_directory(folder, ignored) && view_->openFolder(folder)) {
        window_.withdrawHint(Hint::folder, readyText());
    } else {
        window_.setHint(Hint::folder, "Der Aufnahmeordner lässt sich nicht öffnen: " + folder.string());
    }
}

// Interrupted recordings

void AppDelegate::lookForInterrupted() {
    workQueue_.async([this] {
        try {
            onMain([this, found = interruptedRecordings(services_.root)] { interruptedFound(found); });
        } catch (...) {
            Log::write("Capture",
                       "Unterbrochene Aufnahmen nicht gesucht: " + handledError("Unerwarteter Fehler").message());
        }
    });
}

// They are completed without being asked: nothing is lost by it, and nothing waits for it.
void AppDelegate::interruptedFound(const std::vector<std::filesystem::path>& folders) {
    if (folders.empty()) {
        ended_.makeUpForMissed();
        return;
    }
    completing_ = folders;
    completesInSilence_ = true;
    tellInterrupted(completingNotice(folders));
    workQueue_.async(
        [this, folders] { onMain([this, report = completed(folders)] { silentCompletionEnded(report); }); });
}

// On `workQueue_`.
CompletionReport AppDelegate::completed(const std::vector<std::filesystem::path>& folders) const {
    return completeRecordings(
        folders,
        [this](const std::filesystem::path& folder) {
            const auto lack = capture::lackOfRecoverySpace(folder, services_.freeSpace(folder));
            if (lack) throw RecorderError(*lack);
            return services_.recover(folder);
        },
        stop_.get_token());
}

void AppDelegate::silentCompletionEnded(const CompletionReport& report) {
    completing_.clear();
    completesInSilence_ = false;
    for (const auto& failure : report.failures) interrupted_.push_back(failure.folder);
    tellInterrupted(completionNotice(report));
    checkCompleted(report);
    ended_.makeUpForMissed();
}

void AppDelegate::checkCompleted(const CompletionReport& report) {
    for (const auto& folder : report.completed) ended_.makeUpFor(folder);
}

void AppDelegate::tellInterrupted(const std::optional<Notice>& notice) {
    window_.update([&](MainWindowState& state) {
        state.notices.erase(NoticeKind::interrupted);
        if (notice) state.notices[NoticeKind::interrupted] = *notice;
    });
}

void AppDelegate::completeInterrupted() {
    if (!completing_.empty() || flow_.isActive()) return;
    tellInterrupted({});
    if (interrupted_.empty()) {
        chooseRecording();
    } else {
        beginCompletion(std::exchange(interrupted_, {}));
    }
}

void AppDelegate::complete(const std::filesystem::path& folder) {
    if (!completing_.empty() || flow_.isActive()) return;
    if (std::erase(interrupted_, folder) > 0 && interrupted_.empty()) tellInterrupted({});
    beginCompletion({folder});
}

bool AppDelegate::isCompleting(const std::filesystem::path& folder) const {
    return std::find(completing_.begin(), completing_.end(), folder) != completing_.end();
}

void AppDelegate::beginCompletion(std::vector<std::filesystem::path> folders) {
    completing_ = folders;
    window_.update([](MainWindowState& state) {
        state.recordEnabled = false;
        state.controlsEnabled = false;
        state.status = "Schließe die unterbrochene Aufnahme ab …";
    });
    workQueue_.async([this, folders = std::move(folders)] {
        onMain([this, report = completed(folders)] { completionEnded(report); });
    });
}

void AppDelegate::completionEnded(const CompletionReport& report) {
    completing_.clear();
    if (!report.completed.empty()) lastFolder_ = report.completed.back();
    window_.update([&](MainWindowState& state) {
        state.recordEnabled = true;
        state.controlsEnabled = true;
        state.status = completionText(report);
    });
    CompletionReport rest;
    rest.failures = report.failures;
    for (const auto& failure : report.failures) interrupted_.push_back(failure.folder);
    if (!rest.failures.empty()) tellInterrupted(completionNotice(rest));
    checkCompleted(report);
}

void AppDelegate::onMain(std::function<void()> work) {
    services_.mainLoop.async([alive = lifetime_.watch(), work = std::move(work)] {
        if (!alive.expired()) work();
    });
}

}  // namespace lumivastor::app
