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

/// A few threads that share out the numbers from 0 to n - 1 among them, whoever is free taking the next.
class BandWorkers {
  public:
    /// `threads` counts the caller's own; at least 1. Where the system gives fewer, the work is shared by fewer.
    explicit BandWorkers(int threads);
    ~BandWorkers();
    BandWorkers(const BandWorkers&) = delete;
    BandWorkers& operator=(const BandWorkers&) = delete;

    /// Calls `work(band, thread)` once for each band, on the caller's thread (number 0) and the workers', and returns
    /// when all are done. When a call throws, no further band is begun, and once no thread works any more, the first
    /// exception is thrown here. One caller at a time, and not from inside `work`.
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
