// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#include "editor/editor_actions.h"
#include "editor/editor_tools.h"
#include "editor/render_bar.h"
#include "editor/settings_column.h"
#include "editor/transport_bar.h"

class QWidget;

namespace lumivastor::editor {

class MaskDrawView;
class PreviewView;

/// Everything in the editor's window. It is built once, calls the actions, and decides nothing.
///
///     +---------------------------------+----------------+
///     | previewView, maskDrawView on it | settingsColumn |
///     | transportBar                    | (scrolls)      |
///     | tools                           |                |
///     | renderBar                       |                |
///     +---------------------------------+----------------+
struct EditorControls {
    struct Recording {
        double duration = 0;  // in seconds
        std::int64_t fps = 60;
        bool hasWebcam = false;
    };

    /// Builds everything into `window`, whose style sheet is set.
    EditorControls(QWidget& window, const Recording& recording, const EditorActions& actions);

    /// Whether a rectangle can be drawn on the preview.
    void setMaskDrawing(bool drawing);

    PreviewView* previewView;
    MaskDrawView* maskDrawView;
    TransportBar transportBar;
    EditorTools tools;
    RenderBar renderBar;
    SettingsColumn settingsColumn;
};

}  // namespace lumivastor::editor
