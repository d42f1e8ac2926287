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
    if (window_.state().microphones == microphones && window_.state().cameras == cameras) return;
    window_.update([&](MainWindowState& state) {
        state.microphones = microphones;
        state.cameras = cameras;
    });
}

void InputDevices::tellMissing() {
    if (!isListed_ || callbacks_.isRecording()) return;
    const auto tell = [this](Hint about, bool isOn, const ChosenDevice& chosen,
                             const std::vector<platform::CaptureDevice>& devices) {
        // A hint of somebody else about the same device stays.
        const bool wasTold = told_.erase(about) > 0;
        if (isOn && isMissing(chosen, devices)) {
            window_.setHint(about, missingDeviceText(chosen, devices));
            told_.insert(about);
        } else if (wasTold) {
            window_.withdrawHint(about, callbacks_.readyText());
        }
    };
    const MainWindowChoices choices = window_.choices();
    tell(Hint::microphone, choices.microphone, microphone_, lists_.microphones);
    tell(Hint::camera, choices.webcam, camera_, lists_.cameras);
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
