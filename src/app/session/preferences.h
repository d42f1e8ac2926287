// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace lumivastor::app {

/// What the user has chosen once, kept by the preferences.
struct ChosenDevice {
    std::string id;       // the lasting one; empty: the desktop's default
    std::string name;     // for users, while the device is away
    bool isNone = false;  // no device at all

    bool operator==(const ChosenDevice&) const = default;
};

/// Settings that survive the end of the program. Main thread.
class Preferences {
  public:
    virtual ~Preferences() = default;

    /// Key "autoZoomsEnabled"; nullopt when it was never set.
    virtual std::optional<bool> autoZoomsEnabled() const = 0;
    virtual void setAutoZoomsEnabled(bool enabled) = 0;

    /// Key "preparesFilms"; nullopt when it was never set.
    virtual std::optional<bool> preparesFilms() const = 0;
    virtual void setPreparesFilms(bool prepares) = 0;

    /// Key "countdownSeconds"; nullopt when it was never set.
    virtual std::optional<int> countdownSeconds() const = 0;
    virtual void setCountdownSeconds(int seconds) = 0;

    /// Key "recordingPlaces": recordings, and folders of them, elsewhere than in the root; the oldest first.
    virtual std::vector<std::filesystem::path> recordingPlaces() const = 0;
    virtual void setRecordingPlaces(const std::vector<std::filesystem::path>& places) = 0;

    /// Keys "microphone" and "microphoneName", "camera" and "cameraName".
    virtual ChosenDevice microphone() const = 0;
    virtual void setMicrophone(const ChosenDevice& device) = 0;
    virtual ChosenDevice camera() const = 0;
    virtual void setCamera(const ChosenDevice& device) = 0;

    /// Group "cardSounds": the sound of a capture card, by the card's lasting id.
    virtual ChosenDevice cardSound(const std::string& card) const = 0;
    virtual void setCardSound(const std::string& card, const ChosenDevice& sound) = 0;
};

}  // namespace lumivastor::app
