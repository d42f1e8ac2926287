// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/editor_controls.h"

#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QScrollArea>
#include <QVBoxLayout>
#include <algorithm>

#include "editor/preview/mask_draw_view.h"
#include "editor/preview/preview_handles_view.h"
#include "editor/preview/preview_view.h"
#include "editor/timeline/timeline_strip.h"
#include "ui/theme.h"

namespace lumivastor::editor {

EditorControls::EditorControls(QWidget& window, const Recording& recording, const EditorActions& actions)
    : previewView(new PreviewView),
      previewHandlesView(new PreviewHandlesView),
      maskDrawView(new MaskDrawView),
      transportBar(recording.duration, recording.fps, actions),
      tools(actions),
      renderBar(actions),
      settingsColumn(recording.settings, actions) {
    previewView->setObjectName("previewView");
    previewHandlesView->setObjectName("previewHandlesView");
    maskDrawView->setObjectName("maskDrawView");
    auto* over = new QGridLayout(previewView);
    over->setContentsMargins(0, 0, 0, 0);
    over->addWidget(previewHandlesView, 0, 0);
    over->addWidget(maskDrawView, 0, 0);

    auto* content = new QWidget;
    auto* left = new QVBoxLayout(content);
    left_ = left;
    setMargins(ui::theme::kMargin, ui::theme::kNear);
    left->addWidget(previewView, 1);
    left->addLayout(transportBar.layout());
    left->addWidget(tools.frame());
    renderRow_ = new QWidget;
    renderRow_->setLayout(renderBar.layout());
    renderBar.layout()->setContentsMargins(0, 0, 0, 0);
    left->addWidget(renderRow_);

    auto* whole = new QHBoxLayout(&window);
    whole->setContentsMargins(0, 0, 0, 0);
    whole->setSpacing(0);
    leftArea_ = new QScrollArea;
    leftArea_->setProperty("role", "plain");
    leftArea_->setWidgetResizable(true);
    leftArea_->setFrameShape(QFrame::NoFrame);
    leftArea_->setFocusPolicy(Qt::NoFocus);
    leftArea_->setAccessibleName("Vorschau und Werkzeuge");
    leftArea_->setWidget(content);
    whole->addWidget(leftArea_, 1);
    whole->addWidget(settingsColumn.area());
}

void EditorControls::setFullScreen(bool isFull) {
    tools.frame()->setVisible(!isFull);
    settingsColumn.area()->setVisible(!isFull);
    transportBar.strip().setVisible(!isFull);
    renderRow_->setVisible(!isFull);
    setMargins(isFull ? ui::theme::kNear : ui::theme::kMargin, isFull ? ui::theme::kTight : ui::theme::kNear);
}

// Above the preview is the menu bar, which has space of its own.
void EditorControls::setMargins(int side, int between) {
    left_->setContentsMargins(side, between, side, between + ui::theme::kTight);
    left_->setSpacing(between);
}

QSize EditorControls::sizeFor(int width) const {
    const int column = settingsColumn.area()->width();
    const int left = std::max(width - column, left_->totalMinimumSize().width());
    return {left + column, left_->totalMinimumHeightForWidth(left)};
}

int EditorControls::wideEnough() const {
    return left_->totalSizeHint().width() + settingsColumn.area()->width();
}

void EditorControls::setMaskDrawing(bool drawing) {
    maskDrawView->setDrawing(drawing);
    tools.setMaskDrawing(drawing);
}

}  // namespace lumivastor::editor
