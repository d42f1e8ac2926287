// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/render_bar.h"

#include <QHBoxLayout>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

#include "base/saturated.h"
#include "editor/editor_builders.h"
#include "ui/icons.h"
#include "ui/text_labels.h"
#include "ui/theme.h"

namespace lumivastor::editor {

RenderBar::RenderBar(const EditorActions& actions) : statusLabel_(new ui::ElidedLabel), progressBar_(new QProgressBar) {
    statusLabel_->setObjectName("statusLabel");
    progressBar_->setObjectName("progressBar");
    progressBar_->setAccessibleName("Fortschritt");
    progressBar_->setRange(0, 1000);
    progressBar_->setTextVisible(false);
    makeButtons(actions);

    auto* texts = new QVBoxLayout;
    texts->setSpacing(ui::theme::kTight);
    texts->addStretch(1);
    texts->addWidget(statusLabel_);
    texts->addWidget(progressBar_);
    texts->addStretch(1);

    auto* row = new QHBoxLayout;
    row->setSpacing(ui::theme::kNear);
    row->addLayout(texts, 1);
    row->addSpacing(ui::theme::kNear);
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
    renderButton_ = smallButton(
        "Video rendern", {},
        {"renderButton", "Video rendern", "Das fertige Video in den Ordner der Aufnahme schreiben"}, actions.render);
    renderButton_->setIcon(ui::icon("film", ui::theme::kOnAccent));
    renderButton_->setIconSize(iconBeforeText(18));
    renderButton_->setProperty("role", "main");
    revealButton_->setProperty("role", "bottom");
    cancelButton_->setProperty("role", "bottom");
    revealButton_->hide();
}

void RenderBar::setStatus(const std::string& text) {
    statusLabel_->setFullText(QString::fromStdString(text));
}

std::string RenderBar::status() const {
    return statusLabel_->text().toStdString();
}

void RenderBar::setRendering(bool rendering) {
    renderButton_->setEnabled(!rendering);
    cancelButton_->setVisible(rendering);
    progressBar_->setVisible(rendering);
    if (rendering) progressBar_->setValue(0);
}

void RenderBar::setProgress(double fraction) {
    progressBar_->setValue(saturatedRound<int>(fraction * progressBar_->maximum()));
}

void RenderBar::setRevealable(bool revealable) {
    revealButton_->setVisible(revealable);
}

}  // namespace lumivastor::editor
