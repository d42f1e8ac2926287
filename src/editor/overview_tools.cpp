// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/overview_tools.h"

#include <utility>

#include "editor/idle_dialog.h"
#include "editor/session/idle_proposals.h"

namespace lumivastor::editor {

OverviewTools::OverviewTools(QWidget& window, EditSession& session, MainLoop& loop,
                             std::shared_ptr<render::OverviewMaker> maker, const render::RecordingAssets& assets,
                             Callbacks callbacks)
    : window_(window),
      session_(session),
      callbacks_(std::move(callbacks)),
      maker_(maker != nullptr ? std::move(maker)
                              : std::make_shared<render::OverviewMaker>(loop, std::filesystem::path())) {
    request_ = maker_->make(
        assets.screen, session_.info(),
        [this](std::shared_ptr<const render::RecordingOverview> overview) { overviewArrived(std::move(overview)); });
}

OverviewTools::~OverviewTools() = default;

void OverviewTools::overviewArrived(std::shared_ptr<const render::RecordingOverview> overview) {
    overview_ = std::move(overview);
    callbacks_.arrived(overview_);
    refresh();
}

void OverviewTools::showIdleProposals() {
    if (dialog_ == nullptr) {
        IdleDialog::Callbacks callbacks;
        callbacks.show = callbacks_.playFrom;
        callbacks.apply = [this](const IdleProposals& proposals) {
            callbacks_.run([&] { session_.change(proposals.applied(session_.settings()), "Leerlauf kürzen"); });
        };
        dialog_ = new IdleDialog(window_, std::move(callbacks));
    }
    dialog_->show();
    dialog_->raise();
    dialog_->activateWindow();
    refresh();
}

void OverviewTools::refresh() {
    if (dialog_ == nullptr || !dialog_->isVisible() || overview_ == nullptr || !overview_->knowsSound) return;
    const edit::Composition& composition = *session_.composition();
    if (!idle_) idle_ = idleTimes(*overview_, composition.track(), composition.info().duration);
    dialog_->setContent(*idle_, composition.keptSegments(), composition.info().fps);
}

void OverviewTools::end() {
    request_.reset();
    if (dialog_ != nullptr) dialog_->close();
}

}  // namespace lumivastor::editor
