// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

#include "capture/capture_services.h"

namespace lumivastor::cli {

/// One service of this machine.
struct Check {
    std::string name;
    bool ok = false;
    std::string detail;  // a German sentence: the finding, or what to do
    /// Whether screens can be recorded only with it.
    bool isNeeded = false;
};

/// The services to examine. A function may throw `RecorderError`, which is then the finding.
struct Examined {
    std::function<platform::Desktop&()> desktop;
    std::function<platform::SoundSystem&()> sound;
    std::function<platform::CaptureDevices&()> devices;
    std::function<media::EncoderChoice(const media::EncodingJob&)> chooseEncoder;
    std::function<std::optional<capture::FreeSpace>(const std::filesystem::path&)> freeSpace;
    std::filesystem::path recordingsRoot;
};

/// Examines all services. A fault is a finding, not an exception.
std::vector<Check> examine(const Examined& machine);

bool canRecordScreens(const std::vector<Check>& checks);

/// Writes the checks as one JSON document, or prints them for users.
void writeChecks(const std::vector<Check>& checks, std::ostream& out);
void printChecks(const std::vector<Check>& checks, std::ostream& out);

}  // namespace lumivastor::cli
