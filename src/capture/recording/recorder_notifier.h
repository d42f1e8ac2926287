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

/// Reports events of a recording to the recorder's owner, on the main thread, and only as long as this object lives.
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

    /// Reports that the recording cannot go on; only the first time, and not when it is being stopped.
    void giveUp(const RecorderError& reason);
    /// Reports a German sentence about something that is missing from now on, or is back. Logs it, too.
    void notice(const std::string& sentence);
    void log(const std::string& text);
    /// Runs work on a sample; an exception is logged and ends the recording.
    void guard(const std::function<void()>& work);

    /// Main thread: ignores `giveUp` from now on.
    void setStopped() { isStopped_ = true; }
    /// Main thread: reports nothing from now on. For owners whose destructor waits for threads that may still report.
    void silence() { lifetime_.end(); }

    /// Runs work on the main thread, unless this object is destroyed or silenced by then.
    void postToMain(std::function<void()> work);

  private:
    MainLoop& mainLoop_;
    const char* const category_;
    ErrorHandler onError_;    // main thread only
    NoticeHandler onNotice_;  // main thread only
    std::mutex lock_;
    bool gaveUp_ = false;     // guarded by lock_
    bool isStopped_ = false;  // main thread only
    // Main thread only. Shared with posted work, which may run after this object's end.
    Lifetime lifetime_;
    const Lifetime::Watch watch_ = lifetime_.watch();  // any thread
};

}  // namespace lumivastor::capture
