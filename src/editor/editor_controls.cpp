// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/editor_controls.h"

#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QScrollArea>
#include <QVBoxLayout>

#include "editor/preview/mask_draw_view.h"
#include "editor/preview/preview_view.h"
#include "ui/theme.h"

namespace lumivastor::editor {

EditorControls::EditorControls(QWidget& window, const Recording& recording, const EditorActions& actions)
    : previewView(new PreviewView),
      maskDrawView(new MaskDrawView),
      transportBar(recording.duration, recording.fps, actions),
      tools(actions),
      renderBar(actions),
      settingsColumn(recording.hasWebcam, actions) {
    previewView->setObjectName("previewView");
    maskDrawView->setObjectName("maskDrawView");
    auto* over = new QGridLayout(previewView);
    over->setContentsMargins(0, 0, 0, 0);
    over->addWidget(maskDrawView, 0, 0);

    auto* left = new QVBoxLayout;
    left->setContentsMargins(ui::theme::kMargin, ui::theme::kMargin, ui::theme::kMargin, ui::theme::kMargin);
    left->setSpacing(ui::theme::kApart);
    left->addWidget(previewView, 1);
    left->addLayout(transportBar.layout());
    left->addWidget(tools.frame());
    left->addLayout(renderBar.layout());

    auto* whole = new QHBoxLayout(&window);
    whole->setContentsMargins(0, 0, 0, 0);
    whole->setSpacing(0);
    whole->addLayout(left, 1);
    whole->addWidget(settingsColumn.area());
}

void EditorControls::setMaskDrawing(bool drawing) {
    maskDrawView->setDrawing(drawing);
    tools.setMaskDrawing(drawing);
}

}  // namespace lumivastor::editor
