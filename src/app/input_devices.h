// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "app/app_services.h"
#include "app/device_choice.h"
#include "app/main_window_model.h"
#include "app/meter_sources.h"
#include "base/lifetime.h"
#include "base/serial_queue.h"

namespace lumivastor::app {

/// The main window's choice of microphone, camera and a capture card's sound, and the sources of its level meters.
/// Lists the devices in the background, again whenever one comes or goes. Main thread.
class InputDevices {
  public:
    struct Callbacks {
        /// Another camera is the chosen one now.
        std::function<void()> cameraChanged;
        /// Microphones, cameras or capture cards may have come or gone.
        std::function<void()> devicesChanged;
        /// Whether the status must be left alone.
        std::function<bool()> isRecording;
        /// The status when there is nothing to say.
        std::function<std::string()> readyText;
    };

    InputDevices(const AppServices& services, MainWindowModel& window, Callbacks callbacks);
    ~InputDevices();
    InputDevices(const InputDevices&) = delete;
    InputDevices& operator=(const InputDevices&) = delete;

    /// Lists the devices, and follows them from now on.
    void begin();
    /// An item of the pop-up.
    void microphoneSelected(int index);
    void cameraSelected(int index);
    void cardSoundSelected(int index);
    /// The capture card that is chosen as the source; nullopt while something else is.
    void showCard(const std::optional<platform::CaptureDevice>& card);
    /// One of the boxes was ticked or unticked.
    void boxToggled();
    /// Whether the user sees the meters. Nothing is open while not.
    void windowShown(bool isShown);

  private:
    struct Lists {
        std::vector<platform::CaptureDevice> microphones;
        std::vector<platform::CaptureDevice> cameras;
    };

    void chooseCardSound(const ChosenDevice& sound);
    void list();
    void apply(const Lists& lists);
    void show();
    void tellMissing();
    void runMeters();

    const AppServices& services_;
    MainWindowModel& window_;
    const Callbacks callbacks_;
    ChosenDevice microphone_;
    ChosenDevice camera_;
    std::optional<platform::CaptureDevice> card_;
    ChosenDevice cardSound_;
    Lists lists_;
    std::set<Hint> told_;  // about devices that are missing
    bool isListing_ = false;
    bool listsAgain_ = false;
    bool isListed_ = false;
    bool isWindowShown_ = false;
    Lifetime lifetime_;
    MeterSources meters_{services_.sound};
    SerialQueue queue_{"app.inputs"};
    std::shared_ptr<void> watch_;  // last: it may call back until it is destroyed
};

}  // namespace lumivastor::app
