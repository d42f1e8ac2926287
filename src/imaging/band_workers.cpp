#include "imaging/band_workers.h"

#include "base/precondition.h"

namespace lumivastor {

BandWorkers::BandWorkers(int threads) {
    precondition(threads >= 1, "somebody has to do the work");
    for (int thread = 1; thread < threads; ++thread) workers_.emplace_back([this, thread] { serve(thread); });
}

BandWorkers::~BandWorkers() {
    {
        const std::lock_guard guard(lock_);
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
        const std::lock_guard guard(lock_);
        work_ = &work;
        bands_ = bands;
        next_ = 0;
        busy_ = static_cast<int>(workers_.size());
        ++round_;
    }
    wake_.notify_all();
    for (int band = next_++; band < bands; band = next_++) work(band, 0);
    std::unique_lock guard(lock_);
    done_.wait(guard, [this] { return busy_ == 0; });
    work_ = nullptr;
}

void BandWorkers::serve(int thread) {
    unsigned seen = 0;
    while (true) {
        const std::function<void(int, int)>* work = nullptr;
        int bands = 0;
        {
            std::unique_lock guard(lock_);
            wake_.wait(guard, [&] { return ending_ || round_ != seen; });
            if (ending_) return;
            seen = round_;
            work = work_;
            bands = bands_;
        }
        for (int band = next_++; band < bands; band = next_++) (*work)(band, thread);
        const std::lock_guard guard(lock_);
        if (--busy_ == 0) done_.notify_one();
    }
}

}  // namespace lumivastor
