// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/painting/band_workers.h"

#include <new>
#include <system_error>
#include <utility>

#include "base/precondition.h"

namespace lumivastor::imaging {

BandWorkers::BandWorkers(int threads) {
    precondition(threads >= 1, "somebody has to do the work");
    workers_.reserve(static_cast<std::size_t>(threads - 1));
    // Too little memory for a stack, or too many threads: with fewer the picture is the same, only later.
    try {
        for (int thread = 1; thread < threads; ++thread) workers_.emplace_back([this, thread] { serve(thread); });
    } catch (const std::system_error&) {  // NOLINT(bugprone-empty-catch)
    } catch (const std::bad_alloc&) {     // NOLINT(bugprone-empty-catch)
    }
}

BandWorkers::~BandWorkers() {
    {
        const std::lock_guard hold(lock_);
        ending_ = true;
    }
    wake_.notify_all();
    for (std::thread& worker : workers_) worker.join();
}

void BandWorkers::run(int bands, const std::function<void(int, int)>& work) {
    if (workers_.empty()) {
        for (int band = 0; band < bands; ++band) work(band, 0);
        return;
    }
    {
        const std::lock_guard hold(lock_);
        work_ = &work;
        bands_ = bands;
        next_ = 0;
        busy_ = static_cast<int>(workers_.size());
        ++round_;
    }
    wake_.notify_all();
    workOff(work, bands, 0);
    std::exception_ptr failure;
    {
        std::unique_lock hold(lock_);
        done_.wait(hold, [this] { return busy_ == 0; });
        work_ = nullptr;
        failure = std::exchange(failure_, nullptr);
    }
    if (failure) std::rethrow_exception(failure);
}

void BandWorkers::workOff(const std::function<void(int, int)>& work, int bands, int thread) noexcept {
    std::exception_ptr failure;
    try {
        for (int band = next_++; band < bands; band = next_++) work(band, thread);
    } catch (...) {
        failure = std::current_exception();
    }
    // Passed on outside of the `catch`, so that this thread no longer holds the exception.
    if (!failure) return;
    next_ = bands;
    const std::lock_guard hold(lock_);
    if (!failure_) failure_ = std::move(failure);
}

void BandWorkers::serve(int thread) {
    unsigned seen = 0;
    while (true) {
        const std::function<void(int, int)>* work = nullptr;
        int bands = 0;
        {
            std::unique_lock hold(lock_);
            wake_.wait(hold, [&] { return ending_ || round_ != seen; });
            if (ending_) return;
            seen = round_;
            work = work_;
            bands = bands_;
        }
        workOff(*work, bands, thread);
        const std::lock_guard hold(lock_);
        if (--busy_ == 0) done_.notify_one();
    }
}

}  // namespace lumivastor::imaging
