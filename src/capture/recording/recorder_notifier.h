// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <utility>

#include "base/lifetime.h"
#include "base/main_loop.h"
#include "base/recorder_error.h"

namespace lumivastor::capture {

/// Tells a recorder's owner what happens to the recording, on the main thread, and only as long as this object lives.
/// Any thread, unless a function says otherwise.
class RecorderNotifier {
  public:
    using ErrorHandler = std::function<void(const RecorderError&)>;
    using NoticeHandler = std::function<void(const std::string&)>;

    /// `category` is the recorder's in the log.
    RecorderNotifier(MainLoop& mainLoop, const char* category);
    ~RecorderNotifier() { silence(); }
    RecorderNotifier(const RecorderNotifier&) = delete;
    RecorderNotifier& operator=(const RecorderNotifier&) = delete;

    /// Main thread. Handlers may be changed at any time; they may destroy this object.
    void onError(ErrorHandler handler) { onError_ = std::move(handler); }
    void onNotice(NoticeHandler handler) { onNotice_ = std::move(handler); }

    /// Tells that the recording cannot go on; the first time only, and not once it is being stopped.
    void giveUp(const RecorderError& reason);
    /// Tells a German sentence about something that is missing from now on, or is back. Logs it, too.
    void notice(const std::string& sentence);
    void log(const std::string& text);
    /// Runs work on a sample; what it throws is logged and ends the recording.
    void guard(const std::function<void()>& work);

    /// Main thread: giving up is of no interest from now on.
    void setStopped() { isStopped_ = true; }
    /// Main thread: nothing is told from now on. For owners whose destructor waits for threads that may still tell.
    void silence() { lifetime_.end(); }

    /// Runs work on the main thread, unless this object is gone or silenced by then.
    void postToMain(std::function<void()> work);

  private:
    MainLoop& mainLoop_;
    const char* const category_;
    ErrorHandler onError_;    // main thread only
    NoticeHandler onNotice_;  // main thread only
    std::mutex lock_;
    bool gaveUp_ = false;     // guarded by lock_
    bool isStopped_ = false;  // main thread only
    // Main thread only. Shared with work that is on its way there and may come later than this object's end.
    Lifetime lifetime_;
    const Lifetime::Watch watch_ = lifetime_.watch();  // any thread
};

}  // namespace lumivastor::capture
