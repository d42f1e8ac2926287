// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/writing/writer_channel.h"

#include <algorithm>
#include <utility>

#include "base/handled_error.h"
#include "base/precondition.h"

namespace lumivastor::media {

namespace {

// How far one track may run ahead of the slowest. Players read about this much at a time.
constexpr double kLeadSeconds = 1.0;

bool isOver(AssetWriter::Status status) {
    return status == AssetWriter::Status::failed || status == AssetWriter::Status::cancelled;
}

}  // namespace

void WriterShared::fail(const RecorderError& reason, Part part) noexcept {
    {
        const std::lock_guard hold(lock);
        if (isOver(status)) return;
        status = AssetWriter::Status::failed;
        error = reason;
        encoderFailed = part == Part::encoder;
    }
    wakePumps();
}

void WriterShared::wakePumps() noexcept {
    for (const auto& weak : channels) {
        if (const auto channel = weak.lock()) channel->wakePump();
    }
}

WriterChannel::WriterChannel(std::shared_ptr<WriterShared> shared, std::string label, int capacity,
                             int realTimeCapacity, std::unique_ptr<TrackEncoder> encoder)
    : shared_(std::move(shared)),
      capacity_(capacity),
      realTimeCapacity_(realTimeCapacity),
      encoder_(std::move(encoder)),
      encoderFinish_(std::make_shared<SerialQueue::Prepared>(
          [this] { runGuarded([this](MovieSink& sink) { encoder_->finish(sink); }); })),
      thread_(std::move(label)) {}

void WriterChannel::setRealTime(bool realTime) {
    const std::lock_guard hold(shared_->lock);
    realTime_ = realTime;
}

bool WriterChannel::isReady() const {
    const std::lock_guard hold(shared_->lock);
    return isReadyLocked();
}

bool WriterChannel::isReadyLocked() const {
    if (isOver(shared_->status)) return true;
    if (shared_->status != AssetWriter::Status::writing || !shared_->sessionStarted || finished_) return false;
    if (waiting_ >= (realTime_ ? realTimeCapacity_ : capacity_)) return false;
    if (realTime_) return true;
    return std::all_of(shared_->channels.begin(), shared_->channels.end(), [this](const auto& weak) {
        const auto other = weak.lock();
        if (!other || other.get() == this || other->finished_ || !other->fed_ || other->realTime_) return true;
        return reached_ <= other->reached_ + kLeadSeconds;
    });
}

void WriterChannel::request(SerialQueue& queue, std::function<void()> pump) {
    auto kept = std::make_shared<const std::function<void()>>(std::move(pump));
    auto call = std::make_shared<SerialQueue::Prepared>([weak = weak_from_this()] {
        if (const auto self = weak.lock()) self->runPump();
    });
    {
        const std::lock_guard hold(shared_->lock);
        precondition(pump_ == nullptr && shared_->sessionStarted, "data is requested once, after the session's start");
        if (finished_) return;
        pumpQueue_ = &queue;
        pump_ = std::move(kept);
        pumpCall_ = std::move(call);
        fed_ = true;
    }
    wakePump();
}

void WriterChannel::wakePump() noexcept {
    SerialQueue* queue = nullptr;
    std::shared_ptr<SerialQueue::Prepared> call;
    {
        const std::lock_guard hold(shared_->lock);
        if (pump_ == nullptr || finished_ || pumpCalled_ || !isReadyLocked()) return;
        pumpCalled_ = true;
        queue = pumpQueue_;
        call = pumpCall_;
    }
    queue->async(std::move(call));
}

void WriterChannel::runPump() {
    std::shared_ptr<const std::function<void()>> pump;
    {
        const std::lock_guard hold(shared_->lock);
        if (!finished_) pump = pump_;
    }
    if (pump) (*pump)();
    pump = nullptr;
    {
        const std::lock_guard hold(shared_->lock);
        pumpCalled_ = false;
    }
    wakePump();
}

bool WriterChannel::enqueue(double time, std::function<void(MovieSink&)> work) {
    auto item = std::make_shared<SerialQueue::Prepared>([this, work = std::move(work)]() mutable {
        runGuarded(work);
        // Its memory is free before the next one is requested.
        work = nullptr;
        {
            const std::lock_guard hold(shared_->lock);
            --waiting_;
        }
        wakePump();
    });
    {
        const std::lock_guard hold(shared_->lock);
        if (isOver(shared_->status)) return false;
        precondition(shared_->sessionStarted && !finished_, "samples come between the session's start and the end");
        precondition(waiting_ < (realTime_ ? realTimeCapacity_ : capacity_), "only ready inputs are appended to");
        ++waiting_;
        fed_ = true;
        reached_ = std::max(reached_, time);
    }
    thread_.async(std::move(item));
    // The others may have waited for this one.
    for (const auto& weak : shared_->channels) {
        const auto other = weak.lock();
        if (other && other.get() != this) other->wakePump();
    }
    return true;
}

void WriterChannel::markAsFinished() noexcept {
    std::shared_ptr<const std::function<void()>> released;  // the pump's captures are destroyed without the lock
    {
        const std::lock_guard hold(shared_->lock);
        if (finished_) return;
        finished_ = true;
        released = std::exchange(pump_, nullptr);
    }
    thread_.async(encoderFinish_);
    shared_->wakePumps();
}

template <typename Work>
void WriterChannel::runGuarded(const Work& work) noexcept {
    MovieSink* sink = nullptr;
    {
        const std::lock_guard hold(shared_->lock);
        if (shared_->status == AssetWriter::Status::writing) sink = shared_->sink.get();
    }
    if (sink == nullptr) return;
    try {
        work(*sink);
    } catch (const EncoderFailure& error) {
        shared_->fail(error, WriterShared::Part::encoder);
    } catch (...) {
        shared_->fail(handledError("Der Film konnte nicht geschrieben werden"));
    }
}

}  // namespace lumivastor::media
