// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <condition_variable>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace lumivastor::imaging {

/// A few threads that share the numbers from 0 to n - 1: each free thread takes the next one.
class BandWorkers {
  public:
    /// `threads` includes the caller's own; at least 1. If the system starts fewer, fewer share the work.
    explicit BandWorkers(int threads);
    ~BandWorkers();
    BandWorkers(const BandWorkers&) = delete;
    BandWorkers& operator=(const BandWorkers&) = delete;

    /// Calls `work(band, thread)` once for each band, on the caller's thread (number 0) and the workers', and returns
    /// when all calls have returned. After an exception no further band begins; when all threads are idle, the first
    /// exception is thrown here. One caller at a time; `work` must not call this.
    void run(int bands, const std::function<void(int band, int thread)>& work);

  private:
    void serve(int thread);
    void workOff(const std::function<void(int, int)>& work, int bands, int thread) noexcept;

    std::mutex lock_;
    std::condition_variable wake_;
    std::condition_variable done_;
    const std::function<void(int, int)>* work_ = nullptr;  // guarded by lock_
    int bands_ = 0;                                        // guarded by lock_
    unsigned round_ = 0;                                   // guarded by lock_
    int busy_ = 0;                                         // guarded by lock_
    std::exception_ptr failure_;                           // guarded by lock_; the first of this round
    bool ending_ = false;                                  // guarded by lock_
    std::atomic<int> next_{0};
    std::vector<std::thread> workers_;  // last: they use everything above
};

}  // namespace lumivastor::imaging
