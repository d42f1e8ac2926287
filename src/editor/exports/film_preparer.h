// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <thread>

#include "base/lifetime.h"
#include "base/main_loop.h"
#include "edit/composition.h"
#include "editor/exports/export_queue.h"
#include "editor/session/preparation_schedule.h"
#include "render/film_preparation.h"

namespace lumivastor::editor {

/// Prepares the films of open editors while nobody works (`PreparationSchedule` says when), one at a time, so that
/// "Video rendern" takes seconds. It ends before an export begins. Main thread.
class FilmPreparer {
  public:
    /// Where the user's choice is kept; empty functions keep nothing.
    struct SwitchMemory {
        std::function<bool()> load;
        std::function<void(bool isOn)> keep;
    };
    struct Options {
        /// See `render::RenderOptions`. Empty: nothing is prepared.
        std::filesystem::path filmCache{};
        SwitchMemory isOn{};
        /// Whether no battery is being emptied; unset: always.
        std::function<bool()> isOnMains{};
        /// Whether a recording runs or is about to; unset: never.
        std::function<bool()> isRecording{};
        /// Seconds of any clock that never runs backward; the host clock unless set.
        std::function<double()> clock{};
        /// See `render::PreparationOptions`; the choice of exports unless set. Any thread.
        render::EncoderChooser chooseEncoder{};
    };
    /// An open editor. Its functions are called while it is watched.
    struct Editor {
        /// The one in force.
        std::function<std::shared_ptr<const edit::Composition>()> composition;
        /// Whether it plays, or something is dragged.
        std::function<bool()> isBusy;
        /// Shows how much of the film in force is prepared, from 0 to 1.
        std::function<void(double part)> show;
    };
    /// An editor is watched while this lives.
    class Watch {
      public:
        ~Watch() { preparer_.close(film_); }
        Watch(const Watch&) = delete;
        Watch& operator=(const Watch&) = delete;

        /// The film is another one now.
        void edited() { preparer_.edited(film_); }
        /// Someone works, in whatever way.
        void touched() { preparer_.touched(); }

      private:
        friend class FilmPreparer;
        Watch(FilmPreparer& preparer, int film) : preparer_(preparer), film_(film) {}

        FilmPreparer& preparer_;
        const int film_;
    };

    /// Loop and queue outlive the preparer.
    FilmPreparer(MainLoop& loop, ExportQueue& queue, Options options);
    /// Ends the preparation and waits for that: for a few pictures.
    ~FilmPreparer();
    FilmPreparer(const FilmPreparer&) = delete;
    FilmPreparer& operator=(const FilmPreparer&) = delete;

    /// The preparer outlives the result.
    [[nodiscard]] std::unique_ptr<Watch> watch(Editor editor);

    /// "Im Hintergrund vorbereiten".
    bool isOn() const { return isOn_; }
    void setOn(bool isOn);

    /// Whether a film is being prepared now.
    bool isPreparing() const { return run_ != nullptr; }

    /// Like the destructor; nothing is prepared any more. Uses no widget.
    void end();

  private:
    struct Film {
        Editor editor;
        double shown = 0;
    };
    struct Run {
        int film = 0;
        bool isOutdated = false;  // the film has changed
        Lifetime lifetime;
        std::jthread thread;  // last: it uses everything above
    };

    void edited(int film);
    void touched();
    void close(int film);
    void exportsChanged();
    void step();
    void begin(int film);
    void ended(const render::PreparationOutcome& outcome);
    void endNow();
    void show(int film, double part);
    bool isOnMains(double now);

    MainLoop& loop_;
    ExportQueue& queue_;
    const Options options_;
    bool isOn_ = true;
    bool hasEnded_ = false;
    PreparationSchedule schedule_;
    std::map<int, Film> films_;
    int lastFilm_ = 0;
    std::optional<double> powerAsked_;
    bool isOnMains_ = true;  // at that time
    render::EncoderChooser chooseEncoder_;
    std::unique_ptr<MainLoop::Timer> timer_;  // while there is something to prepare
    std::shared_ptr<void> observation_;
    std::unique_ptr<Run> run_;
};

}  // namespace lumivastor::editor
