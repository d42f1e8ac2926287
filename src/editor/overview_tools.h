// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "base/interval.h"
#include "editor/session/edit_session.h"
#include "render/cut_composition.h"
#include "render/overview/overview_maker.h"

class QWidget;

namespace lumivastor::editor {

class IdleDialog;

/// What the editor's window does with the recording's overview: it has one made, shows it on the strip, and proposes
/// cuts where nothing happens. Main thread.
class OverviewTools {
  public:
    struct Callbacks {
        /// More of the overview has arrived.
        std::function<void(std::shared_ptr<const render::RecordingOverview>)> arrived;
        /// Runs a command; what it reports goes with the next one.
        std::function<void(const std::function<void()>& command)> run;
        /// Shows the recording at a time, and plays.
        std::function<void(double seconds)> playFrom;
    };

    /// `window` is the dialog's. `maker`, if null, is made here, without a cache.
    OverviewTools(QWidget& window, EditSession& session, MainLoop& loop, std::shared_ptr<render::OverviewMaker> maker,
                  const render::RecordingAssets& assets, Callbacks callbacks);
    /// Cancels what is being made.
    ~OverviewTools();
    OverviewTools(const OverviewTools&) = delete;
    OverviewTools& operator=(const OverviewTools&) = delete;

    /// Shows the dialog "Leerlauf kürzen", or brings it to the front.
    void showIdleProposals();
    /// The settings have changed.
    void refresh();
    /// Closes the dialog and cancels what is being made.
    void end();

    std::shared_ptr<const render::RecordingOverview> overview() const { return overview_; }

  private:
    void overviewArrived(std::shared_ptr<const render::RecordingOverview> overview);

    QWidget& window_;
    EditSession& session_;
    const Callbacks callbacks_;
    std::shared_ptr<render::OverviewMaker> maker_;
    std::shared_ptr<const render::RecordingOverview> overview_;
    std::optional<std::vector<Interval>> idle_;  // once the overview knows the sound, and the dialog was shown
    IdleDialog* dialog_ = nullptr;               // the window's
    std::unique_ptr<render::OverviewMaker::Request> request_;
};

}  // namespace lumivastor::editor
