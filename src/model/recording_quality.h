// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "base/file_bytes.h"

namespace lumivastor::model {

/// One check of a recording and its outcome.
struct QualityCheck {
    /// A short English word, for programs.
    std::string name;
    bool ok = true;
    /// A German sentence.
    std::string detail;

    bool operator==(const QualityCheck&) const = default;
};

/// What was measured of one sound track of the screen movie.
struct SoundQuality {
    /// "system" or "microphone"; "other" for a track that the recording does not name.
    std::string source;
    /// Source time of the first and behind the last frame, in seconds.
    double start = 0, end = 0;
    /// Seconds of sound in the packets less the seconds that their time stamps span. A track that keeps time has none.
    double drift = 0;
    /// Seconds of the longest gap between two packets.
    double longestGap = 0;
    /// Seconds of the longest stretch in which all values are exactly zero.
    double longestSilence = 0;
    std::int64_t damagedPackets = 0;
    /// LUFS by EBU R 128; absent when nothing is loud enough to count.
    std::optional<double> integratedLoudness;

    bool operator==(const SoundQuality&) const = default;
};

/// What was measured of the camera's movie. Source times in seconds.
struct WebcamQuality {
    std::int64_t pictures = 0;
    double start = 0, end = 0;
    double longestGap = 0;
    /// Seconds from one picture to the next, typically, and how far its time stamps are from that; absent in documents
    /// of earlier versions.
    std::optional<double> interval = {}, jitter = {};
    /// The seconds by which camera and microphone may be apart by the clocks of both devices; absent without either.
    std::optional<double> soundTolerance = {};

    bool operator==(const WebcamQuality&) const = default;
};

/// "quality.json": the outcome of checking a finished recording. Written after the recording, again by each later
/// check of the application; readers may lack it. Only absent figures are optional.
struct RecordingQuality {
    std::int64_t version = 1;
    /// In the form of `CaptureInfo::timestamp`.
    std::string checkedAt;
    /// Whether every check passed.
    bool ok = true;
    /// The German sentence that the user reads.
    std::string summary;
    std::vector<QualityCheck> checks;

    /// Seconds, by "capture.json".
    double duration = 0;
    /// In the movie's index, and as the recorder counted them; absent when it did not.
    std::int64_t pictures = 0;
    std::optional<std::int64_t> picturesCounted;
    /// Pictures for which the encoder had no room; absent for devices, where they are not counted.
    std::optional<std::int64_t> picturesLost;
    /// Source time of the first picture and of the last one's end, in seconds.
    double pictureStart = 0, pictureEnd = 0;
    /// The longest time between two pictures, and the source time at which it begins; seconds.
    double longestGap = 0, longestGapStart = 0;
    /// Pictures that were decoded as a sample.
    std::int64_t picturesDecoded = 0;
    /// In the movie's order.
    std::vector<SoundQuality> sounds;
    std::optional<WebcamQuality> webcam;
    /// Of all sound at its recorded volume, by EBU R 128: LUFS, LU, dBTP. Absent without sound, or when nothing is loud
    /// enough to count.
    std::optional<double> integratedLoudness, loudnessRange, truePeak;

    bool operator==(const RecordingQuality&) const = default;

    static std::filesystem::path fileURL(const std::filesystem::path& folder) { return folder / "quality.json"; }

    /// Reads the folder's document; nullopt when there is none. Throws `RecorderError` that names the file and the
    /// reason.
    static std::optional<RecordingQuality> find(const std::filesystem::path& folder);

    /// Reads the document from memory. Throws `RecorderError` with only the reason.
    static RecordingQuality parse(const FileBytes& document);

    /// Replaces the folder's document. Throws `RecorderError` when it cannot be written.
    void save(const std::filesystem::path& folder) const;
};

}  // namespace lumivastor::model
