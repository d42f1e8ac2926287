// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/recorder_run.h"

#include "base/handled_error.h"

namespace lumivastor::capture {

namespace {

// Running out of space and a failing writer are rare enough for this interval.
constexpr double kCheckSeconds = 1.0;
constexpr const char* kUnexpected = "Unerwarteter Fehler";

}  // namespace

RecorderRun::RecorderRun(MainLoop& mainLoop, RecorderNotifier& notifier, std::string queueLabel)
    : mainLoop_(mainLoop), notifier_(notifier), startWatch_(mainLoop), queue_(std::move(queueLabel)) {}

void RecorderRun::end() {
    notifier_.silence();
    checkTimer_.reset();
    queue_.drain();
}

// Starting

void RecorderRun::start(const Start& start) {
    try {
        for (const Step& step : start.steps) step.work();
    } catch (...) {
        const RecorderError error = handledError(kUnexpected);
        checkTimer_.reset();
        start.undo();
        start.undoOnMain();
        throw error;
    }
}

void RecorderRun::start(Start start, RecordingJob::StartCompletion completion) {
    startWatch_.begin();
    post(0, std::make_shared<const Starting>(Starting{std::move(start), std::move(completion)}));
}

// Passes a step, and the following steps of the same thread, to that thread.
void RecorderRun::post(std::size_t index, const std::shared_ptr<const Starting>& starting) {
    const auto work = [this, index, starting] { run(index, starting); };
    if (starting->start.steps[index].thread == Step::Thread::main) {
        notifier_.postToMain(work);
    } else {
        queue_.async(work);
    }
}

void RecorderRun::run(std::size_t index, const std::shared_ptr<const Starting>& starting) {
    const std::vector<Step>& steps = starting->start.steps;
    const Step::Thread thread = steps[index].thread;
    try {
        // In one piece of work, so that `end` waits for all of them.
        for (; index < steps.size() && steps[index].thread == thread; ++index) {
            startWatch_.step(steps[index].what);
            steps[index].work();
        }
    } catch (...) {
        startFailed(thread, starting, handledError(kUnexpected));
        return;
    }
    if (index < steps.size()) {
        post(index, starting);
    } else {
        started(thread, starting);
    }
}

void RecorderRun::started(Step::Thread thread, const std::shared_ptr<const Starting>& starting) {
    const auto tell = [this, starting] {
        startWatch_.end();
        starting->completion(std::nullopt);
    };
    if (thread == Step::Thread::main) {
        tell();
    } else {
        notifier_.postToMain(tell);
    }
}

void RecorderRun::startFailed(Step::Thread thread, const std::shared_ptr<const Starting>& starting,
                              const RecorderError& reason) {
    const auto undo = [this, starting, reason] {
        starting->start.undo();
        notifier_.postToMain([this, starting, reason] {
            startWatch_.end();
            checkTimer_.reset();
            starting->start.undoOnMain();
            starting->completion(reason);
        });
    };
    if (thread == Step::Thread::main) {
        queue_.async(undo);
    } else {
        undo();
    }
}

// While it runs

void RecorderRun::checkEverySecond(std::function<void()> check) {
    checkTimer_ = mainLoop_.every(kCheckSeconds, std::move(check));
}

// Stopping

bool RecorderRun::beginStop() {
    if (std::exchange(isStopped_, true)) return false;
    notifier_.setStopped();
    checkTimer_.reset();
    return true;
}

void RecorderRun::finish(std::function<RecordingJob::Stats()> work,
                         std::function<RecorderError(const RecorderError&)> explain,
                         RecordingJob::StopCompletion completion) {
    queue_.async([this, work = std::move(work), explain = std::move(explain), completion = std::move(completion)] {
        RecordingJob::Outcome outcome;
        try {
            outcome = work();
        } catch (...) {
            outcome = explain(handledError(kUnexpected));
        }
        // Not `postToMain`: the owner gets the outcome even if the recorder is destroyed meanwhile.
        mainLoop_.async([completion, outcome = std::move(outcome)] { completion(outcome); });
    });
}

void RecorderRun::finishNothing(RecordingJob::StopCompletion completion) {
    mainLoop_.async([completion = std::move(completion)] { completion(RecorderError("Es lief keine Aufnahme.")); });
}

}  // namespace lumivastor::capture
