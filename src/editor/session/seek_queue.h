// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>

namespace lumivastor::editor {

/// Keeps scrubbing smooth: at most one seek is under way, and of the requests meanwhile only the last is kept. Times
/// are seconds. Main thread.
class SeekQueue {
  public:
    /// Begins a seek and calls `completion` once, on the main thread, when the seek has ended, successfully or not. The
    /// call may come at once, later, or after the queue is destroyed.
    using Seek = std::function<void(double seconds, std::function<void()> completion)>;

    explicit SeekQueue(Seek seek);

    void request(double seconds);

    /// Begins the waiting request now and ignores the end of the seek that is under way, because playing is about to
    /// continue from the requested time.
    void hurry();

    /// The seek under way has shown something like its frame: from now on the last request overtakes it. So a fast
    /// scrub shows many places, and the place where it rests exactly.
    void letOvertake();

    /// Whether a seek is under way.
    bool isBusy() const;
    /// Whether a request waits for the end of that seek.
    bool isWaiting() const;

  private:
    struct State;
    static void runNextIfIdle(const std::shared_ptr<State>& state);
    static void runNext(const std::shared_ptr<State>& state);

    std::shared_ptr<State> state_;
};

}  // namespace lumivastor::editor
