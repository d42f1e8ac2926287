// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pictures/paced_capture_stream.h"

#include <chrono>
#include <cmath>
#include <utility>

#include "base/host_clock.h"
#include "base/pixel_size.h"
#include "base/precondition.h"
#include "base/thread_name.h"

namespace lumivastor::platform {
namespace {

// Samples without a picture that may wait for the queue, about a second of them. Pictures are bounded by their buffers.
constexpr int kMaximumWaiting = 64;

// How long the end waits for an encoder that is behind, in seconds, and how often it looks.
constexpr double kPatience = 1.0;
constexpr std::chrono::milliseconds kLook{5};

}  // namespace

PacedCaptureStream::PacedCaptureStream(const char* threadName, OpenSource openSource,
                                       std::shared_ptr<SoundSystem> sound, const StreamConfiguration& configuration)
    : threadName_(threadName),
      openSource_(std::move(openSource)),
      configuration_(configuration),
      sound_(std::move(sound), configuration) {
    precondition(configuration.width > 0 && configuration.height > 0 && configuration.minimumFrameInterval > 0,
                 "a capture stream has a size and a frame interval");
}

PacedCaptureStream::~PacedCaptureStream() {
    endThread();
    sound_.stop();
}

void PacedCaptureStream::addScreenOutput(SerialQueue& queue, std::function<void(const ScreenSample&)> handler) {
    queue_ = &queue;
    handler_ = std::move(handler);
}

void PacedCaptureStream::addSystemAudioOutput(SerialQueue& queue, std::function<void(const SoundBuffer&)> handler) {
    sound_.addSystemAudioOutput(queue, std::move(handler));
}

void PacedCaptureStream::addMicrophoneOutput(SerialQueue& queue, std::function<void(const SoundBuffer&)> handler) {
    sound_.addMicrophoneOutput(queue, std::move(handler));
}

void PacedCaptureStream::onStop(std::function<void(const RecorderError&)> handler) {
    stopped_ = std::move(handler);
}

void PacedCaptureStream::onNotice(std::function<void(const std::string&)> handler) {
    sound_.onNotice(handler);
    notice_ = std::move(handler);
}

void PacedCaptureStream::onDisplayOrigin(std::function<void(double hostSeconds, Point pixels)> handler) {
    origin_ = std::move(handler);
}

void PacedCaptureStream::start() {
    precondition(!thread_.joinable(), "a capture stream is started once");
    source_ = openSource_();
    source_->onArrival([this] { contentArrived(); });
    pool_ = std::make_unique<CaptureBufferPool>(PixelSize{configuration_.width, configuration_.height},
                                                configuration_.queueDepth);
    pending_.add({0, 0, configuration_.width, configuration_.height});
    sound_.start();
    thread_ = std::thread([this] { run(); });
}

void PacedCaptureStream::stop() {
    endThread();
    sound_.stop();
}

void PacedCaptureStream::endThread() {
    {
        const std::lock_guard hold(lock_);
        isStopping_ = true;
    }
    wake_.notify_one();
    if (thread_.joinable()) thread_.join();
}

void PacedCaptureStream::run() {
    nameThisThread(threadName_);
    const double start = hostClockSeconds();
    TickSchedule ticks(start, configuration_.minimumFrameInterval);
    MissedIntervals missed(start, configuration_.minimumFrameInterval);
    const auto slot = [&](double now) { return std::floor((now - start) / configuration_.minimumFrameInterval); };
    while (ended_.empty()) {
        const Wake wake = waitUntil(ticks.next());
        if (wake == Wake::stop) break;
        const double now = hostClockSeconds();
        // What arrives in an interval that has a picture waits for the next tick, where the newest is taken.
        if (wake == Wake::arrival && pool_->last() && slot(now) <= slot(lastTakenAt_)) continue;
        const double taken = lastTakenAt_;
        missed.begin(now, wake == Wake::tick);
        tick();
        const double end = hostClockSeconds();
        missed.end(end, taken > 0 && lastTakenAt_ != taken);
        picturesMissed_ = missed.count();
        if (wake == Wake::tick) ticks.advance(end);
    }
    finish();
    if (!ended_.empty() && stopped_) stopped_(RecorderError(ended_));
}

PacedCaptureStream::Wake PacedCaptureStream::waitUntil(double hostSeconds) {
    // The steady clock is the host clock.
    const std::chrono::steady_clock::time_point moment{
        std::chrono::duration_cast<std::chrono::steady_clock::duration>(std::chrono::duration<double>(hostSeconds))};
    std::unique_lock hold(lock_);
    wake_.wait_until(hold, moment, [this] { return isStopping_ || hasArrival_; });
    if (isStopping_) return Wake::stop;
    return std::exchange(hasArrival_, false) ? Wake::arrival : Wake::tick;
}

void PacedCaptureStream::contentArrived() {
    {
        const std::lock_guard hold(lock_);
        hasArrival_ = true;
    }
    wake_.notify_one();
}

// Without a time of the content's own, a picture's time is taken before its first request: it shows everything that was
// painted before.
void PacedCaptureStream::tick() {
    const double now = hostClockSeconds();
    update(now);
    if (auto text = source_->takeNotice(); text && notice_) notice_(*text);
    if (auto reason = source_->ended()) {
        ended_ = std::move(*reason);
    } else {
        act(&FramePacer::atTick, {now, !pending_.isEmpty(), source_->isHidden(), pool_->canTake()});
    }
}

void PacedCaptureStream::update(double now) {
    source_->update(pending_);
    if (const auto origin = source_->takeOrigin(); origin && origin_) origin_(now, *origin);
}

// The last change is still taken. Repeating the last picture gives the recording its whole length.
void PacedCaptureStream::finish() {
    const double now = hostClockSeconds();
    const bool canPaint = (ended_.empty() && !source_->ended()) || source_->outlastsItsEnd();
    if (canPaint) {
        update(now);
        if (!pending_.isEmpty()) awaitRoom();
    }
    const bool canTake = canPaint && pool_->canTake();
    act(&FramePacer::atStop, {now, !pending_.isEmpty(), source_->isHidden(), canTake});
    deliver({FrameStatus::stopped, hostClockSeconds(), nullptr});
}

// While all pictures are with clients, a change has no room. They give one back with each that is encoded.
void PacedCaptureStream::awaitRoom() {
    const double deadline = hostClockSeconds() + kPatience;
    while (!pool_->canTake() && hostClockSeconds() < deadline) std::this_thread::sleep_for(kLook);
}

void PacedCaptureStream::act(Decision decision, const FramePacer::Situation& situation) {
    const double now = situation.now;
    switch ((pacer_.*decision)(situation)) {
        case FramePacer::Action::takePicture:
            takePicture(decision, situation);
            break;
        case FramePacer::Action::repeatLast:
            lastSeconds_ = now;
            deliver({FrameStatus::complete, now, pool_->last(), imaging::DamageArea()});
            break;
        case FramePacer::Action::tellIdle:
            deliver({FrameStatus::idle, now, nullptr});
            break;
        case FramePacer::Action::tellSuspended:
            deliver({FrameStatus::suspended, now, nullptr});
            break;
        case FramePacer::Action::nothing:
            break;
    }
}

void PacedCaptureStream::takePicture(Decision decision, FramePacer::Situation situation) {
    const auto before = pool_->last();
    auto picture = pool_->take(
        pending_, [this](imaging::BgraPremultipliedBuffer& buffer) { return source_->paint(pending_, buffer); });
    imaging::KnownDamage damage;
    if (picture) {
        if (before) damage = pending_;
        pending_.clear();
    }
    if (picture && picture != before) {
        lastTakenAt_ = situation.now;
        lastSeconds_ = pictureSeconds(situation.now);
        deliver({pacer_.taken(lastSeconds_), lastSeconds_, std::move(picture), std::move(damage)});
        return;
    }
    if (picture) {
        // Repainted without a change.
        situation.changed = false;
    } else {
        // A window has gone or the screen has shrunk between update and request. The next update reports it; until then
        // the last picture stays.
        situation.hidden = true;
    }
    act(decision, situation);
}

double PacedCaptureStream::pictureSeconds(double now) const {
    const auto shown = source_->contentSeconds();
    // Times ascend: the last picture may have been repeated since. Content may be newer than the tick that it was
    // painted for, on a busy machine by a tenth of a second.
    return shown && *shown > lastSeconds_ && *shown <= hostClockSeconds() ? *shown : now;
}

void PacedCaptureStream::deliver(ScreenSample sample) {
    if (queue_ == nullptr) return;
    if (!sample.image && sample.status != FrameStatus::stopped && *waiting_ >= kMaximumWaiting) return;
    ++*waiting_;
    queue_->async([handler = handler_, waiting = waiting_, sample = std::move(sample)] {
        handler(sample);
        --*waiting;
    });
}

}  // namespace lumivastor::platform
