// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/input_devices.h"

#include <utility>

#include "base/handled_error.h"
#include "base/log.h"

namespace lumivastor::app {

InputDevices::InputDevices(const AppServices& services, MainWindowModel& window, Callbacks callbacks)
    : services_(services),
      window_(window),
      callbacks_(std::move(callbacks)),
      microphone_(services_.preferences.microphone()),
      camera_(services_.preferences.camera()) {
    services_.selection->setMicrophone(microphone_.id);
    services_.selection->setCamera(camera_.id);
    show();
}

InputDevices::~InputDevices() {
    watch_.reset();
    lifetime_.end();
}

void InputDevices::begin() {
    list();
    watch_ = services_.watchDevices([this, alive = lifetime_.watch()] {
        services_.mainLoop.async([this, alive] {
            if (alive.expired()) return;
            list();
            callbacks_.devicesChanged();
        });
    });
}

// One at a time: a server that does not answer takes seconds.
void InputDevices::list() {
    listsAgain_ = isListing_;
    if (std::exchange(isListing_, true)) return;
    queue_.async([this, alive = lifetime_.watch()] {
        Lists lists;
        try {
            lists = {services_.sound.microphones(), services_.devices.cameras()};
        } catch (...) {
            Log::write("Permissions", "Geräte nicht aufgelistet: " + handledError("Unerwarteter Fehler").message());
        }
        services_.mainLoop.async([this, alive, lists = std::move(lists)] {
            if (alive.expired()) return;
            isListing_ = false;
            apply(lists);
            if (std::exchange(listsAgain_, false)) list();
        });
    });
}

void InputDevices::apply(const Lists& lists) {
    const bool hadCamera = !isMissing(camera_, lists_.cameras);
    const bool isFirst = !std::exchange(isListed_, true);
    const bool camerasDiffer = lists_.cameras != lists.cameras;
    lists_ = lists;
    show();
    tellMissing();
    runMeters();
    // The preview shows the chosen camera as soon as it is there.
    const bool cameraCame = !hadCamera && !isMissing(camera_, lists_.cameras);
    if (!isFirst && camerasDiffer && cameraCame) callbacks_.cameraChanged();
}

void InputDevices::show() {
    const DevicePopup microphones = devicePopup(lists_.microphones, microphone_);
    const DevicePopup cameras = devicePopup(lists_.cameras, camera_);
    const DevicePopup cardSounds = card_ ? cardSoundPopup(*card_, lists_.microphones, cardSound_) : DevicePopup();
    const MainWindowState& shown = window_.state();
    if (shown.microphones == microphones && shown.cameras == cameras && shown.cardSounds == cardSounds) return;
    window_.update([&](MainWindowState& state) {
        state.microphones = microphones;
        state.cameras = cameras;
        state.cardSounds = cardSounds;
    });
}

void InputDevices::tellMissing() {
    if (!isListed_ || callbacks_.isRecording()) return;
    const auto tell = [this](Hint about, bool isMissed, const auto& text) {
        // A hint of somebody else about the same device stays.
        const bool wasTold = told_.erase(about) > 0;
        if (isMissed) {
            window_.setHint(about, text());
            told_.insert(about);
        } else if (wasTold) {
            window_.withdrawHint(about, callbacks_.readyText());
        }
    };
    const MainWindowChoices choices = window_.choices();
    tell(Hint::microphone, choices.microphone && isMissing(microphone_, lists_.microphones),
         [this] { return missingDeviceText(microphone_, lists_.microphones); });
    tell(Hint::camera, choices.webcam && isMissing(camera_, lists_.cameras),
         [this] { return missingDeviceText(camera_, lists_.cameras); });
    tell(Hint::cardSound, card_ && isMissing(cardSound_, lists_.microphones),
         [this] { return missingCardSoundText(*card_, cardSound_, lists_.microphones); });
}

void InputDevices::microphoneSelected(int index) {
    const auto chosen = deviceAt(index, lists_.microphones);
    if (chosen && *chosen != microphone_) {
        microphone_ = *chosen;
        services_.preferences.setMicrophone(microphone_);
        services_.selection->setMicrophone(microphone_.id);
        meters_.reopenMicrophone();
    }
    show();
    tellMissing();
}

void InputDevices::cameraSelected(int index) {
    const auto chosen = deviceAt(index, lists_.cameras);
    const bool isOther = chosen && *chosen != camera_;
    if (isOther) {
        camera_ = *chosen;
        services_.preferences.setCamera(camera_);
        services_.selection->setCamera(camera_.id);
    }
    show();
    tellMissing();
    if (isOther) callbacks_.cameraChanged();
}

void InputDevices::cardSoundSelected(int index) {
    const auto chosen = card_ ? cardSoundAt(index, lists_.microphones) : std::nullopt;
    if (chosen && *chosen != cardSound_) {
        services_.preferences.setCardSound(card_->lastingId(), *chosen);
        chooseCardSound(*chosen);
    }
    show();
    tellMissing();
}

void InputDevices::showCard(const std::optional<platform::CaptureDevice>& card) {
    if (card_ == card) return;
    card_ = card;
    chooseCardSound(card ? services_.preferences.cardSound(card->lastingId()) : ChosenDevice());
    show();
    tellMissing();
}

void InputDevices::chooseCardSound(const ChosenDevice& sound) {
    cardSound_ = sound;
    if (card_) services_.selection->setCardSound(card_->lastingId(), {sound.id, sound.isNone});
}

void InputDevices::boxToggled() {
    tellMissing();
    runMeters();
}

void InputDevices::windowShown(bool isShown) {
    isWindowShown_ = isShown;
    runMeters();
}

// A recording reports the levels of its own sources.
void InputDevices::runMeters() {
    const bool isSeen = isWindowShown_ && !callbacks_.isRecording();
    const MainWindowChoices& choices = window_.choices();
    meters_.run({isSeen && choices.systemAudio, isSeen && choices.microphone});
}

}  // namespace lumivastor::app
