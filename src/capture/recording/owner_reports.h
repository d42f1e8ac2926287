// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "base/lifetime.h"
#include "base/main_loop.h"
#include "base/recorder_error.h"

namespace lumivastor::capture {

/// Delivers recorder events to the owner on the main thread; none after destruction. Its functions may be called on any
/// thread.
class OwnerReports {
  public:
    using ErrorCallback = std::function<void(const RecorderError&)>;
    using NoticeCallback = std::function<void(const std::string&)>;

    /// `category` is that of notices in the log. The callbacks are the owner's to set and to change, on the main
    /// thread; they may destroy what holds them and this object.
    OwnerReports(MainLoop& mainLoop, const char* category, const ErrorCallback& onError,
                 const NoticeCallback& onNotice);
    ~OwnerReports() { silence(); }
    OwnerReports(const OwnerReports&) = delete;
    OwnerReports& operator=(const OwnerReports&) = delete;

    /// Tells that the recording cannot go on; the first time only, and not once it is being stopped.
    void giveUp(const RecorderError& reason);
    /// Tells a German sentence about something that is missing from now on, or is back.
    void notice(const std::string& sentence);

    /// Main thread: what comes later about giving up is old news.
    void setStopped() { isStopped_ = true; }
    /// Main thread: nothing is told from now on. For owners whose destructor waits for threads that may still tell.
    void silence() { lifetime_.end(); }

    /// Runs work there, unless this object is gone or silenced by then.
    void onMain(std::function<void()> work);

  private:
    MainLoop& mainLoop_;
    const char* const category_;
    const ErrorCallback& onError_;
    const NoticeCallback& onNotice_;
    std::mutex lock_;
    bool gaveUp_ = false;     // guarded by lock_
    bool isStopped_ = false;  // main thread only
    // Main thread only. Shared with work that is on its way there and may come later than this object's end.
    Lifetime lifetime_;
    const Lifetime::Watch watch_ = lifetime_.watch();  // any thread
};

}  // namespace lumivastor::capture
