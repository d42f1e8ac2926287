#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace lumivastor {

/// Runs work items one after the other, in the order in which they were handed over, on a thread of its own that
/// carries the queue's label as its name. Unbounded: whoever feeds it from a live source bounds it there.
class SerialQueue {
  public:
    explicit SerialQueue(std::string label);
    /// Runs everything still waiting, then ends the thread.
    ~SerialQueue();
    SerialQueue(const SerialQueue&) = delete;
    SerialQueue& operator=(const SerialQueue&) = delete;

    const std::string& label() const { return label_; }

    /// Hands over a work item and returns at once. Any thread. A work item must not throw.
    void async(std::function<void()> work);

    /// Returns when everything handed over before has run. Any thread but the queue's own.
    void drain();

    bool isCurrent() const { return std::this_thread::get_id() == thread_.get_id(); }

  private:
    void run();

    const std::string label_;
    std::mutex lock_;
    std::condition_variable wake_;
    std::deque<std::function<void()>> waiting_;  // guarded by lock_
    bool ending_ = false;                        // guarded by lock_
    std::thread thread_;                         // last: it uses everything above
};

}  // namespace lumivastor
