// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recovery/recovery.h"

#include <fcntl.h>
#include <sys/file.h>

#include <optional>
#include <system_error>

#include "base/formatted.h"
#include "base/log.h"
#include "base/unique_descriptor.h"
#include "capture/journal/journal_records.h"
#include "capture/journal/recording_documents.h"
#include "capture/recording/pointer_recorder.h"
#include "capture/recording/recovered_movie.h"
#include "model/capture_info.h"
#include "model/pointer_track.h"
#include "model/recording_folder.h"

namespace lumivastor::capture {

namespace {

// The documents' figures, when both exist and are whole.
std::optional<RecordingJob::Stats> completeStats(const std::filesystem::path& folder, bool hasJournal) {
    try {
        const model::CaptureInfo info = model::CaptureInfo::load(folder);
        // The capture document is the last one written; the other is read only after a crash.
        if (hasJournal) model::PointerTrack::load(folder);
        if (!model::fileInside(folder, "pointer.json")) return std::nullopt;
        return RecordingJob::Stats{info.duration, info.framesWritten, info.framesSkippedIdle,
                                   info.framesDroppedBackpressure, info.pointerEvents};
    } catch (const RecorderError&) {
        return std::nullopt;
    }
}

// Held while the recording is completed; a recorder holds it while it runs.
UniqueDescriptor lockJournal(const std::filesystem::path& journal) {
    UniqueDescriptor file(::open(journal.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    if (file.isOpen() && ::flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
        throw RecorderError("Diese Aufnahme läuft noch oder wird gerade vervollständigt.");
    }
    return file;
}

RecoveredMovie recoverSource(const std::filesystem::path& folder) {
    const auto source = model::fileInside(folder, "source.mov");
    if (!source) throw RecorderError("In diesem Ordner liegt keine source.mov.");
    try {
        return recoverMovie(*source);
    } catch (const RecorderError& error) {
        throw RecorderError("Von dieser Aufnahme lässt sich kein Film retten: " + error.message());
    }
}

std::optional<double> recoverWebcam(const std::filesystem::path& folder, const JournalContent& journal) {
    const auto webcam = model::fileInside(folder, "webcam.mov");
    if (!webcam || !journal.webcamFirstPicture) return std::nullopt;
    try {
        recoverMovie(*webcam);
        return journal.webcamFirstPicture;
    } catch (const RecorderError& error) {
        Log::write("Webcam", "nicht zu retten: " + error.message());
        return std::nullopt;
    }
}

// Without a record of its beginning, which only a full disk can have prevented, the session began at about the same
// time as the pointer recorder.
JournalContent::Session sessionOf(const JournalContent& journal) {
    if (journal.session) return *journal.session;
    Log::write("Capture", "Journal ohne Zeitbasis: geschätzt");
    double start = 0;
    if (!journal.pointer.cursorChanges.empty()) start = journal.pointer.cursorChanges.front().t;
    if (!journal.pointer.events.empty()) start = journal.pointer.events.front().t;
    return {start, start};
}

std::int64_t writePointerTrack(const std::filesystem::path& folder, const JournalContent& journal, double t0) {
    if (journal.info.sourceKind == "device") {
        saveEmptyPointerTrack(folder);
        return 0;
    }
    std::optional<WindowTrack> windowTrack;
    if (journal.info.sourceKind == "window") windowTrack = journal.windowTrack;
    return savePointerTrack(folder, journal.pointer, t0, journal.geometry, windowTrack, journal.displayTrack,
                            journal.pauses);
}

}  // namespace

Recovery recoverRecording(const std::filesystem::path& folder) {
    const auto journalFile = model::fileInside(folder, kJournalName);
    UniqueDescriptor lock;
    if (journalFile) lock = lockJournal(*journalFile);
    std::error_code ignored;  // if the journal remains, the next recovery examines the folder again
    if (const auto stats = completeStats(folder, journalFile.has_value())) {
        if (journalFile) std::filesystem::remove(*journalFile, ignored);
        return {*stats, false};
    }
    if (!journalFile) {
        throw RecorderError("In diesem Ordner liegt keine abgebrochene Aufnahme, die sich vervollständigen lässt.");
    }
    const JournalContent journal = loadJournal(folder);
    if (journal.damagedLines > 0) {
        Log::write("Capture", formatted("Journal: %lld beschädigte Zeilen ausgelassen",
                                        static_cast<long long>(journal.damagedLines)));
    }
    const RecoveredMovie movie = recoverSource(folder);
    const JournalContent::Session session = sessionOf(journal);

    RecordingOutcome outcome;
    outcome.t0Host = session.t0Host;
    outcome.t0Media = session.t0Media;
    outcome.duration = movie.lastPicture;
    outcome.framesWritten = movie.pictures;
    outcome.counts = journal.counts;
    outcome.pauses = journal.pauses;
    outcome.webcamFirstPicture = recoverWebcam(folder, journal);
    outcome.pointerEvents = writePointerTrack(folder, journal, outcome.t0Host);
    saveMarks(folder, journal.marks, outcome);
    saveCaptureInfo(folder, journal.info, outcome);
    std::filesystem::remove(*journalFile, ignored);
    Log::write("Capture", "vervollständigt: " + folder.string());
    return {{outcome.duration, outcome.framesWritten, outcome.counts.framesSkippedIdle, outcome.counts.framesDropped,
             outcome.pointerEvents},
            true};
}

}  // namespace lumivastor::capture
