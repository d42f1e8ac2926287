#include "base/serial_queue.h"

#include <future>
#include <utility>

#include "base/precondition.h"
#include "base/thread_name.h"

namespace lumivastor {

SerialQueue::SerialQueue(std::string label) : label_(std::move(label)), thread_([this] { run(); }) {}

SerialQueue::~SerialQueue() {
    {
        const std::scoped_lock guard(lock_);
        ending_ = true;
    }
    wake_.notify_one();
    thread_.join();
}

void SerialQueue::async(std::function<void()> work) {
    {
        const std::scoped_lock guard(lock_);
        waiting_.push_back(std::move(work));
    }
    wake_.notify_one();
}

void SerialQueue::drain() {
    precondition(!isCurrent(), "a serial queue cannot wait for itself");
    std::promise<void> reached;
    async([&reached] { reached.set_value(); });
    reached.get_future().wait();
}

void SerialQueue::run() {
    nameThisThread(label_);
    std::unique_lock guard(lock_);
    for (;;) {
        wake_.wait(guard, [this] { return ending_ || !waiting_.empty(); });
        if (waiting_.empty()) return;
        std::function<void()> work = std::move(waiting_.front());
        waiting_.pop_front();
        guard.unlock();
        work();
        work = nullptr;  // what it captured goes before the lock is taken again
        guard.lock();
    }
}

}  // namespace lumivastor
