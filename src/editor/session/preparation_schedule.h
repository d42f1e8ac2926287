// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <vector>

namespace lumivastor::editor {

/// When the films of open editors are prepared ("Im Hintergrund vorbereiten"), and which one: decides, and does nothing
/// itself. Films are numbers that the owner gives. Times are seconds of any clock that never runs backward.
///
///     edited ──> wanted ──quiet for a while──> begin ── whole ──> nothing to do
///                  ^                             │
///                  `── stop <── someone works ───'
class PreparationSchedule {
  public:
    /// So long nobody does anything before a film is prepared.
    static constexpr double kQuiet = 5;

    struct Facts {
        bool isOn = true;          // the user's choice
        bool isOnMains = true;     // no battery is being emptied
        bool isRecording = false;  // or about to
        bool isExporting = false;  // an export runs or waits
        bool isBusy = false;       // an editor plays, or something is dragged in it
    };
    enum class Step { none, begin, stop };

    /// An editor has opened, and its film may not be prepared.
    void opened(int film, double now);
    void closed(int film);
    /// Someone does something in the program: a key, a press, a seek.
    void touched(double now) { lastTouch_ = now; }
    /// The film is another one now.
    void edited(int film, double now);
    /// Films are in their places, and what was kept for others may be gone.
    void exported();

    /// What to do now. `begin`: `running` is the film, until `ended`. `stop` comes once.
    Step next(const Facts& facts, double now);
    /// Whether a film may be prepared with these facts.
    bool mayWork(const Facts& facts, double now) const;

    /// The preparation has ended. `isOver`: by itself, and another one would come no further.
    void ended(bool isOver);

    /// The film that is being prepared, also while that is to stop; nullopt when none is.
    std::optional<int> running() const;
    /// Whether there is something to prepare, now or later.
    bool hasWork() const { return run_ || choice() != nullptr; }

  private:
    struct Film {
        int number = 0;
        double lastEdit = 0;  // or its opening
        bool isOver = false;
    };
    struct Run {
        int film = 0;
        bool isOutdated = false;  // the film has changed or has gone since it began
        bool isStopping = false;
    };

    const Film* choice() const;

    std::vector<Film> films_;
    std::optional<Run> run_;
    double lastTouch_ = 0;
};

}  // namespace lumivastor::editor
