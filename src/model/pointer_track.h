// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "base/file_bytes.h"

namespace lumivastor::model {

enum class PointerKind : std::uint8_t { move, down, up, drag, scroll };
enum class PointerButton : std::uint8_t { left, right, other };

/// One pointer event.
struct PointerSample {
    /// Seconds since the movie's time zero; negative before the first picture.
    double t = 0;
    /// Pixels of the movie's picture, origin top-left, not clamped to the picture.
    double px = 0, py = 0;
    /// The same position as fractions of the picture's width and height; both 0 when the picture has no area.
    double nx = 0, ny = 0;
    PointerKind kind = PointerKind::move;
    /// For `down`, `up` and `drag` only.
    std::optional<PointerButton> button;
    /// For `scroll` only: deltas and signs as the window system reports them.
    std::optional<double> dx, dy;

    bool operator==(const PointerSample&) const = default;
};

/// From `t` (seconds since the movie's time zero) on, the cursor has the shape `id`.
struct CursorChange {
    double t = 0;
    std::string id;

    bool operator==(const CursorChange&) const = default;
};

/// A cursor shape. Sizes and hot spot in points; the hot spot is measured from the picture's top-left corner.
struct CursorImage {
    std::string id;
    /// Relative to the recording folder; empty for the "hidden" shape.
    std::string file;
    double width = 0, height = 0;
    double hotspotX = 0, hotspotY = 0;
    /// Pixels per point of the stored picture.
    double scale = 1;
    bool visible = true;

    bool operator==(const CursorImage&) const = default;
};

/// The recorded window's frame at a time: global points, origin top-left.
struct WindowFrameSample {
    double t = 0;
    double x = 0, y = 0, w = 0, h = 0;

    bool operator==(const WindowFrameSample&) const = default;
};

/// "pointer.json": everything the pointer did during a recording. A loaded track has `events`, `cursorChanges` and
/// `windowFrames` in ascending `t`, equal times in recording order.
struct PointerTrack {
    std::int64_t version = 1;
    std::vector<PointerSample> events;
    std::vector<CursorChange> cursorChanges;
    std::vector<CursorImage> cursorImages;
    /// Present for window captures.
    std::optional<std::vector<WindowFrameSample>> windowFrames;

    bool operator==(const PointerTrack&) const = default;

    static std::filesystem::path fileURL(const std::filesystem::path& folder) { return folder / "pointer.json"; }

    /// Reads the document of a recording folder. Throws `RecorderError` that names the file and the reason.
    static PointerTrack load(const std::filesystem::path& folder);

    /// Reads the document from memory. Throws `RecorderError` with only the reason.
    static PointerTrack parse(const FileBytes& document);

    /// Replaces the folder's document. Throws `RecorderError` when it cannot be written.
    void save(const std::filesystem::path& folder) const;
};

}  // namespace lumivastor::model
