// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cstddef>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <ostream>
#include <stop_token>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "base/after.h"
#include "base/handled_error.h"
#include "base/host_clock.h"
#include "base/log.h"
#include "base/main_loop.h"
#include "capture/desktop_dialog.h"
#include "capture/loss_watch.h"
#include "capture/microphone_remarks.h"
#include "capture/proof/recording_proof.h"
#include "capture/recording/recorder_factory.h"
#include "capture/recording_control.h"
#include "capture/recordings_root.h"
#include "capture/space_watch.h"
#include "cli/interruption.h"
#include "cli/machine.h"
#include "cli/status_line.h"
#include "cli/verb.h"
#include "cli/verbs/record_request.h"
#include "cli/verbs/recording_result.h"

namespace lumivastor::cli {

namespace {

// The job of one recording. It begins before the recording's threads and outlives them.
struct Session {
    Interruption interruption{Interruption::Toggle::yes};
    BlockingMainLoop loop;
    Machine machine{loop};
    StatusLine status{std::cerr};
};

std::filesystem::path folderFor(const RecordRequest& request) {
    if (!request.out) return capture::makeRecordingFolder(capture::recordingsRoot(), std::time(nullptr));
    requireNoRecording(*request.out);
    return *request.out;
}

// Waits for the desktop's own dialog. A signal closes it.
void pickContent(platform::ContentPicker& picker, const RecordRequest& request, Session& session) {
    const platform::ContentPicker::Offer offer = picker.offer();
    const auto pick = pickFor(request, offer);
    session.status.show("Warte auf den Dialog des Desktops …");
    if (!picker.pick(pick, session.interruption.token())) throw RecorderError("Die Aufnahme wurde abgebrochen.");
    if (const auto remark = capture::pointerRemark(offer.pointer)) session.status.say(*remark);
}

capture::RecordingRequest recordingFor(const RecordRequest& request, Session& session) {
    Machine& machine = session.machine;
    if (request.deviceID) {
        return capture::DeviceRecording{
            deviceFor(*request.deviceID, capture::DeviceRecorder::availableDevices(machine.devices())),
            {request.microphone, request.webcam, request.deviceSound}};
    }
    platform::Desktop& desktop = machine.desktop();
    if (platform::ContentPicker* const picker = desktop.contentPicker()) pickContent(*picker, request, session);
    const platform::ShareableContent content = desktop.shareableContent();
    capture::CaptureOptions options;
    options.source = sourceFor(request, content, desktop.contentPicker() != nullptr);
    if (content.ownApplication) options.excludedApplications = {*content.ownApplication};
    options.fps = request.fps;
    options.systemAudio = request.systemAudio;
    options.microphone = request.microphone;
    options.webcam = request.webcam;
    return capture::DesktopRecording{desktop, std::move(options)};
}

void chooseDevices(const RecordRequest& request, Machine& machine) {
    if (request.microphoneName) {
        machine.selection().setMicrophone(
            namedDevice(*request.microphoneName, "das Mikrofon", machine.sound().microphones()));
    }
    if (request.deviceSoundName) {
        const auto card = deviceFor(*request.deviceID, capture::DeviceRecorder::availableDevices(machine.devices()));
        machine.selection().setCardSound(
            card.lastingId(), {namedDevice(*request.deviceSoundName, "den Toneingang", machine.sound().microphones())});
    }
    if (request.webcamName) {
        machine.selection().setCamera(namedDevice(*request.webcamName, "die Kamera", machine.devices().cameras()));
    }
}

// Says what the recording loses, once for each sentence in a row, as long as it can be helped.
class Hints {
  public:
    explicit Hints(StatusLine& status) : status_(status) {}

    void update(const capture::RecordingHealth& health, bool isStopping) {
        losses_.update(health);
        space_.update(health);
        if (isStopping) return;
        const std::vector<std::string> now{losses_.screenSentence(), losses_.webcamSentence(), space_.sentence()};
        said_.resize(now.size());
        for (std::size_t i = 0; i < now.size(); ++i) {
            if (now[i] != said_[i] && !now[i].empty()) status_.say(now[i]);
        }
        said_ = now;
    }
    std::string summary() const { return losses_.summary(); }

  private:
    StatusLine& status_;
    capture::LossWatch losses_;
    capture::SpaceWatch space_;
    std::vector<std::string> said_;
};

// Starts the recorder and runs the loop until the recording is finished.
capture::RecordingJob::Stats runRecorder(capture::RecordingJob& recorder, Session& session,
                                         const RecordRequest& request, RecordingRemarks& remarks,
                                         capture::MicrophoneRemarks& microphone) {
    std::optional<capture::RecordingJob::Outcome> outcome;
    std::optional<RecorderError> startError;
    bool isRunning = false;
    bool stopRequested = false;
    const auto stop = [&] {
        stopRequested = true;
        if (!isRunning) return;
        recorder.stop([&](const capture::RecordingJob::Outcome& given) {
            outcome = given;
            session.loop.stop();
        });
    };
    const auto say = [&](const std::string& sentence) { session.status.say(sentence); };
    recorder.onNotice(say);
    recorder.onSlowStep(say);
    recorder.onStreamError([&](const RecorderError& error) {
        session.status.say("Die Aufnahme wurde beendet: " + error.message());
        remarks.endedEarly = error.message();
        stop();
    });
    Hints hints(session.status);
    std::unique_ptr<MainLoop::Timer> showTimer;
    std::unique_ptr<MainLoop::Timer> endTimer;
    const auto endAfter = [&](double recorded) {
        if (request.seconds) endTimer = after(session.loop, std::max(0.0, *request.seconds - recorded), stop);
    };
    const auto togglePause = [&] {
        if (!isRunning || stopRequested) return;
        if (recorder.isPaused()) {
            recorder.resume();
            endAfter(recorder.snapshot().duration);
            say("Die Aufnahme läuft weiter.");
        } else {
            recorder.pause(capture::RecordingJob::PauseCause::other);
            endTimer.reset();
            say("Pause. Ein weiteres SIGUSR1 setzt die Aufnahme fort.");
        }
    };
    recorder.start([&](std::optional<RecorderError> error) {
        if (error) {
            startError = std::move(error);
            session.loop.stop();
            return;
        }
        isRunning = true;
        showTimer = session.loop.every(0.5, [&] {
            const capture::RecordingJob::Stats stats = recorder.snapshot();
            session.status.show(runningLine(stats));
            if (const auto news =
                    microphone.take(session.machine.soundBoard().microphone(hostClockSeconds()), stats.duration)) {
                Log::write("Capture", *news);
                session.status.say(*news);
            }
            hints.update(recorder.health(), stopRequested);
        });
        endAfter(0);
        if (stopRequested) stop();
    });
    const std::stop_callback onSignal(session.interruption.token(), [&] { session.loop.async(stop); });
    session.interruption.onToggle([&] { session.loop.async(togglePause); });
    const capture::RecordingControl control(capture::recordingControlFolder(), [&] { session.loop.async(stop); });
    session.loop.run();
    session.interruption.onToggle({});
    if (const std::string lost = hints.summary(); !lost.empty()) remarks.losses = lost;
    if (startError) throw RecorderError(*startError);
    if (const auto* error = std::get_if<RecorderError>(&*outcome)) throw RecorderError(*error);
    return std::get<capture::RecordingJob::Stats>(*outcome);
}

// Records and prints the result. The recording's folder.
std::filesystem::path record(const Arguments& arguments, std::ostream& out) {
    const RecordRequest request = parseRecordRequest(arguments);
    Session session;
    chooseDevices(request, session.machine);
    const capture::RecordingServices services = session.machine.recordingServices();
    capture::RecordingRequest recording = recordingFor(request, session);
    const auto recorder = capture::makeRecorder(services, std::move(recording), folderFor(request));
    RecordingRemarks remarks;
    capture::MicrophoneRemarks microphone;
    const auto stats = runRecorder(*recorder, session, request, remarks, microphone);
    if (arguments.has("--json")) {
        writeRecordingResult(out, stats, recorder->folder(), remarks);
    } else {
        out << describeRecording(stats, recorder->folder());
        if (const std::string troubles = microphone.summary(); !troubles.empty()) out << troubles << "\n";
        if (remarks.losses) out << *remarks.losses << "\n";
    }
    out << std::flush;
    return recorder->folder();
}

// The recording is complete: what the check finds changes neither its result nor the exit status. Programs find it in
// the folder's quality document.
void prove(const std::filesystem::path& folder, bool isForPeople, std::ostream& out) {
    try {
        const model::RecordingQuality quality = capture::proveRecording(folder);
        if (isForPeople) out << quality.summary << "\n";
    } catch (...) {
        Log::write("Capture", "Prüfung: " + handledError("Unerwarteter Fehler").message());
    }
}

void run(const Arguments& arguments, std::ostream& out) {
    const std::filesystem::path folder = record(arguments, out);
    // Without the session, so that a signal ends the program.
    prove(folder, !arguments.has("--json"), out);
}

}  // namespace

const Verb kRecordVerb = {"record", "", "Nimmt einen Bildschirm, ein Fenster, einen Ausschnitt oder ein Gerät auf.",
                          kRecordOptions, run};

}  // namespace lumivastor::cli
