// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "app/source_choice.h"

namespace lumivastor::app {

/// What the user has set in the main window.
struct MainWindowChoices {
    SourceType sourceType = SourceType::display;
    /// In the source pop-up; -1 when it is empty.
    int sourceIndex = -1;
    /// 0 is 60 pictures a second, anything else 30.
    int fpsIndex = 0;
    bool systemAudio = false;
    bool autoZoom = true;
    bool microphone = false;
    bool webcam = false;

    int fps() const { return fpsIndex == 0 ? 60 : 30; }

    bool operator==(const MainWindowChoices&) const = default;
};

/// What a notice is about; there is one of each at most. In the order in which they are shown.
enum class NoticeKind { recording, checkVideo, interrupted, update };

/// Something that the user should know or may do, above the status.
struct Notice {
    std::string text;
    /// Of the button that does something about it; empty: there is none.
    std::string action;

    bool operator==(const Notice&) const = default;
};

/// Everything that the main window shows.
struct MainWindowState {
    MainWindowChoices choices;
    std::vector<std::string> sourceItems;
    std::string status = "Bereit.";
    std::map<NoticeKind, Notice> notices;
    std::string recordTitle = "Aufnahme starten";
    bool recordEnabled = true;
    /// Of all but the auto-zoom box and the record button.
    bool controlsEnabled = true;
    /// Of the check video; its button is off meanwhile, too.
    std::optional<double> progress;

    bool operator==(const MainWindowState&) const = default;
};

}  // namespace lumivastor::app
