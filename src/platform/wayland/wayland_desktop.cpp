// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/wayland/wayland_desktop.h"

#include <cmath>
#include <mutex>
#include <utility>

#include "base/log.h"
#include "base/recorder_error.h"
#include "platform/content_picker.h"
#include "platform/pictures/capture_area.h"
#include "platform/pictures/paced_capture_stream.h"
#include "platform/wayland/canvas_source.h"
#include "platform/wayland/granted_screen.h"
#include "platform/wayland/output_layout.h"
#include "platform/wayland/restore_tokens.h"
#include "platform/wayland/screen_copier.h"
#include "platform/wayland/wayland_outputs.h"

namespace lumivastor::wayland {
namespace {

constexpr const char* kLogArea = "Portal";

SharedSource sourceOf(platform::ContentPicker::Kind kind) {
    return kind == platform::ContentPicker::Kind::display ? SharedSource::display : SharedSource::window;
}

// What was granted, as the rest of the program knows it. A window has a display of its own size, whose corner is the
// window's: where it is on the desktop is not told.
struct Grant {
    std::unique_ptr<GrantedScreen> screen;
    platform::Display display;
    std::optional<platform::Window> window;
};

class GrantedPointer final : public platform::PointerMonitor {
  public:
    GrantedPointer(std::shared_ptr<Grant> grant, const platform::PointSpace& space,
                   platform::PointerEventHandler handler)
        : grant_(std::move(grant)), monitor_(grant_->screen->pointerHub().monitor(space, std::move(handler))) {}

  private:
    const std::shared_ptr<Grant> grant_;
    const std::unique_ptr<PointerMonitor> monitor_;
};

class WaylandDesktop final : public platform::Desktop, public platform::ContentPicker {
  public:
    WaylandDesktop(std::shared_ptr<platform::SoundSystem> sound, WaylandDesktopOptions options)
        : sound_(std::move(sound)), options_(std::move(options)), tokens_(options_.tokenFolder) {
        // Fails here rather than at the first recording.
        PortalConnection probe(options_.busAddress);
    }

    // Desktop

    platform::ShareableContent shareableContent() override {
        platform::ShareableContent content;
        const auto grant = current();
        if (!grant) return content;
        content.displays = {grant->display};
        content.mainDisplayID = grant->display.id;
        if (grant->window) content.windows = {*grant->window};
        return content;
    }

    std::unique_ptr<platform::CaptureStream> makeCaptureStream(
        const platform::ContentFilter& filter, const platform::StreamConfiguration& configuration) override {
        std::shared_ptr<Grant> grant;
        {
            const std::lock_guard hold(lock_);
            grant = std::exchange(pending_, nullptr);
            current_ = grant;
        }
        if (!grant) throw RecorderError("Der Bildschirm wurde noch nicht freigegeben.");
        CanvasSource::Options options;
        options.size = {configuration.width, configuration.height};
        if (std::holds_alternative<platform::DisplayFilter>(filter)) {
            const platform::PixelRect area =
                platform::captureArea(grant->display, configuration.sourceRect, options.size);
            options.x = area.x - static_cast<int>(std::lround(grant->display.frame.x));
            options.y = area.y - static_cast<int>(std::lround(grant->display.frame.y));
        }
        // The stream keeps the grant until it is destroyed.
        const auto open = [grant, options] {
            return std::make_unique<CanvasSource>(grant->screen->canvas(), options,
                                                  [screen = grant->screen.get()] { return screen->ended(); });
        };
        return std::make_unique<platform::PacedCaptureStream>("wayland.capture", open, sound_, configuration);
    }

    std::unique_ptr<platform::PointerMonitor> monitorPointer(const platform::PointSpace& space,
                                                             platform::PointerEventHandler handler) override {
        auto grant = current();
        if (!grant || knowledgeOf(grant->screen->session().cursorMode()) != platform::PointerKnowledge::positions)
            return nullptr;
        return std::make_unique<GrantedPointer>(std::move(grant), space, std::move(handler));
    }

    std::optional<Point> pointerLocation(const platform::PointSpace& space) override {
        const auto grant = current();
        if (!grant) return std::nullopt;
        const auto pixel = grant->screen->pointerHub().location();
        return pixel ? std::optional(space.pointFromPixel(*pixel)) : std::nullopt;
    }

    std::optional<platform::SystemCursor> currentCursor(std::optional<std::uint64_t> knownSerial) override {
        const auto grant = current();
        return grant ? grant->screen->pointerHub().cursor(knownSerial) : std::nullopt;
    }

    std::optional<Rect> windowFrame(std::uint32_t windowID, const platform::PointSpace&) override {
        const auto grant = current();
        if (!grant || !grant->window || grant->window->id != windowID) return std::nullopt;
        if (grant->screen->ended()) return std::nullopt;
        const PixelSize size = grant->screen->canvas().state().size;
        if (size == PixelSize{}) return grant->window->frame;
        return Rect{0, 0, size.width / grant->display.scale, size.height / grant->display.scale};
    }

    platform::ContentPicker* contentPicker() override { return this; }

    // ContentPicker

    Offer offer() override {
        PortalConnection portal(options_.busAddress);
        const ScreenCastOffer offered = screenCastOffer(portal);
        return {offered.has(SharedSource::display), offered.has(SharedSource::window),
                knowledgeOf(bestCursorMode(offered)), offered.canRestore()};
    }

    std::optional<std::variant<platform::Display, platform::Window>> pick(const Request& request,
                                                                          std::stop_token stop) override {
        release();
        const auto portal = std::make_shared<PortalConnection>(options_.busAddress);
        std::shared_ptr<Grant> grant;
        {
            const std::stop_callback onStop(stop, [&portal] { portal->cancel(); });
            grant = ask(portal, request);
        }
        // The user may have chosen and stopped at once.
        if (stop.stop_requested()) grant = nullptr;
        {
            const std::lock_guard hold(lock_);
            pending_ = grant;
            current_ = grant;
        }
        if (!grant) return std::nullopt;
        if (grant->window) return *grant->window;
        return grant->display;
    }

    void release() override {
        std::shared_ptr<Grant> ended;  // outside of the lock: it waits for its thread
        {
            const std::lock_guard hold(lock_);
            ended = std::exchange(pending_, nullptr);
        }
    }

  private:
    std::shared_ptr<Grant> current() const {
        const std::lock_guard hold(lock_);
        return current_.lock();
    }

    // Null when it was cancelled.
    std::shared_ptr<Grant> ask(const std::shared_ptr<PortalConnection>& portal, const Request& request) {
        const SharedSource source = sourceOf(request.kind);
        GrantedScreen::Options options;
        options.session.source = source;
        options.session.parentWindow = request.parentWindow;
        options.maximumRate = request.maximumRate;
        if (!request.asksAgain && !options_.tokenFolder.empty()) options.session.restoreToken = tokens_.token(source);
        auto screen = GrantedScreen::open(portal, options);
        if (!screen) return nullptr;
        if (!options_.tokenFolder.empty()) tokens_.store(source, screen->session().restoreToken());
        return makeGrant(std::move(screen), request.kind);
    }

    std::shared_ptr<Grant> makeGrant(std::unique_ptr<GrantedScreen> screen, Kind kind) {
        const auto outputs = readOutputs(options_.display);
        const PixelSize size = screen->size();
        const PortalSession::Place place = screen->session().place();
        auto grant = std::make_shared<Grant>();
        const std::uint32_t id = ++lastID_;
        if (kind == Kind::display) {
            grant->display = displayOf(id, size, place, outputs);
        } else {
            grant->display.id = id;
            grant->display.scale = windowScale(size, place, outputs);
            platform::Window window;
            window.id = id;
            window.displayID = id;
            window.frame = {0, 0, size.width / grant->display.scale, size.height / grant->display.scale};
            grant->display.frame = window.frame;
            grant->window = std::move(window);
        }
        screen->pointerHub().setOrigin({grant->display.frame.x, grant->display.frame.y});
        Log::write(kLogArea, "freigegeben: " + std::to_string(size.width) + "×" + std::to_string(size.height) +
                                 (grant->display.name.empty() ? "" : " (" + grant->display.name + ")"));
        if (kind == Kind::display) screen->useCopier(ScreenCopier::open(options_.display, grant->display.name));
        grant->screen = std::move(screen);
        return grant;
    }

    const std::shared_ptr<platform::SoundSystem> sound_;
    const WaylandDesktopOptions options_;
    const RestoreTokens tokens_;

    mutable std::mutex lock_;
    std::shared_ptr<Grant> pending_;  // guarded by lock_; granted, and no stream has taken it over
    std::weak_ptr<Grant> current_;    // guarded by lock_
    std::uint32_t lastID_ = 0;        // one pick at a time
};

}  // namespace

bool canShareScreens(const std::string& busAddress) {
    try {
        PortalConnection portal(busAddress);
        return screenCastOffer(portal).sourceTypes != 0;
    } catch (const RecorderError&) {
        return false;
    }
}

std::unique_ptr<platform::Desktop> openWaylandDesktop(std::shared_ptr<platform::SoundSystem> sound,
                                                      WaylandDesktopOptions options) {
    return std::make_unique<WaylandDesktop>(std::move(sound), std::move(options));
}

}  // namespace lumivastor::wayland
