// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/synthetic/synthetic_desktop.h"

#include <algorithm>
#include <condition_variable>
#include <map>
#include <mutex>
#include <utility>

namespace lumivastor::synthetic {
namespace {

template <typename T>
struct Output {
    SerialQueue* queue = nullptr;
    std::function<void(const T&)> handler;
};

// One monitor's handler and its thread. Shared, because it may end while an event is on its way.
struct Watcher {
    SerialQueue queue{"synthetic.pointer"};
    platform::PointerEventHandler handler;
};

struct StreamState {
    Output<platform::ScreenSample> screen;
    Output<platform::SoundBuffer> systemAudio;
    Output<platform::SoundBuffer> microphone;
    std::function<void(const RecorderError&)> onStop;
    std::function<void(const std::string&)> onNotice;
    std::function<void(double, Point)> onDisplayOrigin;
    bool isRunning = false;
};

template <typename T>
void deliver(const Output<T>& output, const T& value) {
    if (output.queue == nullptr) return;
    output.queue->async([handler = output.handler, value] { handler(value); });
    output.queue->drain();
}

}  // namespace

struct SyntheticDesktop::State {
    mutable std::mutex lock;
    // Everything below is guarded by the lock, which is never held while a handler runs.
    platform::ShareableContent content;
    std::exception_ptr contentError;
    std::optional<RecorderError> startError;
    std::optional<RecorderError> stopError;
    std::optional<platform::SystemCursor> cursor;
    std::optional<RecorderError> cursorError;
    std::optional<platform::ContentPicker::Request> openPick;
    std::optional<PickAnswer> pickAnswer;
    bool isGrantHeld = false;
    std::optional<imaging::BgraPremultipliedBuffer> stillPicture;
    std::condition_variable_any pickAnswered;
    int releaseCount = 0;
    std::optional<Point> pointerLocation;
    std::map<std::uint32_t, Rect> windowFrames;
    bool canWatchPointer = true;
    platform::PointerKnowledge pointerKnowledge = platform::PointerKnowledge::complete;
    std::int64_t picturesMissed = 0;
    std::function<void()> atStart;
    std::function<void()> atStop;
    std::shared_ptr<StreamState> stream;  // the one that was made last
    std::optional<platform::ContentFilter> filter;
    std::optional<platform::StreamConfiguration> configuration;
    std::optional<platform::PointSpace> monitorSpace;
    std::vector<std::shared_ptr<Watcher>> watchers;
    std::vector<std::string> calls;

    // What the last stream is set up with, when it runs.
    std::optional<StreamState> running() const {
        const std::lock_guard hold(lock);
        if (!stream || !stream->isRunning) return std::nullopt;
        return *stream;
    }
};

class SyntheticDesktop::Stream : public platform::CaptureStream {
  public:
    Stream(std::shared_ptr<State> desktop, std::shared_ptr<StreamState> own)
        : desktop_(std::move(desktop)), own_(std::move(own)) {}
    ~Stream() override {
        const std::lock_guard hold(desktop_->lock);
        own_->isRunning = false;
    }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    void addScreenOutput(SerialQueue& queue, std::function<void(const platform::ScreenSample&)> handler) override {
        const std::lock_guard hold(desktop_->lock);
        own_->screen = {&queue, std::move(handler)};
    }
    void addSystemAudioOutput(SerialQueue& queue, std::function<void(const platform::SoundBuffer&)> handler) override {
        const std::lock_guard hold(desktop_->lock);
        own_->systemAudio = {&queue, std::move(handler)};
    }
    void addMicrophoneOutput(SerialQueue& queue, std::function<void(const platform::SoundBuffer&)> handler) override {
        const std::lock_guard hold(desktop_->lock);
        own_->microphone = {&queue, std::move(handler)};
    }
    void onStop(std::function<void(const RecorderError&)> handler) override {
        const std::lock_guard hold(desktop_->lock);
        own_->onStop = std::move(handler);
    }
    void onNotice(std::function<void(const std::string&)> handler) override {
        const std::lock_guard hold(desktop_->lock);
        own_->onNotice = std::move(handler);
    }
    void onDisplayOrigin(std::function<void(double hostSeconds, Point pixels)> handler) override {
        const std::lock_guard hold(desktop_->lock);
        own_->onDisplayOrigin = std::move(handler);
    }

    void start() override {
        std::function<void()> work;
        {
            const std::lock_guard hold(desktop_->lock);
            desktop_->calls.emplace_back("startStream");
            if (desktop_->startError) throw RecorderError(*desktop_->startError);
            own_->isRunning = true;
            work = desktop_->atStart;
        }
        if (work) work();
    }

    void stop() override {
        std::function<void()> work;
        {
            const std::lock_guard hold(desktop_->lock);
            desktop_->calls.emplace_back("stopStream");
            if (desktop_->stopError) {
                own_->isRunning = false;
                throw RecorderError(*desktop_->stopError);
            }
            if (own_->isRunning) work = desktop_->atStop;
        }
        if (work) work();
        const std::lock_guard hold(desktop_->lock);
        own_->isRunning = false;
    }

    std::int64_t picturesMissed() const override {
        const std::lock_guard hold(desktop_->lock);
        return desktop_->picturesMissed;
    }

  private:
    const std::shared_ptr<State> desktop_;
    const std::shared_ptr<StreamState> own_;
};

class SyntheticDesktop::Monitor : public platform::PointerMonitor {
  public:
    Monitor(std::shared_ptr<State> desktop, std::shared_ptr<Watcher> watcher)
        : desktop_(std::move(desktop)), watcher_(std::move(watcher)) {}
    ~Monitor() override {
        {
            const std::lock_guard hold(desktop_->lock);
            std::erase(desktop_->watchers, watcher_);
            desktop_->calls.emplace_back("endMonitor");
        }
        watcher_->queue.drain();
    }
    Monitor(const Monitor&) = delete;
    Monitor& operator=(const Monitor&) = delete;

  private:
    const std::shared_ptr<State> desktop_;
    const std::shared_ptr<Watcher> watcher_;
};

SyntheticDesktop::SyntheticDesktop() : state_(std::make_shared<State>()) {}

void SyntheticDesktop::setContent(platform::ShareableContent content) {
    const std::lock_guard hold(state_->lock);
    state_->content = std::move(content);
}

class SyntheticDesktop::Picker final : public platform::ContentPicker {
  public:
    Picker(std::shared_ptr<State> desktop, const Offer& offer) : desktop_(std::move(desktop)), offer_(offer) {}

    Offer offer() override { return offer_; }

    std::optional<Content> pick(const Request& request, std::stop_token stop) override {
        std::unique_lock hold(desktop_->lock);
        desktop_->openPick = request;
        desktop_->pickAnswer.reset();
        const bool isAnswered =
            desktop_->pickAnswered.wait(hold, stop, [this] { return desktop_->pickAnswer.has_value(); });
        desktop_->openPick.reset();
        if (!isAnswered) return std::nullopt;
        const PickAnswer answer = *std::exchange(desktop_->pickAnswer, std::nullopt);
        if (const auto* error = std::get_if<RecorderError>(&answer)) throw RecorderError(*error);
        if (const auto* error = std::get_if<std::exception_ptr>(&answer)) std::rethrow_exception(*error);
        desktop_->content = {};
        desktop_->isGrantHeld = true;
        if (const auto* display = std::get_if<platform::Display>(&answer)) {
            desktop_->content.displays = {*display};
            desktop_->content.mainDisplayID = display->id;
            return *display;
        }
        const auto& window = std::get<platform::Window>(answer);
        desktop_->content.displays = {{window.displayID, "", window.frame, 1}};
        desktop_->content.mainDisplayID = window.displayID;
        desktop_->content.windows = {window};
        return window;
    }

    bool holdsGrant() override {
        const std::lock_guard hold(desktop_->lock);
        return desktop_->isGrantHeld;
    }

    std::optional<imaging::BgraPremultipliedBuffer> stillPicture(double) override {
        const std::lock_guard hold(desktop_->lock);
        if (!desktop_->stillPicture) return std::nullopt;
        imaging::BgraPremultipliedBuffer copy(desktop_->stillPicture->width(), desktop_->stillPicture->height());
        for (int y = 0; y < copy.height(); ++y) {
            std::copy_n(desktop_->stillPicture->row(y), static_cast<std::size_t>(copy.width()) * 4, copy.row(y));
        }
        return copy;
    }

    void release() override {
        const std::lock_guard hold(desktop_->lock);
        desktop_->isGrantHeld = false;
        ++desktop_->releaseCount;
    }

  private:
    const std::shared_ptr<State> desktop_;
    const Offer offer_;
};

SyntheticDesktop::~SyntheticDesktop() = default;

void SyntheticDesktop::setPicker(const platform::ContentPicker::Offer& offer) {
    picker_ = std::make_unique<Picker>(state_, offer);
}

void SyntheticDesktop::answerPick(PickAnswer answer) {
    const std::lock_guard hold(state_->lock);
    state_->pickAnswer = std::move(answer);
    state_->pickAnswered.notify_all();
}

void SyntheticDesktop::setStillPicture(std::optional<imaging::BgraPremultipliedBuffer> picture) {
    const std::lock_guard hold(state_->lock);
    state_->stillPicture = std::move(picture);
}

void SyntheticDesktop::endSharing() {
    const std::lock_guard hold(state_->lock);
    state_->isGrantHeld = false;
}

std::optional<platform::ContentPicker::Request> SyntheticDesktop::openPick() const {
    const std::lock_guard hold(state_->lock);
    return state_->openPick;
}

int SyntheticDesktop::releaseCount() const {
    const std::lock_guard hold(state_->lock);
    return state_->releaseCount;
}

platform::ContentPicker* SyntheticDesktop::contentPicker() {
    return picker_.get();
}

void SyntheticDesktop::failContent(const std::optional<RecorderError>& error) {
    failContent(error ? std::make_exception_ptr(*error) : std::exception_ptr());
}

void SyntheticDesktop::failContent(std::exception_ptr error) {
    const std::lock_guard hold(state_->lock);
    state_->contentError = std::move(error);
}

void SyntheticDesktop::setCursor(std::optional<platform::SystemCursor> cursor) {
    const std::lock_guard hold(state_->lock);
    state_->cursor = std::move(cursor);
}

void SyntheticDesktop::failCursor(std::optional<RecorderError> error) {
    const std::lock_guard hold(state_->lock);
    state_->cursorError = std::move(error);
}

void SyntheticDesktop::setPointerLocation(std::optional<Point> location) {
    const std::lock_guard hold(state_->lock);
    state_->pointerLocation = location;
}

void SyntheticDesktop::setWindowFrame(std::uint32_t windowID, std::optional<Rect> frame) {
    const std::lock_guard hold(state_->lock);
    if (frame) {
        state_->windowFrames[windowID] = *frame;
    } else {
        state_->windowFrames.erase(windowID);
    }
}

void SyntheticDesktop::setPointerKnowledge(platform::PointerKnowledge knowledge) {
    const std::lock_guard hold(state_->lock);
    state_->pointerKnowledge = knowledge;
}

void SyntheticDesktop::setPointerCanBeWatched(bool can) {
    const std::lock_guard hold(state_->lock);
    state_->canWatchPointer = can;
}

void SyntheticDesktop::emitScreen(const platform::ScreenSample& sample) {
    if (const auto stream = state_->running()) deliver(stream->screen, sample);
}

void SyntheticDesktop::emitSystemAudio(const platform::SoundBuffer& sound) {
    if (const auto stream = state_->running()) deliver(stream->systemAudio, sound);
}

void SyntheticDesktop::emitMicrophone(const platform::SoundBuffer& sound) {
    if (const auto stream = state_->running()) deliver(stream->microphone, sound);
}

void SyntheticDesktop::setPicturesMissed(std::int64_t count) {
    const std::lock_guard hold(state_->lock);
    state_->picturesMissed = count;
}

void SyntheticDesktop::emitStop(const RecorderError& error) {
    std::function<void(const RecorderError&)> handler;
    {
        const std::lock_guard hold(state_->lock);
        if (!state_->stream || !std::exchange(state_->stream->isRunning, false)) return;
        handler = state_->stream->onStop;
    }
    if (handler) handler(error);
}

void SyntheticDesktop::emitNotice(const std::string& notice) {
    const auto stream = state_->running();
    if (stream && stream->onNotice) stream->onNotice(notice);
}

void SyntheticDesktop::emitDisplayOrigin(double hostSeconds, Point pixels) {
    const auto stream = state_->running();
    if (stream && stream->onDisplayOrigin) stream->onDisplayOrigin(hostSeconds, pixels);
}

void SyntheticDesktop::emitPointer(const platform::PointerEvent& event) {
    std::vector<std::shared_ptr<Watcher>> watchers;
    {
        const std::lock_guard hold(state_->lock);
        watchers = state_->watchers;
    }
    for (const auto& watcher : watchers) {
        watcher->queue.async([&watcher, &event] { watcher->handler(event); });
        watcher->queue.drain();
    }
}

void SyntheticDesktop::failStart(std::optional<RecorderError> error) {
    const std::lock_guard hold(state_->lock);
    state_->startError = std::move(error);
}

void SyntheticDesktop::failStop(std::optional<RecorderError> error) {
    const std::lock_guard hold(state_->lock);
    state_->stopError = std::move(error);
}

void SyntheticDesktop::atStart(std::function<void()> work) {
    const std::lock_guard hold(state_->lock);
    state_->atStart = std::move(work);
}

void SyntheticDesktop::atStop(std::function<void()> work) {
    const std::lock_guard hold(state_->lock);
    state_->atStop = std::move(work);
}

bool SyntheticDesktop::isStreamRunning() const {
    return state_->running().has_value();
}

std::optional<platform::ContentFilter> SyntheticDesktop::filter() const {
    const std::lock_guard hold(state_->lock);
    return state_->filter;
}

std::optional<platform::StreamConfiguration> SyntheticDesktop::configuration() const {
    const std::lock_guard hold(state_->lock);
    return state_->configuration;
}

bool SyntheticDesktop::hasSystemAudioOutput() const {
    const std::lock_guard hold(state_->lock);
    return state_->stream && state_->stream->systemAudio.queue != nullptr;
}

bool SyntheticDesktop::hasMicrophoneOutput() const {
    const std::lock_guard hold(state_->lock);
    return state_->stream && state_->stream->microphone.queue != nullptr;
}

std::optional<platform::PointSpace> SyntheticDesktop::monitorSpace() const {
    const std::lock_guard hold(state_->lock);
    return state_->monitorSpace;
}

int SyntheticDesktop::monitorCount() const {
    const std::lock_guard hold(state_->lock);
    return static_cast<int>(state_->watchers.size());
}

std::vector<std::string> SyntheticDesktop::calls() const {
    const std::lock_guard hold(state_->lock);
    return state_->calls;
}

platform::ShareableContent SyntheticDesktop::shareableContent() {
    const std::lock_guard hold(state_->lock);
    if (state_->contentError) std::rethrow_exception(state_->contentError);
    return state_->content;
}

std::unique_ptr<platform::CaptureStream> SyntheticDesktop::makeCaptureStream(
    const platform::ContentFilter& filter, const platform::StreamConfiguration& configuration) {
    auto own = std::make_shared<StreamState>();
    const std::lock_guard hold(state_->lock);
    state_->stream = own;
    state_->filter = filter;
    state_->configuration = configuration;
    state_->isGrantHeld = false;
    return std::make_unique<Stream>(state_, std::move(own));
}

std::unique_ptr<platform::PointerMonitor> SyntheticDesktop::monitorPointer(const platform::PointSpace& space,
                                                                           platform::PointerEventHandler handler) {
    auto watcher = std::make_shared<Watcher>();
    watcher->handler = std::move(handler);
    const std::lock_guard hold(state_->lock);
    state_->calls.emplace_back("monitorPointer");
    if (!state_->canWatchPointer) return nullptr;
    state_->monitorSpace = space;
    state_->watchers.push_back(watcher);
    return std::make_unique<Monitor>(state_, std::move(watcher));
}

platform::PointerKnowledge SyntheticDesktop::pointerKnowledge() {
    const std::lock_guard hold(state_->lock);
    return state_->pointerKnowledge;
}

std::optional<Point> SyntheticDesktop::pointerLocation(const platform::PointSpace& /*space*/) {
    const std::lock_guard hold(state_->lock);
    return state_->pointerLocation;
}

std::optional<platform::SystemCursor> SyntheticDesktop::currentCursor(std::optional<std::uint64_t> knownSerial) {
    const std::lock_guard hold(state_->lock);
    if (state_->cursorError) throw RecorderError(*state_->cursorError);
    if (!state_->cursor) return std::nullopt;
    const platform::SystemCursor& cursor = *state_->cursor;
    return platform::SystemCursor{
        cursor.serial, knownSerial == cursor.serial ? imaging::BgraPremultipliedBuffer() : cursor.image.copy(),
        cursor.hotspotX, cursor.hotspotY};
}

std::optional<Rect> SyntheticDesktop::windowFrame(std::uint32_t windowID, const platform::PointSpace& /*space*/) {
    const std::lock_guard hold(state_->lock);
    const auto found = state_->windowFrames.find(windowID);
    return found == state_->windowFrames.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace lumivastor::synthetic
