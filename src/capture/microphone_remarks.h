// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <map>
#include <optional>
#include <string>

#include "platform/sound/microphone_watch.h"

namespace lumivastor::capture {

/// What is wrong with the microphone at this moment, as a German sentence; empty when nothing is.
std::string microphoneHint(const platform::MicrophoneReport& report);

/// What a recording says of its microphone: while it runs each trouble once, and at the end all of them. A plain value.
/// Times are seconds since the recording's beginning and ascend.
class MicrophoneRemarks {
  public:
    /// The report of this moment. Returns the sentence about a trouble that this recording has not had before.
    std::optional<std::string> take(const platform::MicrophoneReport& report, double at);

    /// The trouble of this moment; empty when there is none.
    const std::string& hint() const { return hint_; }
    /// One line for each trouble that there was, with when it began and how long it lasted; empty when all was well.
    std::string summary() const;

  private:
    struct Trouble {
        std::string device;
        double from = 0;
        double seconds = 0;  // altogether
    };

    std::map<platform::MicrophoneTrouble, Trouble> troubles_;
    platform::MicrophoneTrouble present_ = platform::MicrophoneTrouble::none;
    double takenAt_ = 0;
    std::string hint_;
};

}  // namespace lumivastor::capture
