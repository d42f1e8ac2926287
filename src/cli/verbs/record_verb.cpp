// SPDX-License-Identifier: GPL-3.0-or-later
#include <ctime>
#include <iostream>
#include <memory>
#include <optional>
#include <ostream>
#include <stop_token>
#include <string>
#include <variant>

#include "base/after.h"
#include "base/main_loop.h"
#include "capture/recording/device_recorder.h"
#include "capture/recording/recorder.h"
#include "capture/recordings_root.h"
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
    const Interruption interruption;
    BlockingMainLoop loop;
    Machine machine{loop};
    StatusLine status{std::cerr};
};

std::filesystem::path folderFor(const RecordRequest& request) {
    if (!request.out) return capture::makeRecordingFolder(capture::recordingsRoot(), std::time(nullptr));
    requireNoRecording(*request.out);
    return *request.out;
}

// Starts the recorder and runs the loop until the recording is finished.
template <class AnyRecorder>
typename AnyRecorder::Stats runRecorder(AnyRecorder& recorder, Session& session, const RecordRequest& request,
                                        RecordingRemarks& remarks) {
    std::optional<typename AnyRecorder::Outcome> outcome;
    std::optional<RecorderError> startError;
    bool isRunning = false;
    bool stopRequested = false;
    const auto stop = [&] {
        stopRequested = true;
        if (!isRunning) return;
        recorder.stop([&](const typename AnyRecorder::Outcome& given) {
            outcome = given;
            session.loop.stop();
        });
    };
    recorder.onNotice = [&](const std::string& sentence) { session.status.say(sentence); };
    recorder.onSlowStep = recorder.onNotice;
    recorder.onStreamError = [&](const RecorderError& error) {
        session.status.say("Die Aufnahme wurde beendet: " + error.message());
        remarks.endedEarly = error.message();
        stop();
    };
    std::unique_ptr<MainLoop::Timer> showTimer;
    std::unique_ptr<MainLoop::Timer> endTimer;
    recorder.start([&](std::optional<RecorderError> error) {
        if (error) {
            startError = std::move(error);
            session.loop.stop();
            return;
        }
        isRunning = true;
        showTimer = session.loop.every(0.5, [&] { session.status.show(runningLine(recorder.snapshot())); });
        if (request.seconds) endTimer = after(session.loop, *request.seconds, stop);
        if (stopRequested) stop();
    });
    const std::stop_callback onSignal(session.interruption.token(), [&] { session.loop.async(stop); });
    session.loop.run();
    if (startError) throw RecorderError(*startError);
    if (const auto* error = std::get_if<RecorderError>(&*outcome)) throw RecorderError(*error);
    return std::get<typename AnyRecorder::Stats>(*outcome);
}

template <class AnyRecorder>
void recordAndTell(AnyRecorder& recorder, Session& session, const RecordRequest& request, bool json,
                   std::ostream& out) {
    RecordingRemarks remarks;
    const auto stats = runRecorder(recorder, session, request, remarks);
    if (json) {
        writeRecordingResult(out, stats, recorder.folder(), remarks);
    } else {
        out << describeRecording(stats, recorder.folder());
    }
}

void run(const Arguments& arguments, std::ostream& out) {
    const RecordRequest request = parseRecordRequest(arguments);
    const bool json = arguments.has("--json");
    Session session;
    if (request.deviceID) {
        const capture::RecordingServices services = session.machine.recordingServices();
        const platform::CaptureDevice device =
            deviceFor(*request.deviceID, capture::DeviceRecorder::availableDevices(services.devices));
        capture::DeviceRecorder recorder(services, device, {request.microphone, request.webcam}, folderFor(request));
        recordAndTell(recorder, session, request, json, out);
        return;
    }
    const capture::CaptureServices services = session.machine.captureServices();
    const platform::ShareableContent content = services.desktop.shareableContent();
    capture::Recorder::Options options;
    options.source = sourceFor(request, content);
    if (content.ownApplication) options.excludedApplications = {*content.ownApplication};
    options.fps = request.fps;
    options.systemAudio = request.systemAudio;
    options.microphone = request.microphone;
    options.webcam = request.webcam;
    capture::Recorder recorder(services, options, folderFor(request));
    recordAndTell(recorder, session, request, json, out);
}

}  // namespace

const Verb kRecordVerb = {"record", "", "Nimmt einen Bildschirm, ein Fenster, einen Ausschnitt oder ein Gerät auf.",
                          kRecordOptions, run};

}  // namespace lumivastor::cli
