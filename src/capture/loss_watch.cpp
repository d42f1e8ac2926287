// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/loss_watch.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "base/formatted.h"

namespace lumivastor::capture {

namespace {

// In steps, because a number that changes twice a second cannot be read.
std::string shareText(double share) {
    int percent = 1;
    for (const int step : {5, 10, 25, 50}) {
        if (share * 100 > step) percent = step;
    }
    return formatted("über %d %%", percent);
}

std::string capital(std::string text) {
    // "ü" has two bytes.
    return text.starts_with("über") ? "Über" + text.substr(std::string("über").size()) : text;
}

std::string placeText(double seconds) {
    const auto whole = static_cast<long long>(std::clamp(seconds, 0.0, 1e9));
    return formatted("%lld:%02lld", whole / 60, whole % 60);
}

}  // namespace

void LossWatch::Total::add(double from, double to) {
    from = std::max(from, until);
    if (to <= from) return;
    if (!first) first = from;
    seconds += to - from;
    until = to;
}

void LossWatch::Total::add(const Loss& loss) {
    if (loss.share <= worst) return;
    worst = loss.share;
    reason = loss.reason;
}

void LossWatch::update(const RecordingHealth& health) {
    if (!window_.empty() && health.seconds <= window_.back().seconds) return;
    follow(health);
    window_.push_back(health);
    while (window_.size() > 2 && window_[1].seconds <= health.seconds - kWindow) window_.pop_front();
    const RecordingHealth& first = window_.front();
    screen_.reset();
    webcam_.reset();
    // A start is no measure: encoders and cameras open.
    if (health.seconds - first.seconds >= kWindow) {
        screen_ = lossOf(first.screen, health.screen, health.missed - first.missed);
        if (health.webcam && first.webcam) webcam_ = lossOf(first.webcam->movie, health.webcam->movie, 0);
    }
    if (screen_) {
        count(screenTotal_, *screen_, [](const RecordingHealth& at) { return at.screen.lost + at.missed; });
    }
    if (webcam_) {
        count(webcamTotal_, *webcam_, [](const RecordingHealth& at) { return at.webcam ? at.webcam->movie.lost : 0; });
    }
    if (camera() != Camera::well) stillTotal_.add(std::min(lastDelivered_, lastChanged_), health.seconds);
}

// The steps of the window in which something was lost.
void LossWatch::count(Total& total, const Loss& loss, LostSoFar lost) const {
    for (std::size_t i = 1; i < window_.size(); ++i) {
        if (lost(window_[i]) > lost(window_[i - 1])) total.add(window_[i - 1].seconds, window_[i].seconds);
    }
    total.add(loss);
}

void LossWatch::follow(const RecordingHealth& health) {
    const auto& now = health.webcam;
    const auto then = window_.empty() ? std::nullopt : window_.back().webcam;
    if (!now || !then || now->delivered > then->delivered) lastDelivered_ = health.seconds;
    if (!now || !then || now->changed > then->changed) lastChanged_ = health.seconds;
}

std::optional<LossWatch::Loss> LossWatch::lossOf(const RecordingHealth::Movie& before,
                                                 const RecordingHealth::Movie& now, std::int64_t missed) {
    const std::int64_t unwritten = now.lost - before.lost;
    const std::int64_t lost = unwritten + missed;
    const std::int64_t written = now.written - before.written;
    if (lost < kLeast) return std::nullopt;
    Loss loss;
    loss.share = static_cast<double>(lost) / static_cast<double>(lost + std::max<std::int64_t>(written, 0));
    if (loss.share <= kShare) return std::nullopt;
    if (missed > unwritten) {
        loss.reason = Reason::desktop;
    } else if (now.diskWaits > before.diskWaits) {
        loss.reason = Reason::disk;
    }
    return loss;
}

LossWatch::Camera LossWatch::camera() const {
    if (window_.empty() || !window_.back().webcam) return Camera::well;
    const RecordingHealth& now = window_.back();
    if (now.webcam->delivered == 0) return now.seconds >= kFirstPicture ? Camera::silent : Camera::well;
    if (now.seconds - lastDelivered_ >= kNoPicture) return Camera::gone;
    return now.seconds - lastChanged_ >= kEqualPictures ? Camera::still : Camera::well;
}

// Of pictures that were delivered.
std::string LossWatch::reasonText(Reason reason) {
    return reason == Reason::disk ? "der Datenträger ist zu langsam" : "der Encoder kommt nicht nach";
}

std::string LossWatch::adviceFor(Reason reason) const {
    if (reason == Reason::disk) return "Beende, was sonst noch darauf schreibt.";
    const bool canHalve = !window_.empty() && window_.back().fps > 30;
    if (canHalve) return "Es hilft, anderes zu beenden oder mit 30 Bildern pro Sekunde aufzunehmen.";
    return "Es hilft, anderes zu beenden.";
}

std::string LossWatch::screenSentence() const {
    if (!screen_) return {};
    // How many there would have been is only estimated.
    if (screen_->reason == Reason::desktop) {
        return "Der Desktop liefert Bilder zu langsam, Bewegung kann ruckeln. " + adviceFor(screen_->reason);
    }
    return capital(shareText(screen_->share)) + " der Bilder gehen verloren: " + reasonText(screen_->reason) + ". " +
           adviceFor(screen_->reason);
}

std::string LossWatch::webcamSentence() const {
    switch (camera()) {
        case Camera::silent:
            return "Die Kamera liefert kein Bild. Prüfe, ob ein anderes Programm sie benutzt.";
        case Camera::gone:
            return "Von der Kamera kommt kein Bild mehr. Prüfe ihr Kabel.";
        case Camera::still:
            return "Das Bild der Kamera steht still. Prüfe, ob sie noch läuft.";
        case Camera::well:
            break;
    }
    if (!webcam_) return {};
    return capital(shareText(webcam_->share)) + " der Kamerabilder gehen verloren: " + reasonText(webcam_->reason) +
           ". " + adviceFor(webcam_->reason);
}

std::string LossWatch::summary() const {
    std::string text;
    const auto say = [&text](const std::string& sentence) { text += (text.empty() ? "" : "\n") + sentence; };
    const auto sayLoss = [&say](const Total& total, const char* what) {
        if (!total.first) return;
        if (total.reason == Reason::desktop) {
            say(formatted("Ab %s lieferte der Desktop %.0f s lang Bilder zu langsam, Bewegung kann ruckeln.",
                          placeText(*total.first).c_str(), std::ceil(total.seconds)));
            return;
        }
        say(formatted("Ab %s gingen %.0f s lang %s verloren, zeitweise %s: ", placeText(*total.first).c_str(),
                      std::ceil(total.seconds), what, shareText(total.worst).c_str()) +
            reasonText(total.reason) + ".");
    };
    sayLoss(screenTotal_, "Bilder");
    sayLoss(webcamTotal_, "Kamerabilder");
    if (stillTotal_.first) {
        say(formatted("Ab %s stand das Bild der Kamera %.0f s lang still.", placeText(*stillTotal_.first).c_str(),
                      std::ceil(stillTotal_.seconds)));
    }
    return text;
}

}  // namespace lumivastor::capture
