// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QSize>
#include <cstdint>

#include "editor/editor_actions.h"
#include "editor/editor_tools.h"
#include "editor/render_bar.h"
#include "editor/settings_column.h"
#include "editor/transport_bar.h"

class QLayout;
class QScrollArea;
class QWidget;

namespace lumivastor::editor {

class MaskDrawView;
class PreviewHandlesView;
class PreviewView;

/// Everything in the editor's window. It is built once, calls the actions, and decides nothing.
///
///     +---------------------------------+----------------+
///     | previewView, two layers on it   | settingsColumn |
///     | transportBar                    | (scrolls)      |
///     | tools                           |                |
///     | renderBar                       |                |
///     | (scrolls where type is large)   |                |
///     +---------------------------------+----------------+
struct EditorControls {
    struct Recording {
        double duration = 0;  // in seconds
        std::int64_t fps = 60;
        SettingsColumn::Recording settings;
    };

    /// Builds everything into `window`, whose style sheet is set.
    EditorControls(QWidget& window, const Recording& recording, const EditorActions& actions);

    /// Whether a rectangle can be drawn on the preview.
    void setMaskDrawing(bool drawing);
    /// Whether there is only the preview with the buttons and the slider of the transport.
    void setFullScreen(bool isFull);
    /// The size at which everything can be seen without scrolling, but for the column, if the width is at least this.
    QSize sizeFor(int width) const;
    /// The width at which no row has a second line.
    int wideEnough() const;

    PreviewView* previewView;
    PreviewHandlesView* previewHandlesView;
    MaskDrawView* maskDrawView;
    TransportBar transportBar;
    EditorTools tools;
    RenderBar renderBar;
    SettingsColumn settingsColumn;

  private:
    void setMargins(int side, int between);

    QScrollArea* leftArea_;
    QLayout* left_;  // of the column with the preview
    QWidget* renderRow_;
};

}  // namespace lumivastor::editor
