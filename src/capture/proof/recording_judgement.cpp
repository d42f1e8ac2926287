// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/proof/recording_judgement.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

#include "base/formatted.h"
#include "base/saturated.h"
#include "capture/proof/german_numbers.h"

namespace lumivastor::capture {

namespace {

std::string pictureCount(std::int64_t count) {
    return groupedText(count) + (count == 1 ? " Bild" : " Bilder");
}

class Judgement {
  public:
    Judgement(const model::CaptureInfo& info, const MeasuredRecording& measured, const QualityLimits& limits)
        : info_(info), measured_(measured), limits_(limits) {}

    model::RecordingQuality run() {
        quality_.duration = info_.duration;
        if (measured_.movie) {
            judgeMovie(*measured_.movie);
        } else {
            add("movie", false, measured_.movieError);
        }
        if (info_.webcamFile) judgeWebcam();
        quality_.ok = std::all_of(quality_.checks.begin(), quality_.checks.end(),
                                  [](const model::QualityCheck& check) { return check.ok; });
        quality_.summary = quality_.ok ? praise() : faults();
        return std::move(quality_);
    }

  private:
    void add(const char* name, bool ok, std::string detail) {
        quality_.checks.push_back({name, ok, std::move(detail)});
    }

    bool isDevice() const { return info_.sourceKind == "device"; }

    void judgeMovie(const media::MovieExamination& movie) {
        describeSounds(movie);
        const media::VideoExamination* const video = movie.videos.empty() ? nullptr : &movie.videos.front();
        judgeTracks(movie, video);
        if (video != nullptr) {
            quality_.pictures = video->pictures;
            quality_.pictureStart = video->start;
            quality_.pictureEnd = video->end;
            quality_.longestGap = video->longestGap;
            quality_.longestGapStart = video->longestGapStart;
            quality_.picturesDecoded = video->decoded - video->undecodable;
        }
        judgeCount();
        judgeLost();
        if (video != nullptr && video->pictures > 0) {
            judgeLength(*video);
            judgeGap(*video);
            judgeDecoding(*video);
        }
        if (!movie.sounds.empty()) {
            judgeSoundLength(movie);
            judgeDrift(movie);
            judgeMicrophone(movie);
            judgeLoudness(movie);
        }
    }

    void describeSounds(const media::MovieExamination& movie) {
        for (std::size_t i = 0; i < movie.sounds.size(); ++i) {
            const media::SoundExamination& each = movie.sounds[i];
            quality_.sounds.push_back({sourceOf(i), each.start, each.end, each.drift, each.longestGap,
                                       each.longestSilence, each.damagedPackets, each.integratedLoudness});
        }
        quality_.integratedLoudness = movie.loudness.integrated;
        quality_.loudnessRange = movie.loudness.range;
        quality_.truePeak = movie.loudness.truePeak;
    }

    // System sound comes first.
    std::string sourceOf(std::size_t track) const {
        if (info_.systemAudio && track == 0) return "system";
        const std::size_t microphone = info_.systemAudio ? 1 : 0;
        return info_.microphone && track == microphone ? "microphone" : "other";
    }

    static std::string named(const std::string& source) {
        if (source == "system") return "Systemton";
        return source == "microphone" ? "Mikrofon" : "Ton";
    }

    void judgeTracks(const media::MovieExamination& movie, const media::VideoExamination* video) {
        const std::size_t expected = (info_.systemAudio ? 1 : 0) + (info_.microphone ? 1 : 0);
        std::string wrong;
        if (movie.videos.size() > 1) wrong = formatted("Der Film hat %zu Bildspuren.", movie.videos.size());
        if (video == nullptr && info_.framesWritten > 0) wrong = "Im Film fehlen die Bilder.";
        if (video != nullptr && (video->width != info_.pixelWidth || video->height != info_.pixelHeight)) {
            wrong = formatted("Die Bilder haben %d×%d Pixel statt %lld×%lld.", video->width, video->height,
                              static_cast<long long>(info_.pixelWidth), static_cast<long long>(info_.pixelHeight));
        }
        if (movie.sounds.size() < expected) {
            // With one of two missing, nobody can tell which it was.
            wrong = movie.sounds.empty() ? (expected == 2 ? "Im Film fehlt der Ton."
                                                          : "Im Film fehlt die Spur „" + named(sourceOf(0)) + "“.")
                                         : "Im Film fehlt eine von zwei Tonspuren.";
        }
        if (!wrong.empty()) return add("movie", false, wrong);
        std::string detail = video == nullptr ? "keine Bilder" : formatted("%d×%d Pixel", video->width, video->height);
        for (const model::SoundQuality& sound : quality_.sounds) detail += ", " + named(sound.source);
        add("movie", true, "Der Film ist lesbar: " + detail + ".");
    }

    // Recordings of early versions, and those that other programs made, do not say how many there are.
    void judgeCount() {
        if (info_.framesWritten == 0) {
            if (quality_.pictures > 0) {
                add("pictures", true, "Im Film: " + pictureCount(quality_.pictures) + "; gezählt wurden sie nicht.");
            }
            return;
        }
        quality_.picturesCounted = info_.framesWritten;
        if (quality_.pictures == info_.framesWritten) {
            add("pictures", true, "Im Film: " + pictureCount(quality_.pictures) + ", so viele wie aufgenommen.");
        } else {
            add("pictures", false,
                "Im Film: " + pictureCount(quality_.pictures) + " statt " + groupedText(info_.framesWritten) + ".");
        }
    }

    void judgeLost() {
        if (isDevice() || info_.framesWritten == 0) return;
        const std::int64_t lost = std::max<std::int64_t>(info_.framesDroppedBackpressure, 0);
        quality_.picturesLost = lost;
        const double share = static_cast<double>(lost) / static_cast<double>(info_.framesWritten);
        if (lost == 0) return add("lost", true, "Keine verlorenen Bilder.");
        add("lost", share <= limits_.lostPictures,
            "Verloren, weil der Encoder nicht nachkam: " + pictureCount(lost) + ".");
    }

    void judgeLength(const media::VideoExamination& video) {
        const std::string span = "Bilder von " + clockText(video.start) + " bis " + clockText(video.end);
        const bool ok = video.start <= limits_.edge && video.end >= info_.duration - limits_.edge;
        add("length", ok, span + (ok ? "." : ", aufgenommen wurde bis " + clockText(info_.duration) + "."));
    }

    // A window that is not on the screen has no pictures, so there is no telling what was lost.
    void judgeGap(const media::VideoExamination& video) {
        const std::string longest = "Längste Zeit ohne neues Bild: " + commaText(video.longestGap, 1) + " s";
        if (video.longestGap <= limits_.gap) return add("gaps", true, longest + ".");
        const std::string place = longest + " bei " + clockText(video.longestGapStart);
        if (info_.sourceKind == "window") return add("gaps", true, place + "; das Fenster war vielleicht verdeckt.");
        add("gaps", false, place + ".");
    }

    void judgeDecoding(const media::VideoExamination& video) {
        const std::int64_t broken = video.brokenPictures + video.undecodable;
        if (broken > 0) {
            add("decoding", false, "Beschädigte Bilder ab " + clockText(video.firstDamage.value_or(0)) + ".");
        } else {
            add("decoding", true, "Aufbau aller Bilder in Ordnung, " + groupedText(video.decoded) + " dekodiert.");
        }
    }

    void judgeSoundLength(const media::MovieExamination& movie) {
        std::string wrong;
        for (std::size_t i = 0; i < movie.sounds.size(); ++i) {
            const media::SoundExamination& sound = movie.sounds[i];
            const std::string name = named(quality_.sounds[i].source);
            if (sound.start > limits_.soundStart) {
                wrong += name + " beginnt erst nach " + commaText(sound.start, 1) + " s. ";
            }
            if (sound.end < info_.duration - limits_.edge) {
                wrong += name + " endet bei " + clockText(sound.end) + " von " + clockText(info_.duration) + ". ";
            }
            if (sound.damagedPackets > 0) wrong += name + " ist stellenweise beschädigt. ";
        }
        if (!wrong.empty()) wrong.pop_back();
        add("sound", wrong.empty(), wrong.empty() ? "Ton vollständig." : wrong);
    }

    void judgeDrift(const media::MovieExamination& movie) {
        double worst = 0;
        for (const media::SoundExamination& sound : movie.sounds) {
            if (std::abs(sound.drift) > std::abs(worst)) worst = sound.drift;
            if (sound.longestGap > std::abs(worst)) worst = -sound.longestGap;
        }
        const bool ok = std::abs(worst) <= limits_.drift;
        add("drift", ok,
            ok ? "Ton und Bild laufen gleich."
               : "Ton und Bild laufen um " + commaText(std::abs(worst), 2) + " s auseinander.");
    }

    // What the system plays may be silent; who switches a microphone on wants to be heard.
    void judgeMicrophone(const media::MovieExamination& movie) {
        for (std::size_t i = 0; i < movie.sounds.size(); ++i) {
            if (quality_.sounds[i].source != "microphone") continue;
            const media::SoundExamination& sound = movie.sounds[i];
            if (sound.isSilent) return add("microphone", false, "Das Mikrofon war durchgehend stumm.");
            if (!sound.integratedLoudness || *sound.integratedLoudness < limits_.quietMicrophone) {
                return add(
                    "microphone", false,
                    "Das Mikrofon ist kaum zu hören" +
                        (sound.integratedLoudness ? " (" + lufs(*sound.integratedLoudness) + ")" : std::string()) +
                        ".");
            }
            add("microphone", true, "Das Mikrofon ist zu hören: " + lufs(*sound.integratedLoudness) + ".");
        }
    }

    static std::string lufs(double value) { return commaText(value, 1) + " LUFS"; }

    void judgeLoudness(const media::MovieExamination& movie) {
        const media::Loudness& loudness = movie.loudness;
        if (!loudness.integrated) return add("loudness", true, "Der Ton ist still.");
        std::string detail = "Lautheit " + lufs(*loudness.integrated);
        if (loudness.range) detail += ", Umfang " + commaText(*loudness.range, 1) + " LU";
        if (loudness.truePeak) detail += ", Spitze " + commaText(*loudness.truePeak, 1) + " dBTP";
        add("loudness", true, detail + ".");
    }

    void judgeWebcam() {
        const double offset = info_.webcamOffset.value_or(0);
        if (!measured_.webcam) return add("webcam", false, measured_.webcamError);
        if (measured_.webcam->videos.empty() || measured_.webcam->videos.front().pictures == 0) {
            return add("webcam", false, "Im Film der Kamera fehlen die Bilder.");
        }
        const media::VideoExamination& video = measured_.webcam->videos.front();
        model::WebcamQuality webcam{video.pictures, offset + video.start, offset + video.end, video.longestGap};
        if (video.typicalInterval > 0) {
            webcam.interval = video.typicalInterval;
            webcam.jitter = video.intervalJitter;
            webcam.soundTolerance = soundTolerance(video);
        }
        quality_.webcam = webcam;
        std::string wrong;
        if (video.brokenPictures + video.undecodable > 0) {
            wrong = "Beschädigte Kamerabilder ab " + clockText(video.firstDamage.value_or(0) + offset) + ".";
        } else if (webcam.end < info_.duration - 2 * limits_.edge) {
            wrong = "Die Kamera endet bei " + clockText(webcam.end) + " von " + clockText(info_.duration) + ".";
        } else if (webcam.longestGap > limits_.gap) {
            wrong = "Die Kamera stand " + commaText(webcam.longestGap, 1) + " s still, ab " +
                    clockText(video.longestGapStart + offset) + ".";
        }
        add("webcam", wrong.empty(), wrong.empty() ? "Kamera: " + pictureCount(video.pictures) + "." : wrong);
        judgeCameraSync(webcam);
    }

    // Both devices stamp on one clock, so by their stamps they agree. What remains: a moment lies anywhere within a
    // picture's time, stamps of the camera vary, and the microphone's sound may run away from its stamps.
    std::optional<double> soundTolerance(const media::VideoExamination& camera) const {
        for (const model::SoundQuality& sound : quality_.sounds) {
            if (sound.source != "microphone") continue;
            return camera.typicalInterval / 2 + camera.intervalJitter +
                   std::max(std::abs(sound.drift), sound.longestGap);
        }
        return std::nullopt;
    }

    void judgeCameraSync(const model::WebcamQuality& webcam) {
        if (!webcam.soundTolerance) {
            return add("cameraSync", true, "Kamera und Mikrofon: Abstand nicht messbar.");
        }
        add("cameraSync", true,
            "Kamera und Mikrofon: nach den Uhren der Geräte auf ±" + commaText(*webcam.soundTolerance * 1000, 0) +
                " ms gleich. Was die Kamera selbst verzögert, ist nicht messbar; der Versatz im Editor gleicht es "
                "aus.");
    }

    std::string praise() const {
        std::string text = "Geprüft: " + lengthText(info_.duration) + ", " + pictureCount(quality_.pictures);
        if (quality_.picturesLost.value_or(0) > 0) text += " (" + groupedText(*quality_.picturesLost) + " verloren)";
        if (quality_.sounds.empty()) return text + ", ohne Ton.";
        if (!quality_.integratedLoudness) return text + ", Ton vollständig, aber still.";
        return text + ", Ton vollständig, " + lufs(*quality_.integratedLoudness) + ".";
    }

    std::string faults() const {
        std::string text = "Die Prüfung fand Fehler:";
        for (const model::QualityCheck& check : quality_.checks) {
            if (!check.ok) text += " " + check.detail;
        }
        return text;
    }

    const model::CaptureInfo& info_;
    const MeasuredRecording& measured_;
    const QualityLimits& limits_;
    model::RecordingQuality quality_;
};

}  // namespace

model::RecordingQuality judge(const model::CaptureInfo& info, const MeasuredRecording& measured,
                              const QualityLimits& limits) {
    return Judgement(info, measured, limits).run();
}

}  // namespace lumivastor::capture
