// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/source_listing.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

#include "base/formatted.h"

namespace lumivastor::capture {

namespace {

std::optional<std::string> identifierOf(const platform::Window& window) {
    return window.application ? window.application->bundleIdentifier : std::nullopt;
}

std::string applicationName(const platform::Window& window) {
    return window.application ? window.application->name.value_or("") : "";
}

bool isRecordable(const platform::Window& window, const std::optional<std::string>& ownIdentifier) {
    const auto isAtLeast = [&window](double width, double height) {
        return window.frame.width >= width && window.frame.height >= height;
    };
    if (window.layer != 0 || !isAtLeast(200, 150)) return false;
    // Small untitled windows are mostly helpers that users do not regard as windows.
    if (window.title.value_or("").empty() && !isAtLeast(400, 300)) return false;
    return identifierOf(window) != ownIdentifier;
}

}  // namespace

std::string ownIdentifier(const platform::ShareableContent& content) {
    if (content.ownApplication && content.ownApplication->bundleIdentifier) {
        return *content.ownApplication->bundleIdentifier;
    }
    return kOwnBundleIdentifier;
}

std::vector<platform::Window> recordableWindows(const std::vector<platform::Window>& windows,
                                                const std::optional<std::string>& ownIdentifier) {
    std::vector<platform::Window> kept;
    std::copy_if(windows.begin(), windows.end(), std::back_inserter(kept),
                 [&](const platform::Window& window) { return isRecordable(window, ownIdentifier); });
    std::stable_sort(kept.begin(), kept.end(), [](const platform::Window& a, const platform::Window& b) {
        return std::pair(applicationName(a), a.title.value_or("")) <
               std::pair(applicationName(b), b.title.value_or(""));
    });
    return kept;
}

std::string windowTitle(const platform::Window& window) {
    const std::string title = window.title.value_or("");
    return applicationName(window) + " – " + (title.empty() ? "(ohne Titel)" : title);
}

std::string displayTitle(const platform::Display& display, std::size_t position) {
    const Rect pixels = display.pixelFrame();
    return formatted("Bildschirm %zu – %ld×%ld px", position + 1, std::lround(pixels.width),
                     std::lround(pixels.height));
}

}  // namespace lumivastor::capture
