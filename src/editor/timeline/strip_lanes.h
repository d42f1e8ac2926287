// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace lumivastor::editor {

/// A row of the strip, from its upper edge to its lower one, in the widget's unit.
struct Lane {
    double top = 0, height = 0;

    double bottom() const { return top + height; }
    double middle() const { return top + height / 2; }
    bool isEmpty() const { return height <= 0; }
    bool contains(double y) const { return top <= y && y < bottom(); }

    bool operator==(const Lane&) const = default;
};

/// What of a recording there is to show besides its edits. A lane without data is not shown.
struct StripData {
    bool pictures = false;
    bool systemSound = false;
    bool microphone = false;

    bool operator==(const StripData&) const = default;
};

/// The rows of the strip, from above.
///
///     | ruler       |
///     | zooms       |  \.
///     | pictures    |   |
///     | systemSound |   | track: what is in the video is light here
///     | microphone  |   |
///     | clicks      |  /
struct StripLanes {
    Lane ruler, zooms, pictures, systemSound, microphone, clicks;
    /// All of them but the ruler.
    Lane track;
    double height = 0;
};

/// `textHeight` is that of a line of the ruler's labels.
StripLanes layOutLanes(const StripData& data, double textHeight);

}  // namespace lumivastor::editor
