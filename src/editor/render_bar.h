// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "editor/editor_actions.h"

class QLayout;
class QProgressBar;
class QPushButton;

namespace lumivastor::ui {
class ElidedLabel;
}

namespace lumivastor::editor {

/// The last row of the editor: status, progress of an export, and the buttons that start, cancel and show it. Main
/// thread.
class RenderBar {
  public:
    explicit RenderBar(const EditorActions& actions);

    /// Holds all widgets. It belongs to the layout that it is added to.
    QLayout* layout() const { return layout_; }

    void setStatus(const std::string& text);
    std::string status() const;
    /// During an export there are a progress bar, which starts at 0, and a button that cancels.
    void setRendering(bool rendering);
    /// Whether the button that renders can be used.
    void setRenderable(bool renderable);
    /// How much of the film is prepared, from 0 to 1: the tip of the button that renders says it.
    void setPrepared(double part);
    /// 0 to 1.
    void setProgress(double fraction);
    /// Whether there is a button that shows the rendered file.
    void setRevealable(bool revealable);

  private:
    void makeButtons(const EditorActions& actions);

    ui::ElidedLabel* statusLabel_;
    QProgressBar* progressBar_;
    QPushButton* newRecordingButton_;
    QPushButton* revealButton_;
    QPushButton* cancelButton_;
    QPushButton* renderButton_;
    QLayout* layout_;
};

}  // namespace lumivastor::editor
