// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/main_loop.h"
#include "base/serial_queue.h"
#include "capture/recording/recorder_notifier.h"
#include "capture/recording/recording_job.h"
#include "capture/recording/start_watch.h"

namespace lumivastor::capture {

/// Runs a recorder's start, its periodic checks, and its stop. Everything that waits for devices, encoders or the disk
/// runs on a separate queue, so that the main thread does not block.
///
/// Main thread, unless a function says otherwise. It must be the last member of its recorder, because its work uses the
/// others; the recorder's destructor calls `end` first.
class RecorderRun {
  public:
    struct Step {
        enum class Thread { any, main };
        Thread thread = Thread::any;
        std::string what;  // in German, for `RecordingJob::onSlowStep`; empty for a quick step
        std::function<void()> work;
    };
    struct Start {
        std::vector<Step> steps;
        /// These undo a failed start: first the slow part, on the queue, then the rest, on the main thread.
        std::function<void()> undo;
        std::function<void()> undoOnMain;
    };

    RecorderRun(MainLoop& mainLoop, RecorderNotifier& notifier, std::string queueLabel);
    RecorderRun(const RecorderRun&) = delete;
    RecorderRun& operator=(const RecorderRun&) = delete;

    void onSlowStep(std::function<void(const std::string&)> handler) { startWatch_.onSlowStep(std::move(handler)); }

    /// Runs the steps in order, all on this thread. Throws `RecorderError` after everything is undone.
    void start(const Start& start);
    /// The same with each step on its own thread; see `RecordingJob::start`.
    void start(Start start, RecordingJob::StartCompletion completion);
    /// Sets what the current step is doing from now on, in German. Any thread.
    void nowDoing(std::string what) { startWatch_.step(std::move(what)); }

    /// Calls `check` once a second, until the recording is stopped or its start undone.
    void checkEverySecond(std::function<void()> check);
    /// Runs work on the queue.
    void inBackground(std::function<void()> work) { queue_.async(std::move(work)); }

    /// False when the recorder has been stopped before. From now on there are no checks, and giving up is not reported.
    bool beginStop();
    bool isStopped() const { return isStopped_; }
    /// Runs `work` on the queue and passes its result to the completion; an error passes through `explain` first.
    void finish(std::function<RecordingJob::Stats()> work, std::function<RecorderError(const RecorderError&)> explain,
                RecordingJob::StopCompletion completion);
    /// Instead of `finish`, for a recording that never started or whose start failed.
    void finishNothing(RecordingJob::StopCompletion completion);

    /// Reports nothing from now on, and waits for the work on the queue.
    void end();

  private:
    struct Starting {
        Start start;
        RecordingJob::StartCompletion completion;
    };

    void post(std::size_t index, const std::shared_ptr<const Starting>& starting);
    void run(std::size_t index, const std::shared_ptr<const Starting>& starting);
    void started(Step::Thread thread, const std::shared_ptr<const Starting>& starting);
    void startFailed(Step::Thread thread, const std::shared_ptr<const Starting>& starting, const RecorderError& reason);

    MainLoop& mainLoop_;
    RecorderNotifier& notifier_;
    StartWatch startWatch_;
    std::unique_ptr<MainLoop::Timer> checkTimer_;
    bool isStopped_ = false;
    SerialQueue queue_;  // last: its work uses everything above
};

}  // namespace lumivastor::capture
