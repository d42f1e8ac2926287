// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>

namespace lumivastor::editor {

/// Keeps scrubbing smooth: at most one seek is under way, and of what is asked for meanwhile only the last counts.
/// Times in seconds. Main thread.
class SeekQueue {
  public:
    /// Begins a seek to a time and calls the second parameter once, on the main thread, when it has ended, reached or
    /// not; at once or later, even when the queue is gone.
    using Seek = std::function<void(double seconds, std::function<void()> ended)>;

    explicit SeekQueue(Seek seek);

    void request(double seconds);

    /// Begins what was asked for last although a seek is still under way, which then counts no more: playing is about
    /// to go on from there.
    void hurry();

    /// Whether a seek is under way.
    bool isBusy() const;
    /// Whether another one waits for it.
    bool isWaiting() const;

  private:
    struct State;
    static void runNextIfIdle(const std::shared_ptr<State>& state);
    static void runNext(const std::shared_ptr<State>& state);

    std::shared_ptr<State> state_;
};

}  // namespace lumivastor::editor
