// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/wayland/wayland_desktop.h"

#include <atomic>
#include <chrono>
#include <cmath>
#include <mutex>
#include <thread>
#include <utility>

#include "base/log.h"
#include "base/recorder_error.h"
#include "platform/content_picker.h"
#include "platform/pictures/capture_area.h"
#include "platform/pictures/paced_capture_stream.h"
#include "platform/wayland/canvas_source.h"
#include "platform/wayland/granted_screen.h"
#include "platform/wayland/output_layout.h"
#include "platform/wayland/portal_shortcut.h"
#include "platform/wayland/restore_tokens.h"
#include "platform/wayland/screen_copier.h"
#include "platform/wayland/wayland_outputs.h"

namespace lumivastor::wayland {
namespace {

constexpr const char* kLogArea = "Portal";
/// How often a wait for the first picture looks.
constexpr std::chrono::milliseconds kLook{10};
constexpr const char* kPointerLogArea = "Pointer";
const std::string kNoClicks = "Klicks lassen sich auf diesem Desktop nicht sehen.";

SharedSource sourceOf(platform::ContentPicker::Kind kind) {
    return kind == platform::ContentPicker::Kind::display ? SharedSource::display : SharedSource::window;
}

// What was granted, as the rest of the program knows it. A window has a display of its own size, whose corner is the
// window's: where it is on the desktop is not told.
struct Grant {
    std::unique_ptr<GrantedScreen> screen;
    platform::Display display;
    std::optional<platform::Window> window;
    std::atomic<bool> seesClicks = false;  // of the monitor that was made last
};

class GrantedPointer final : public platform::PointerMonitor {
  public:
    // `devices` may be null.
    GrantedPointer(std::shared_ptr<Grant> grant, platform::PointerDevices* devices, const platform::PointSpace& space,
                   platform::PointerEventHandler handler)
        : grant_(std::move(grant)), monitor_(grant_->screen->pointerHub().monitor(space, std::move(handler))) {
        if (devices == nullptr) return;
        PointerHub& hub = grant_->screen->pointerHub();
        const auto refusal = devices->why();
        if (refusal) Log::write(kPointerLogArea, *refusal);
        hub.expectActions();
        actions_ = devices->watch([&hub](const platform::RawPointerEvent& event) { hub.act(event); });
        grant_->seesClicks = actions_ && !refusal;
    }

  private:
    const std::shared_ptr<Grant> grant_;
    const std::unique_ptr<PointerMonitor> monitor_;
    std::unique_ptr<platform::PointerActions> actions_;  // last: it ends before what it reports to
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
        options.tellsSize = !grant->window;
        if (std::holds_alternative<platform::DisplayFilter>(filter)) {
            const PixelRect area = platform::captureArea(grant->display, configuration.sourceRect, options.size);
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
        return std::make_unique<GrantedPointer>(std::move(grant), options_.pointerDevices.get(), space,
                                                std::move(handler));
    }

    std::optional<Point> pointerLocation(const platform::PointSpace& space) override {
        const auto grant = current();
        if (!grant) return std::nullopt;
        const auto pixel = grant->screen->pointerHub().location();
        return pixel ? std::optional(space.pointFromPixel(*pixel)) : std::nullopt;
    }

    platform::PointerKnowledge pointerKnowledge() override {
        const auto grant = current();
        if (!grant) return platform::PointerKnowledge::none;
        const auto knowledge = knowledgeOf(grant->screen->session().cursorMode());
        const bool isComplete = knowledge == platform::PointerKnowledge::positions && grant->seesClicks;
        return isComplete ? platform::PointerKnowledge::complete : knowledge;
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

    bool offersShortcuts() override { return offersPortalShortcuts(options_.busAddress); }

    std::unique_ptr<platform::GlobalShortcut> grabShortcut(const platform::ShortcutRequest& request,
                                                           std::function<void()> pressed,
                                                           std::stop_token stop) override {
        return grabPortalShortcut(options_.busAddress, request, std::move(pressed), std::move(stop));
    }

    // ContentPicker

    Offer offer() override {
        PortalConnection portal(options_.busAddress);
        const ScreenCastOffer offered = screenCastOffer(portal);
        Offer offer{offered.has(SharedSource::display), offered.has(SharedSource::window),
                    knowledgeOf(bestCursorMode(offered)), offered.canRestore()};
        if (offer.pointer != platform::PointerKnowledge::positions) return offer;
        const auto refusal = options_.pointerDevices ? options_.pointerDevices->why() : std::optional(kNoClicks);
        offer.clickRefusal = refusal.value_or("");
        if (!refusal) offer.pointer = platform::PointerKnowledge::complete;
        return offer;
    }

    std::optional<Content> pick(const Request& request, std::stop_token stop) override {
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

    bool holdsGrant() override {
        const auto grant = pending();
        return grant && !grant->screen->ended();
    }

    std::optional<imaging::BgraPremultipliedBuffer> stillPicture(double seconds) override {
        const auto grant = pending();
        if (!grant) return std::nullopt;
        const auto limit = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
        while (grant->screen->canvas().state().size == PixelSize{}) {
            if (grant->screen->ended() || std::chrono::steady_clock::now() > limit) return std::nullopt;
            std::this_thread::sleep_for(kLook);
        }
        return grant->screen->canvas().snapshot();
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

    std::shared_ptr<Grant> pending() const {
        const std::lock_guard hold(lock_);
        return pending_;
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
        // A picture knows better.
        const PixelSize shown = screen->canvas().state().size;
        const PixelSize size = shown != PixelSize{} ? shown : uprightSize(screen->size(), outputs);
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
        // Some portals tell a wrong place. Copies of a screen that was not granted must not be recorded.
        if (kind == Kind::display && isTheOnlyOne(size, outputs)) {
            screen->useCopier(ScreenCopier::open(options_.display, grant->display.name));
        }
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
