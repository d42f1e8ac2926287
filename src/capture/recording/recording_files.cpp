// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/recording_files.h"

#include <system_error>
#include <utility>

#include "base/formatted.h"
#include "base/log.h"
#include "capture/journal/journal_records.h"
#include "capture/recordings_root.h"

namespace lumivastor::capture {

RecordingFiles::RecordingFiles(const RecordingServices& services, RecorderNotifier& notifier,
                               std::filesystem::path folder)
    : services_(services), notifier_(notifier), folder_(std::move(folder)) {}

void RecordingFiles::createFolder() {
    createRecordingFolder(folder_);
    hasFolder_ = true;
}

void RecordingFiles::beginJournal(const model::CaptureInfo& planned, const model::Geometry& geometry) {
    auto journal = std::make_unique<Journal>(folder_);
    journal->append(journalLine::start(planned, geometry));
    std::optional<double> firstPicture;
    {
        const std::lock_guard hold(lock_);
        journal_ = std::move(journal);
        firstPicture = webcamFirstPicture_;
    }
    if (firstPicture) note(journalLine::webcam(*firstPicture));
    // One that begins or ends meanwhile is written twice, which changes nothing.
    for (const Pause& each : pauses()->list()) note(journalLine::pause(each));
}

// On the webcam's thread. The journal may begin later.
void RecordingFiles::noteWebcam(double firstPicture) {
    {
        const std::lock_guard hold(lock_);
        webcamFirstPicture_ = firstPicture;
        if (!journal_) return;
    }
    note(journalLine::webcam(firstPicture));
}

void RecordingFiles::pause(bool isByPointer) {
    if (!pauseClock_.pause(isByPointer)) return;
    notifier_.log("Pause");
    notePause();
}

void RecordingFiles::resume() {
    if (!pauseClock_.resume()) return;
    const Pause ended = pauses()->list().back();
    notifier_.log(formatted("weiter nach %.3f s Pause", *ended.to - ended.from));
    notePause();
}

// The journal may begin later.
bool RecordingFiles::hasJournal() {
    const std::lock_guard hold(lock_);
    return journal_ != nullptr;
}

void RecordingFiles::notePause() {
    if (hasJournal()) note(journalLine::pause(pauses()->list().back()));
}

// Before the first picture of a device there is nothing to mark.
int RecordingFiles::mark() {
    if (hasJournal()) {
        marks_.push_back(services_.hostClock());
        note(journalLine::mark(marks_.back()));
    }
    return static_cast<int>(marks_.size());
}

void RecordingFiles::startWebcam() {
    auto webcam = std::make_unique<WebcamRecorder>(services_, pauseClock_);
    webcam->onFirstPicture = [this](double seconds) { noteWebcam(seconds); };
    webcam->onNotice = [this](const std::string& sentence) { notifier_.notice(sentence); };
    try {
        webcam->start(folder_);
        webcam_ = std::move(webcam);
    } catch (const RecorderError& error) {
        Log::write("Webcam", "Start fehlgeschlagen: " + error.message());
        notifier_.notice("Die Kamera wird nicht aufgenommen: " + error.message());
    }
}

std::shared_ptr<WebcamPreview> RecordingFiles::webcamPreviewLayer() const {
    return webcam_ ? webcam_->previewLayer() : nullptr;
}

std::optional<double> RecordingFiles::stopWebcam() {
    return webcam_ ? webcam_->stop() : std::nullopt;
}

RecordingHealth RecordingFiles::health(const SpaceNeed& need) const {
    RecordingHealth health;
    if (webcam_) health.webcam = webcam_->health();
    for (const char* name : {"source.mov", "webcam.mov"}) {
        std::error_code error;
        const auto size = std::filesystem::file_size(folder_ / name, error);
        if (!error) health.bytes += size;
    }
    if (const auto space = services_.freeSpace(folder_)) {
        const std::uint64_t reserve = requiredSpace(need, space->capacity);
        health.usableBytes = space->available > reserve ? space->available - reserve : 0;
    }
    return health;
}

void RecordingFiles::discardWebcam() {
    if (!webcam_) return;
    webcam_->stop();
    std::error_code ignored;
    std::filesystem::remove(folder_ / "webcam.mov", ignored);
}

bool RecordingFiles::isDiskNearlyFull(const SpaceNeed& need) const {
    const auto space = services_.freeSpace(folder_);
    return space && mustStop(*space, need);
}

void RecordingFiles::watch(const SourceMovie& movie, const SpaceNeed& need) {
    if (movie.hasFailed()) {
        notifier_.giveUp(movie.refusal());
    } else if (isDiskNearlyFull(need)) {
        notifier_.giveUp(diskNearlyFull());
    }
}

void RecordingFiles::complete(const model::CaptureInfo& planned, const RecordingOutcome& outcome) {
    saveMarks(folder_, marks_, outcome);
    saveCaptureInfo(folder_, planned, outcome);
    journal_->remove();
}

RecorderError RecordingFiles::unfinished(const RecorderError& reason, const SpaceNeed& need) const {
    if (!isUnfinishedRecording(folder_)) return RecorderError(reason.message());
    return notCompleted(reason, folder_, isDiskNearlyFull(need));
}

void RecordingFiles::discard() {
    if (journal_) journal_->remove();
    std::error_code ignored;
    if (hasFolder_) std::filesystem::remove(folder_, ignored);
}

}  // namespace lumivastor::capture
