// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/session/power_supply.h"

#include <cstdint>
#include <string>
#include <system_error>

#include "base/file_bytes.h"

namespace lumivastor::app {

namespace {

// The kernel's files have one line, but say that they have a page.
std::string lineOf(const std::filesystem::path& file) {
    constexpr std::uint64_t kLongest = 1U << 20;
    std::error_code error;
    const FileBytes bytes = readFile(file, kLongest, error);
    if (error) return {};
    const std::string text(bytes.text());
    return text.substr(0, text.find('\n'));
}

}  // namespace

bool isOnMains(const std::filesystem::path& supplies) {
    bool hasBattery = false;
    bool isDischarging = false;
    bool hasLine = false;
    std::error_code error;
    std::filesystem::directory_iterator entry(supplies, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        const std::filesystem::path& supply = entry->path();
        if (lineOf(supply / "scope") == "Device") continue;
        if (lineOf(supply / "type") == "Battery") {
            hasBattery = true;
            isDischarging = isDischarging || lineOf(supply / "status") == "Discharging";
            continue;
        }
        // Mains, and USB as it charges notebooks. Those that can be adjusted say 2.
        const std::string online = lineOf(supply / "online");
        if (online == "1" || online == "2") return true;
        hasLine = hasLine || online == "0";
    }
    return !isDischarging && !(hasBattery && hasLine);
}

}  // namespace lumivastor::app
