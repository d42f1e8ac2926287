// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/wayland/granted_screen.h"

#include <exception>
#include <utility>

#include "base/formatted.h"
#include "base/handled_error.h"
#include "base/host_clock.h"
#include "base/log.h"
#include "base/recorder_error.h"
#include "base/thread_name.h"

namespace lumivastor::wayland {
namespace {

// The format came within a tenth of a second on every desktop that was tried.
constexpr double kFormatSeconds = 5;
// A window's stream has buffers of the whole screen's size; how large the window is, its first picture says. That comes
// at once, but from a minimised window never.
constexpr double kCropSeconds = 1;
// How late the thread may notice that it is to stop, or that the portal has said something.
constexpr double kTurnSeconds = 0.05;

// How often the screen is copied until the stream sends its first picture: often while a recording begins, then as
// rarely as a still screen deserves. A change in between is in the next copy.
constexpr double kCopySeconds = 0.2;
constexpr double kRareCopySeconds = 1;
constexpr double kBeginningSeconds = 2;
// How long the portal gets to say why a stream has ended.
constexpr double kLastWordSeconds = 0.2;

constexpr const char* kClosed = "Die Freigabe des Bildschirms wurde beendet.";
constexpr const char* kPortalGone = "Die Bildschirmfreigabe des Desktops ist nicht mehr da.";

using Wide = unsigned long long;

void logCounts(const pipewire::ScreenStream::Counts& counts) {
    Log::write("Portal",
               formatted("Freigabe beendet: %llu Bilder, %llu ersetzt, %llu fehlerhaft, %llu unlesbar, %llu ohne Bild, "
                         "%llu Zeigermeldungen",
                         static_cast<Wide>(counts.pictures), static_cast<Wide>(counts.leftOut),
                         static_cast<Wide>(counts.corrupt), static_cast<Wide>(counts.unreadable),
                         static_cast<Wide>(counts.cursorOnly), static_cast<Wide>(counts.cursors)));
}

}  // namespace

std::unique_ptr<GrantedScreen> GrantedScreen::open(std::shared_ptr<PortalConnection> portal, const Options& options) {
    std::unique_ptr<GrantedScreen> screen(new GrantedScreen(std::move(portal)));
    screen->session_ = PortalSession::open(*screen->portal_, options.session);
    if (!screen->session_) return nullptr;
    std::promise<void> promise;
    std::future<void> opened = promise.get_future();
    screen->thread_ = std::thread([own = screen.get(), options, promise = std::move(promise)]() mutable {
        own->run(options, std::move(promise));
    });
    opened.get();
    return screen;
}

GrantedScreen::~GrantedScreen() {
    isStopping_ = true;
    if (thread_.joinable()) thread_.join();
    session_.reset();
}

// PipeWire's objects stay on the thread that made them.
void GrantedScreen::run(const Options& options, std::promise<void> opened) {
    nameThisThread("wayland.stream");
    try {
        openStream(options);
        opened.set_value();
    } catch (...) {
        opened.set_exception(std::current_exception());
        isStopping_ = true;
    }
    while (!isStopping_ && !ended()) {
        try {
            turn();
        } catch (...) {
            end(handledError("Die Aufnahme des Bildschirms ist abgebrochen").message());
        }
    }
    if (stream_) logCounts(stream_->counts());
    stream_.reset();
    connection_.reset();
}

void GrantedScreen::openStream(const Options& options) {
    connection_ = std::make_unique<pipewire::PipeWireConnection>(session_->takeServer());
    pipewire::ScreenStream::Callbacks callbacks;
    callbacks.picture = [this](const pipewire::ScreenPicture& picture) {
        useCopier(nullptr);
        canvas_.show(picture);
    };
    callbacks.cursor = [this](const pipewire::CursorReport& report) { pointer_.report(report); };
    callbacks.streamingChanged = [this](bool isStreaming) { canvas_.setStreaming(isStreaming); };
    callbacks.ended = [this](const std::string& reason) { streamEnd_ = reason; };
    stream_ = std::make_unique<pipewire::ScreenStream>(*connection_, session_->node(),
                                                       pipewire::ScreenStream::Options{options.maximumRate}, callbacks);
    connection_->runUntil([this] { return stream_->bufferSize() || stream_->hasEnded(); }, kFormatSeconds);
    if (!stream_->bufferSize()) throw RecorderError(streamEnd_.value_or("Der Desktop liefert kein Bild."));
    size_ = *stream_->bufferSize();
    if (options.session.source == SharedSource::display) return;
    // Some desktops send windows in buffers of the screen's size; only a picture's crop tells the window's.
    connection_->runUntil([this] { return canvas_.state().size != PixelSize{} || stream_->hasEnded(); }, kCropSeconds);
}

void GrantedScreen::turn() {
    connection_->run(kTurnSeconds);
    // A stream whose sharing the user has stopped ends a moment before the portal says why.
    portal_->run(streamEnd_ ? kLastWordSeconds : 0);
    pointer_.handOn(hostClockSeconds());
    copyFirstPicture();
    if (session_->isClosed()) end(kClosed);
    if (streamEnd_) end(*streamEnd_);
    // A portal that is gone leaves streams alone; only together with a stream that rests is it the end.
    if (!portal_->isAlive() && !stream_->isStreaming()) end(kPortalGone);
}

void GrantedScreen::useCopier(std::unique_ptr<ScreenCopier> copier) {
    const std::lock_guard hold(lock_);
    copier_ = std::move(copier);
}

void GrantedScreen::copyFirstPicture() {
    const double now = hostClockSeconds();
    const std::lock_guard hold(lock_);
    if (!copier_) return;
    if (copiedFrom_ == 0) copiedFrom_ = now;
    const double pause = now - copiedFrom_ < kBeginningSeconds ? kCopySeconds : kRareCopySeconds;
    if (now - copiedAt_ < pause) return;
    copiedAt_ = now;
    const auto copy = copier_->copy(session_->cursorMode() == CursorMode::embedded);
    // Another size: the screen has just changed, and the stream will say so.
    if (!copy || PixelSize{copy->width(), copy->height()} != stream_->bufferSize()) return;
    pipewire::ScreenPicture picture;
    picture.pixels = copy->pixel(0, 0);
    picture.stride = copy->stride();
    picture.crop = {0, 0, copy->width(), copy->height()};
    picture.turn = copier_->turn();
    // Not that of the question: a busy compositor answers later, with what it shows then.
    picture.hostSeconds = copier_->hostSeconds();
    canvas_.show(picture);
}

void GrantedScreen::end(const std::string& reason) {
    {
        const std::lock_guard hold(lock_);
        if (!ended_) ended_ = reason;
    }
    canvas_.setStreaming(false);
}

std::optional<std::string> GrantedScreen::ended() const {
    const std::lock_guard hold(lock_);
    return ended_;
}

platform::PointerKnowledge knowledgeOf(CursorMode mode) {
    switch (mode) {
        case CursorMode::metadata:
            return platform::PointerKnowledge::positions;
        case CursorMode::embedded:
            return platform::PointerKnowledge::embedded;
        case CursorMode::hidden:
            break;
    }
    return platform::PointerKnowledge::none;
}

}  // namespace lumivastor::wayland
