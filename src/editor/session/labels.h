// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "edit/timeline.h"
#include "model/capture_info.h"
#include "model/project_settings.h"

// The texts of the window's labels: German, UTF-8. Times are seconds of source time.

namespace lumivastor::editor::labels {

/// "Bereich: 0.000 – 12.500 s (Bild 0 – 750)".
std::string trim(const edit::TrimRange& range, std::int64_t fps);

/// The cuts; while a start is pending, what the user does next.
std::string cuts(const std::vector<model::CutRange>& cuts, const std::optional<double>& pendingStart);

/// "3.250 s · Bild 195".
std::string time(double seconds, std::int64_t fps);

/// The enlargement by a zoom: "60 %" for 1.6.
std::string zoomPercent(double scale);

/// "100 %"; "0 % (stumm)" for silence.
std::string volume(double value);

/// "12.5 %".
std::string crop(double fraction);

/// "Video: 10.5 s", "Video: 61:05 min".
std::string videoLength(double seconds);

/// "88 %" for 0.88.
std::string percent(double fraction);
/// "1.7×".
std::string magnification(double factor);
/// "26 px".
std::string pixels(double count);

/// "+120 ms", "−35 ms", "0 ms" for 0.12, -0.035 and 0.
std::string milliseconds(double seconds);

/// An item of the list of zooms; `number` from 1.
std::string zoomItem(int number, const model::ZoomSpec& zoom);

std::string zoomMode(bool byHand);

/// One line about what is not known of the pointer; empty when everything is.
std::string pointerNote(const model::CaptureInfo& info);

std::string masks(std::size_t count, bool isDrawing);

/// "Rendere in 1920×1080 …".
std::string rendering(int width, int height);
/// The same with the remaining seconds, if known.
std::string rendering(int width, int height, const std::optional<double>& remaining);

/// How much of the film is prepared: "Zu 80 % vorbereitet", "Fertig vorbereitet"; empty for nothing.
std::string prepared(double part);

/// "Fertig: 12.5 s, 3 Zooms – studio-output.mp4".
std::string rendered(double seconds, std::int64_t zooms, const std::string& fileName);

/// "Vorlauf 2×", "Rücklauf 4×"; empty while the player plays or nothing moves (rates 1 and 0).
std::string shuttle(int rate);

/// "noch 42 s", "noch 3 min 20 s", "noch 1 h 5 min". Rounded up, and the longer the coarser, so that it does not
/// flicker.
std::string remainingTime(double seconds);

}  // namespace lumivastor::editor::labels
