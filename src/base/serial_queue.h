// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

namespace lumivastor {

/// Runs work items one after the other, in the order of the calls, on its own thread, which is named after the label.
/// The queue is unbounded; live sources must limit what they put into it.
class SerialQueue {
  public:
    /// A work item whose memory is allocated already, so that posting it cannot fail. It may be posted again once it
    /// runs or has run, not while it waits.
    class Prepared {
      public:
        explicit Prepared(std::function<void()> work) : work_(std::move(work)) {}

      private:
        friend class SerialQueue;
        std::function<void()> work_;
        std::shared_ptr<Prepared> next_;  // while it waits; guarded by the queue's lock
    };

    /// Throws std::system_error when no thread can be started.
    explicit SerialQueue(std::string label);
    /// Runs all waiting items, then ends the thread.
    ~SerialQueue();
    SerialQueue(const SerialQueue&) = delete;
    SerialQueue& operator=(const SerialQueue&) = delete;

    const std::string& label() const { return label_; }

    /// Posts a work item and returns at once. A work item must not throw. Throws std::bad_alloc, and posts nothing,
    /// when memory is short. Any thread.
    void async(std::function<void()> work);
    void async(std::shared_ptr<Prepared> work) noexcept;

    /// Returns when all items posted before the call have run. Allocates no memory. Any thread but the queue's own.
    void drain() noexcept;

    bool isCurrent() const { return std::this_thread::get_id() == thread_.get_id(); }

  private:
    void run();

    const std::string label_;
    std::mutex lock_;
    std::condition_variable wake_;
    std::condition_variable oneDone_;
    std::shared_ptr<Prepared> first_;  // guarded by lock_; head of the list of waiting items
    Prepared* last_ = nullptr;         // guarded by lock_
    std::uint64_t handedOver_ = 0;     // guarded by lock_
    std::uint64_t done_ = 0;           // guarded by lock_
    int drains_ = 0;                   // guarded by lock_; callers that wait for oneDone_
    bool ending_ = false;              // guarded by lock_
    std::thread thread_;               // last: it uses everything above
};

}  // namespace lumivastor
