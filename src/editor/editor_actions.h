// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

#include "editor/session/control_values.h"

namespace lumivastor::editor {

/// What the controls of the editor's window do. The window sets all of them before it builds the controls.
struct EditorActions {
    std::function<void()> togglePlayback;
    std::function<void(double seconds)> step;
    std::function<void(double seconds)> scrub;
    std::function<void()> setTrimStart, setTrimEnd, resetTrim;
    std::function<void()> markCutStart, addCut, removeLastCut;
    std::function<void()> showIdleProposals;
    std::function<void(int index)> selectZoom;
    std::function<void()> showZoom, addZoom, deleteZoom, resetZooms;
    /// The zoom slider among the tools was moved.
    std::function<void(double scale)> setZoomScale;
    std::function<void()> toggleMaskDrawing, removeLastMask, removeAllMasks;
    /// A control of the column was moved; these are the values of all of them.
    std::function<void(const ControlValues& values)> applyControls;
    std::function<void()> render, cancelRender, reveal;
    /// If empty, there is no such button.
    std::function<void()> newRecording;
};

}  // namespace lumivastor::editor
