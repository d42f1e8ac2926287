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

/// The open editors, one for each folder. Main thread.
class EditorWindows {
  public:
    struct Options {
        std::function<std::unique_ptr<platform::SoundOutput>()> makeSoundOutput;
        /// A folder was dropped on an editor.
        std::function<void(const std::filesystem::path& folder)> dropped;
        /// The user wants to make another recording; if empty, editors have no button for it.
        std::function<void()> newRecording;
        /// Called when an export begins. Keeps the machine awake while the result lives.
        std::function<std::shared_ptr<void>()> keepAwake;
    };

    /// The loop outlives this object.
    EditorWindows(MainLoop& loop, Options options);
    /// Closes all editors and saves.
    ~EditorWindows();

    /// Shows the editor of a recording folder: the open one, or a new one. Throws `RecorderError` if the folder cannot
    /// be edited.
    EditorWindow& open(const std::filesystem::path& folder);

    /// Whether all editors may close. An editor that exports comes to the front and shows that it takes a second
    /// attempt.
    bool mayClose();
    /// Cancels all exports, waits for their end, and saves. Uses no widget, because at the end of a program the windows
    /// may be gone.
    void endWork();

    /// The number of editors, including those that closed a moment ago.
    std::size_t count() const { return editors_.size(); }

  private:
    struct Editor;
    MainLoop& loop_;
    const Options options_;
    std::vector<std::unique_ptr<Editor>> editors_;
};

}  // namespace lumivastor::editor
