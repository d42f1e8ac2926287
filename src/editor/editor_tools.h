// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "editor/editor_actions.h"
#include "editor/editor_builders.h"

namespace lumivastor::ui {
class ElidedLabel;
}

namespace lumivastor::editor {

/// The rows of tools below the transport: trim, cuts, zooms and masks. Main thread.
class EditorTools {
  public:
    /// German texts of the labels, and the list of zooms.
    struct Content {
        std::string trim, cuts, zoomMode, masks;
        std::vector<std::string> zooms;
        int selectedZoom = -1;
        double zoomScale = 1;  // of the selected zoom, or of proposed ones
    };

    explicit EditorTools(const EditorActions& actions);

    /// The widget. It belongs to the layout that it is added to.
    QFrame* frame() const { return frame_; }

    void setContent(const Content& content);
    /// While a rectangle is being drawn, the button of the masks cancels it.
    void setMaskDrawing(bool drawing);

  private:
    QLayout* makeTrimTools(const EditorActions& actions);
    QLayout* makeCutTools(const EditorActions& actions);
    QLayout* makeZoomTools(const EditorActions& actions);
    void makeZoomPopup(const EditorActions& actions);
    void makeZoomSlider(const EditorActions& actions);
    QLayout* makeMaskTools(const EditorActions& actions);
    void setZooms(const std::vector<std::string>& items, int selected);

    QFrame* frame_;
    ui::ElidedLabel* trimLabel_;
    ui::ElidedLabel* cutLabel_;
    QLabel* zoomModeLabel_;
    QComboBox* zoomPopup_;
    QPushButton* showZoomButton_;
    QPushButton* deleteZoomButton_;
    LabelledSlider zoomSlider_;
    QPushButton* maskDrawButton_;
    ui::ElidedLabel* maskLabel_;
};

}  // namespace lumivastor::editor
