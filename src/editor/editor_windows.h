// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <vector>

#include "base/main_loop.h"
#include "platform/sound/sound_output.h"

namespace lumivastor::editor {

class EditorWindow;

/// The editors that are open, each on a folder of its own. Main thread.
class EditorWindows {
  public:
    struct Options {
        std::function<std::unique_ptr<platform::SoundOutput>()> makeSoundOutput;
        /// A folder was dropped on an editor.
        std::function<void(const std::filesystem::path& folder)> dropped;
        /// The user wants to record something else; without it editors offer nothing like that.
        std::function<void()> newRecording;
        /// Keeps the machine awake for as long as the result lives: asked for when an export begins.
        std::function<std::shared_ptr<void>()> keepAwake;
    };

    /// The loop outlives this.
    EditorWindows(MainLoop& loop, Options options);
    /// Closes all of them; everything is saved.
    ~EditorWindows();

    /// Shows the editor of a recording folder: the one that is open, or a new one. Throws `RecorderError` when the
    /// folder holds nothing that can be edited.
    EditorWindow& open(const std::filesystem::path& folder);

    /// Whether all of them may close. Those that export say that they need to be asked a second time, and come to the
    /// front.
    bool mayClose();
    /// Cancels all exports, waits for their end, and saves. Touches no widget: for the end of a program whose windows
    /// are gone.
    void endWork();

    /// How many there are, those counted that have closed a moment ago.
    std::size_t count() const { return editors_.size(); }

  private:
    struct Editor;
    MainLoop& loop_;
    const Options options_;
    std::vector<std::unique_ptr<Editor>> editors_;
};

}  // namespace lumivastor::editor
