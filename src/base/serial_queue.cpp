// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/serial_queue.h"

#include <utility>

#include "base/precondition.h"
#include "base/thread_name.h"

namespace lumivastor {

SerialQueue::SerialQueue(std::string label) : label_(std::move(label)), thread_([this] { run(); }) {}

SerialQueue::~SerialQueue() {
    {
        const std::lock_guard hold(lock_);
        ending_ = true;
    }
    wake_.notify_one();
    thread_.join();
}

void SerialQueue::async(std::function<void()> work) {
    async(std::make_shared<Prepared>(std::move(work)));
}

void SerialQueue::async(std::shared_ptr<Prepared> work) noexcept {
    {
        const std::lock_guard hold(lock_);
        Prepared* const handedOver = work.get();
        (last_ == nullptr ? first_ : last_->next_) = std::move(work);
        last_ = handedOver;
        ++handedOver_;
    }
    wake_.notify_one();
}

void SerialQueue::drain() noexcept {
    precondition(!isCurrent(), "a serial queue cannot wait for itself");
    std::unique_lock hold(lock_);
    ++drains_;
    oneDone_.wait(hold, [this, upTo = handedOver_] { return done_ >= upTo; });
    --drains_;
}

void SerialQueue::run() {
    nameThisThread(label_);
    std::unique_lock hold(lock_);
    for (;;) {
        wake_.wait(hold, [this] { return ending_ || first_ != nullptr; });
        if (first_ == nullptr) return;
        std::shared_ptr<Prepared> work = std::exchange(first_, nullptr);
        first_ = std::exchange(work->next_, nullptr);
        if (first_ == nullptr) last_ = nullptr;
        hold.unlock();
        work->work_();
        work = nullptr;  // what it captured goes before the lock is taken again
        hold.lock();
        ++done_;
        if (drains_ > 0) oneDone_.notify_all();
    }
}

}  // namespace lumivastor
