// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "app/source_choice.h"

namespace lumivastor::app {

/// The lengths of a countdown, in seconds.
inline constexpr std::array<int, 4> kCountdowns = {0, 3, 5, 10};
inline constexpr int kUsualCountdown = 1;

/// The index of a length that was stored; the usual one for any other number.
inline int countdownIndexOf(std::optional<int> seconds) {
    for (std::size_t i = 0; i < kCountdowns.size(); ++i) {
        if (seconds == kCountdowns.at(i)) return static_cast<int>(i);
    }
    return kUsualCountdown;
}

/// The user's choices in the main window.
struct MainWindowChoices {
    SourceType sourceType = SourceType::display;
    /// The index in the source pop-up; -1 when the pop-up is empty.
    int sourceIndex = -1;
    /// 0 means 60 pictures a second, any other value 30.
    int fpsIndex = 0;
    bool systemAudio = false;
    bool autoZoom = true;
    bool microphone = false;
    bool webcam = false;

    /// The index in `kCountdowns`.
    int countdownIndex = kUsualCountdown;

    /// A device has sound of its own.
    bool recordsSystemAudio() const { return systemAudio && sourceType != SourceType::device; }
    int fps() const { return fpsIndex == 0 ? 60 : 30; }
    int countdownSeconds() const { return kCountdowns.at(static_cast<std::size_t>(countdownIndex)); }

    bool operator==(const MainWindowChoices&) const = default;
};

/// The kind of a notice; at most one of each, shown in this order.
enum class NoticeKind { recording, microphone, checkVideo, interrupted, update };

/// A message above the status, perhaps with an action.
struct Notice {
    std::string text;
    /// The label of the action's button; empty without an action.
    std::string action;

    bool operator==(const Notice&) const = default;
};

/// The countdown before a recording, where it is shown in the main window.
struct Countdown {
    int number = 0;
    /// How the recording will be stopped, because this window will not be there.
    std::string note;

    bool operator==(const Countdown&) const = default;
};

/// The devices beside a box.
struct DevicePopup {
    std::vector<std::string> items;
    int index = 0;

    bool operator==(const DevicePopup&) const = default;
};

/// Everything that the main window shows.
struct MainWindowState {
    MainWindowChoices choices;
    std::vector<std::string> sourceItems;
    /// Where the desktop's own dialog chooses: the label of the button that opens it, in place of the pop-up.
    std::optional<std::string> chooseTitle;
    DevicePopup microphones;
    DevicePopup cameras;
    /// Beside a capture card; without items while none is chosen.
    DevicePopup cardSounds;
    std::string status = "Bereit.";
    std::map<NoticeKind, Notice> notices;
    std::string recordTitle = "Aufnahme starten";
    bool recordEnabled = true;
    /// Enables all controls except the auto-zoom box and the record button.
    bool controlsEnabled = true;
    /// The progress of the check video, 0...1; its button is disabled meanwhile.
    std::optional<double> progress;
    /// Covers everything else.
    std::optional<Countdown> countdown;

    bool operator==(const MainWindowState&) const = default;
};

}  // namespace lumivastor::app
