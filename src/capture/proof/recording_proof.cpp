// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/proof/recording_proof.h"

#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "base/handled_error.h"
#include "base/log.h"
#include "base/recorder_error.h"
#include "base/thread_priority.h"
#include "capture/journal/journal.h"
#include "capture/proof/recording_judgement.h"
#include "media/examination/movie_examination.h"
#include "model/capture_info.h"
#include "model/recording_folder.h"

namespace lumivastor::capture {

namespace {

// Of the progress. A camera has no sound, which is most of the work.
constexpr double kScreenShare = 0.8;

// Opens and examines one movie. A fault of the movie becomes `error`.
std::optional<media::MovieExamination> examined(const std::filesystem::path& path,
                                                const media::ExaminationOptions& options, std::string& error) {
    try {
        const auto movie = std::make_shared<const media::Asset>(path);
        if (movie->isFragmented()) {
            error = path.filename().string() + " ist noch nicht abgeschlossen.";
            return std::nullopt;
        }
        return media::examineMovie(movie, options);
    } catch (const RecorderError& fault) {
        if (options.stop.stop_requested() || isOutOfMemory(fault)) throw;
        error = fault.message();
        return std::nullopt;
    }
}

model::CaptureInfo infoOf(const std::filesystem::path& folder) {
    if (isUnfinishedRecording(folder)) {
        throw RecorderError("Die Aufnahme ist nicht abgeschlossen. „lumivastor recover“ vervollständigt sie.");
    }
    return model::CaptureInfo::load(folder);
}

}  // namespace

model::RecordingQuality checkRecording(const std::filesystem::path& folder, const ProofOptions& options) {
    const model::CaptureInfo info = infoOf(folder);
    media::ExaminationOptions examination;
    examination.decodesEveryPicture = options.isThorough;
    examination.stop = options.stop;
    const double screenShare = info.webcamFile ? kScreenShare : 1;
    const auto report = [&options](double progress) {
        if (options.progress) options.progress(progress);
    };
    examination.progress = [&](double done) { report(done * screenShare); };
    MeasuredRecording measured;
    measured.movie = examined(folder / "source.mov", examination, measured.movieError);
    if (info.webcamFile) {
        examination.progress = [&](double done) { report(screenShare + done * (1 - screenShare)); };
        if (const auto webcam = model::fileInside(folder, *info.webcamFile)) {
            measured.webcam = examined(*webcam, examination, measured.webcamError);
        } else {
            measured.webcamError = "Der Film der Kamera fehlt.";
        }
    }
    if (options.stop.stop_requested()) throw RecorderError("Abgebrochen.");
    model::RecordingQuality quality = judge(info, measured);
    quality.checkedAt = model::CaptureInfo::timestamp(std::time(nullptr));
    return quality;
}

model::RecordingQuality proveRecording(const std::filesystem::path& folder, std::stop_token stop) {
    lowerPriorityOfThisThread();
    ProofOptions options;
    options.stop = std::move(stop);
    model::RecordingQuality quality = checkRecording(folder, options);
    for (const model::QualityCheck& check : quality.checks) {
        Log::write("Capture", "Prüfung, " + check.name + (check.ok ? ": " : " (Fehler): ") + check.detail);
    }
    Log::write("Capture", quality.summary);
    try {
        quality.save(folder);
    } catch (const RecorderError& error) {
        Log::write("Capture", error.message());
    }
    return quality;
}

}  // namespace lumivastor::capture
