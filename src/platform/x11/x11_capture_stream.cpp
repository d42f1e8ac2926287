// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/x11_capture_stream.h"

#include <chrono>
#include <utility>

#include "base/host_clock.h"
#include "base/pixel_size.h"
#include "base/precondition.h"
#include "base/thread_name.h"
#include "platform/x11/display_source.h"
#include "platform/x11/window_source.h"

namespace lumivastor::x11 {
namespace {

// Samples without a picture that may wait for the queue, about a second of them. Pictures are bounded by their buffers.
constexpr int kMaximumWaiting = 64;

}  // namespace

X11CaptureStream::X11CaptureStream(std::string displayName, const ScreenScales& environment,
                                   std::shared_ptr<platform::SoundSystem> sound, platform::ContentFilter filter,
                                   const platform::StreamConfiguration& configuration)
    : displayName_(std::move(displayName)),
      environment_(environment),
      filter_(std::move(filter)),
      configuration_(configuration),
      sound_(std::move(sound), configuration) {
    precondition(configuration.width > 0 && configuration.height > 0 && configuration.minimumFrameInterval > 0,
                 "a capture stream has a size and a frame interval");
}

X11CaptureStream::~X11CaptureStream() {
    endThread();
    sound_.stop();
    const BrokenPipeGuard guard;
    source_.reset();
    connection_.reset();
}

void X11CaptureStream::addScreenOutput(SerialQueue& queue, std::function<void(const platform::ScreenSample&)> handler) {
    queue_ = &queue;
    handler_ = std::move(handler);
}

void X11CaptureStream::addSystemAudioOutput(SerialQueue& queue,
                                            std::function<void(const platform::SoundBuffer&)> handler) {
    sound_.addSystemAudioOutput(queue, std::move(handler));
}

void X11CaptureStream::addMicrophoneOutput(SerialQueue& queue,
                                           std::function<void(const platform::SoundBuffer&)> handler) {
    sound_.addMicrophoneOutput(queue, std::move(handler));
}

void X11CaptureStream::onStop(std::function<void(const RecorderError&)> handler) {
    stopped_ = std::move(handler);
}

void X11CaptureStream::onNotice(std::function<void(const std::string&)> handler) {
    sound_.onNotice(handler);
    notice_ = std::move(handler);
}

void X11CaptureStream::onDisplayOrigin(std::function<void(double hostSeconds, Point pixels)> handler) {
    origin_ = std::move(handler);
}

void X11CaptureStream::start() {
    const BrokenPipeGuard guard;
    precondition(!thread_.joinable(), "a capture stream is started once");
    connection_ = std::make_unique<XConnection>(displayName_);
    if (!connection_->hasDamage()) {
        throw RecorderError(
            "Dem Bildschirmserver fehlt die Erweiterung DAMAGE, ohne die sich der Bildschirm nicht aufnehmen lässt.");
    }
    if (!connection_->hasUsualPixels()) {
        throw RecorderError("Der Bildschirm lässt sich nur mit 24 Bit Farbtiefe aufnehmen.");
    }
    source_ = openSource();
    pool_ = std::make_unique<platform::CaptureBufferPool>(PixelSize{configuration_.width, configuration_.height},
                                                          configuration_.queueDepth);
    pending_.add({0, 0, configuration_.width, configuration_.height});
    sound_.start();
    thread_ = std::thread([this] { run(); });
}

std::unique_ptr<PictureSource> X11CaptureStream::openSource() const {
    if (const auto* display = std::get_if<platform::DisplayFilter>(&filter_)) {
        return std::make_unique<DisplaySource>(*connection_, *display, configuration_, environment_);
    }
    return std::make_unique<WindowSource>(*connection_, std::get<platform::WindowFilter>(filter_).window.id,
                                          configuration_);
}

void X11CaptureStream::stop() {
    endThread();
    sound_.stop();
}

void X11CaptureStream::endThread() {
    {
        const std::lock_guard hold(lock_);
        isStopping_ = true;
    }
    wake_.notify_one();
    if (thread_.joinable()) thread_.join();
}

void X11CaptureStream::run() {
    nameThisThread("x11.capture");
    const BrokenPipeGuard guard;
    platform::TickSchedule ticks(hostClockSeconds(), configuration_.minimumFrameInterval);
    while (ended_.empty() && waitUntil(ticks.next())) {
        tick();
        ticks.advance(hostClockSeconds());
    }
    finish();
    if (!ended_.empty() && stopped_) stopped_(RecorderError(ended_));
}

// False when the stream is to stop.
bool X11CaptureStream::waitUntil(double hostSeconds) {
    // The steady clock is the host clock.
    const std::chrono::steady_clock::time_point moment{
        std::chrono::duration_cast<std::chrono::steady_clock::duration>(std::chrono::duration<double>(hostSeconds))};
    std::unique_lock hold(lock_);
    return !wake_.wait_until(hold, moment, [this] { return isStopping_; });
}

// A picture's time is taken before its first request, so it shows everything that was painted before.
void X11CaptureStream::tick() {
    const double now = hostClockSeconds();
    update(now);
    if (auto text = source_->takeNotice(); text && notice_) notice_(*text);
    if (connection_->isBroken()) {
        ended_ = "Die Verbindung zum Bildschirm ist abgerissen.";
    } else if (auto reason = source_->ended()) {
        ended_ = std::move(*reason);
    } else {
        act(&platform::FramePacer::atTick, {now, !pending_.isEmpty(), source_->isHidden(), pool_->canTake()});
    }
}

void X11CaptureStream::update(double now) {
    source_->update(pending_);
    if (const auto origin = source_->takeOrigin(); origin && origin_) origin_(now, *origin);
}

// Repeating the last picture gives the recording its whole length.
void X11CaptureStream::finish() {
    const double now = hostClockSeconds();
    const bool canTake = ended_.empty() && !connection_->isBroken() && pool_->canTake();
    if (canTake) update(now);
    act(&platform::FramePacer::atStop, {now, !pending_.isEmpty(), source_->isHidden(), canTake});
    deliver(platform::FrameStatus::stopped, hostClockSeconds(), nullptr);
}

void X11CaptureStream::act(Decision decision, const platform::FramePacer::Situation& situation) {
    const double now = situation.now;
    switch ((pacer_.*decision)(situation)) {
        case platform::FramePacer::Action::takePicture:
            takePicture(decision, situation);
            break;
        case platform::FramePacer::Action::repeatLast:
            deliver(platform::FrameStatus::complete, now, pool_->last());
            break;
        case platform::FramePacer::Action::tellIdle:
            deliver(platform::FrameStatus::idle, now, nullptr);
            break;
        case platform::FramePacer::Action::tellSuspended:
            deliver(platform::FrameStatus::suspended, now, nullptr);
            break;
        case platform::FramePacer::Action::nothing:
            break;
    }
}

void X11CaptureStream::takePicture(Decision decision, platform::FramePacer::Situation situation) {
    const auto before = pool_->last();
    auto picture = pool_->take(
        pending_, [this](imaging::BgraPremultipliedBuffer& buffer) { return source_->paint(pending_, buffer); });
    if (picture) pending_.clear();
    if (picture && picture != before) {
        deliver(pacer_.taken(situation.now), situation.now, std::move(picture));
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

void X11CaptureStream::deliver(platform::FrameStatus status, double hostSeconds,
                               std::shared_ptr<const imaging::BgraPremultipliedBuffer> image) {
    if (queue_ == nullptr) return;
    if (!image && status != platform::FrameStatus::stopped && *waiting_ >= kMaximumWaiting) return;
    ++*waiting_;
    queue_->async([handler = handler_, waiting = waiting_,
                   sample = platform::ScreenSample{status, hostSeconds, std::move(image)}] {
        handler(sample);
        --*waiting;
    });
}

}  // namespace lumivastor::x11
