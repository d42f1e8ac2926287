// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "base/interval.h"
#include "edit/idle_stretches.h"
#include "model/pointer_track.h"
#include "model/project_settings.h"
#include "render/overview/recording_overview.h"

namespace lumivastor::editor {

/// The stretches of a recording in which picture, pointer and sound do nothing, whatever their lengths: still pictures
/// while the pointer rests and both sound tracks are quiet. `overview` knows the sound (`knowsSound`).
std::vector<Interval> idleTimes(const render::RecordingOverview& overview, const model::PointerTrack& track,
                                double duration);

/// The list of the dialog "Leerlauf kürzen": the cuts that are proposed, and which of them the user wants. Nothing but
/// values; main thread.
class IdleProposals {
  public:
    struct Row {
        edit::IdleStretch stretch;
        bool isChosen = true;

        double saved() const { return stretch.cut.length(); }
    };

    /// Proposes from scratch. A row that overlaps one that was not chosen is not chosen, either.
    void propose(std::span<const Interval> idle, std::span<const Interval> kept, std::int64_t fps,
                 const edit::IdleRules& rules);

    const std::vector<Row>& rows() const { return rows_; }
    void choose(std::size_t row, bool isChosen) { rows_[row].isChosen = isChosen; }
    void chooseAll(bool areChosen);

    std::size_t chosen() const;
    /// Seconds by which the chosen cuts shorten the video.
    double saved() const;
    /// The settings with the chosen cuts added, sorted like all cuts.
    model::ProjectSettings applied(const model::ProjectSettings& settings) const;

  private:
    std::vector<Row> rows_;
    std::vector<Interval> refused_;  // of earlier rows, too
};

// German texts of the dialog.

/// "0:12.4", "1:02:03.4".
std::string idleClock(double seconds);
/// "4.6 s", "2:05 min".
std::string idleLength(double seconds);
/// "3 von 7 Stellen gewählt, das Video wird 42.3 s kürzer."
std::string idleSummary(const IdleProposals& proposals);

}  // namespace lumivastor::editor
