// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/encoder_choice/encoder_choice.h"

#include <mutex>
#include <string>
#include <thread>
#include <utility>

#include "base/formatted.h"
#include "ffmpeg/ffmpeg_support.h"
#include "media/encoder_choice/encoder_trial_cache.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavcodec/version.h>
}

namespace lumivastor::media {

namespace {

constexpr const char* kFastestPreset = "ultrafast";
constexpr const char* kExportPreset = "superfast";  // see `VideoSettings::preset`

const EncoderCandidate kSoftwareHevc{VideoCodec::hevc, "libx265", kFastestPreset};
const EncoderCandidate kFastestSoftware{VideoCodec::h264, "libx264", kFastestPreset};
const EncoderCandidate kExportSoftware{VideoCodec::h264, "libx264", kExportPreset};

std::string rateText(const EncoderTrial& trial) {
    const std::string count = formatted("%.0f", trial.picturesPerSecond);
    return count + (count == "1" ? " Bild je Sekunde" : " Bilder je Sekunde");
}

}  // namespace

void EncoderChoice::applyTo(VideoSettings& settings) const {
    candidate.applyTo(settings);
    if (make) settings.make = make;
}

EncoderChoice decideRecordingEncoder(const EncodingJob& job, const std::vector<EncoderCandidate>& hardware,
                                     const EncoderTrials& trials) {
    std::string slow;  // hardware that works, but not fast enough
    for (const EncoderCandidate& candidate : hardware) {
        const EncoderTrial trial = trials(candidate, job);
        if (!trial.works) continue;
        if (trial.picturesPerSecond >= job.frameRate) {
            return {candidate, "HEVC mit der Hardware: " + candidate.encoder + " schafft " + rateText(trial) + "."};
        }
        slow = candidate.encoder + " schafft nur " + rateText(trial) + "; ";
    }
    if (slow.empty()) slow = "kein Hardware-Encoder für HEVC arbeitet; ";
    const double needed = kSoftwareHevcHeadroom * job.frameRate;
    const EncoderTrial software = trials(kSoftwareHevc, job);
    const std::string demand = formatted(", gebraucht werden mit Reserve %.0f.", needed);
    if (software.works && software.picturesPerSecond >= needed) {
        return {kSoftwareHevc, "HEVC in Software: " + slow + "libx265 schafft " + rateText(software) + demand};
    }
    const std::string tooSlow =
        software.works ? "libx265 schafft " + rateText(software) + demand : "libx265 arbeitet nicht.";
    return {kFastestSoftware, "H.264 in Software: " + slow + tooSlow};
}

EncoderChoice decideExportEncoder(const std::vector<EncoderCandidate>& hardware,
                                  const std::function<bool(const EncoderCandidate&)>& works) {
    for (const EncoderCandidate& candidate : hardware) {
        if (works(candidate)) return {candidate, "H.264 mit der Hardware: " + candidate.encoder + "."};
    }
    return softwareExportEncoder("kein Hardware-Encoder für H.264 arbeitet");
}

EncoderChoice softwareExportEncoder(const std::string& why) {
    return {kExportSoftware, "H.264 in Software: " + why + "."};
}

std::vector<EncoderCandidate> listedHardwareEncoders(VideoCodec codec) {
    ffmpeg::prepareFfmpeg();
    std::vector<EncoderCandidate> found;
    const std::string prefix = codec == VideoCodec::hevc ? "hevc_" : "h264_";
    for (const char* kind : {"nvenc", "vaapi", "qsv", "amf", "v4l2m2m"}) {
        const std::string name = prefix + kind;
        if (avcodec_find_encoder_by_name(name.c_str()) != nullptr) found.push_back({codec, name, ""});
    }
    return found;
}

EncoderChoice chooseRecordingEncoder(const EncodingJob& job, const std::filesystem::path& memory) {
    // Two trials at once would both look slow.
    static std::mutex one;
    const std::lock_guard hold(one);
    EncoderTrialCache remembered(memory, formatted("%u-%u", avcodec_version(), std::thread::hardware_concurrency()));
    return decideRecordingEncoder(job, listedHardwareEncoders(VideoCodec::hevc),
                                  [&remembered](const EncoderCandidate& candidate, const EncodingJob& wanted) {
                                      if (candidate.isHardware()) return tryEncoder(candidate, wanted);
                                      if (const auto known = remembered.find(candidate, wanted)) return *known;
                                      const EncoderTrial trial = tryEncoder(candidate, wanted);
                                      remembered.add(candidate, wanted, trial);
                                      return trial;
                                  });
}

EncoderChoice chooseExportEncoder(const VideoSettings& settings, const std::vector<EncoderCandidate>& hardware) {
    return decideExportEncoder(hardware, [&settings](const EncoderCandidate& candidate) {
        VideoSettings tried = settings;
        candidate.applyTo(tried);
        return tryEncoder(tried).works;
    });
}

}  // namespace lumivastor::media
