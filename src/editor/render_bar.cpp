// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/render_bar.h"

#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

#include "base/saturated.h"
#include "editor/editor_builders.h"
#include "editor/session/labels.h"
#include "ui/accessible.h"
#include "ui/flow_layout.h"
#include "ui/icons.h"
#include "ui/text_labels.h"
#include "ui/theme.h"

namespace lumivastor::editor {

namespace {

// The least width of the status, in points; shorter, it has a line of its own.
constexpr int kLeastStatus = 160;
constexpr const char* kRenderTip = "Das fertige Video in den Ordner der Aufnahme schreiben";

}  // namespace

RenderBar::RenderBar(const EditorActions& actions) : statusLabel_(new ui::ElidedLabel), progressBar_(new QProgressBar) {
    statusLabel_->setObjectName("statusLabel");
    ui::makeStatusLine(*statusLabel_);
    progressBar_->setObjectName("progressBar");
    progressBar_->setAccessibleName("Fortschritt");
    progressBar_->setRange(0, 1000);
    progressBar_->setTextVisible(false);
    makeButtons(actions);

    auto* holder = new QWidget;
    auto* texts = new QVBoxLayout(holder);
    texts->setContentsMargins(0, 0, ui::theme::kNear, 0);
    texts->setSpacing(ui::theme::kTight);
    texts->addWidget(statusLabel_);
    texts->addWidget(progressBar_);

    auto* row = new ui::FlowLayout(ui::theme::kNear);
    row->addFilling(holder, kLeastStatus);
    row->addWidget(newRecordingButton_);
    row->addWidget(revealButton_);
    row->addWidget(cancelButton_);
    row->addWidget(renderButton_);
    setRendering(false);
    layout_ = row;
}

void RenderBar::makeButtons(const EditorActions& actions) {
    newRecordingButton_ =
        smallButton("Neue Aufnahme …", {},
                    {"newRecordingButton", "Neue Aufnahme", "Das Startfenster für eine neue Aufnahme zeigen (Strg+N)"},
                    actions.newRecording);
    newRecordingButton_->setProperty("role", "bottom");
    newRecordingButton_->setVisible(actions.newRecording != nullptr);
    revealButton_ =
        smallButton("Im Finder zeigen", "folder",
                    {"revealRenderButton", "Im Finder zeigen", "Das fertige Video im Ordner zeigen"}, actions.reveal);
    cancelButton_ = smallButton("Abbrechen", {}, {"cancelRenderButton", "Rendern abbrechen", "Rendern abbrechen"},
                                actions.cancelRender);
    renderButton_ = smallButton("Video rendern", {}, {"renderButton", "Video rendern", kRenderTip}, actions.render);
    renderButton_->setIcon(ui::icon("film", ui::theme::kOnAccent));
    renderButton_->setIconSize(iconBeforeText(18));
    renderButton_->setProperty("role", "main");
    revealButton_->setProperty("role", "bottom");
    cancelButton_->setProperty("role", "bottom");
    revealButton_->hide();
}

void RenderBar::setStatus(const std::string& text) {
    const QString now = QString::fromStdString(text);
    if (now == statusLabel_->text()) return;
    statusLabel_->setFullText(now);
    // The remaining time of an export changes every second.
    if (!progressBar_->isVisible() || progressBar_->value() == 0) ui::announce(*statusLabel_);
}

std::string RenderBar::status() const {
    return statusLabel_->text().toStdString();
}

void RenderBar::setRendering(bool rendering) {
    cancelButton_->setVisible(rendering);
    progressBar_->setVisible(rendering);
    if (rendering) progressBar_->setValue(0);
}

void RenderBar::setRenderable(bool renderable) {
    renderButton_->setEnabled(renderable);
}

void RenderBar::setPrepared(double part) {
    const std::string prepared = labels::prepared(part);
    renderButton_->setToolTip(QString::fromStdString(prepared.empty() ? kRenderTip : kRenderTip + ("\n" + prepared)));
}

void RenderBar::setProgress(double fraction) {
    progressBar_->setValue(saturatedRound<int>(fraction * progressBar_->maximum()));
}

void RenderBar::setRevealable(bool revealable) {
    revealButton_->setVisible(revealable);
}

}  // namespace lumivastor::editor
