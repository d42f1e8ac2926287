// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/x11_desktop.h"

#include <unistd.h>
#include <xcb/xcb.h>
#include <xcb/xfixes.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "base/log.h"
#include "base/recorder_error.h"
#include "platform/x11/global_shortcut.h"
#include "platform/x11/monitors.h"
#include "platform/x11/window_list.h"
#include "platform/x11/x11_capture_stream.h"
#include "platform/x11/x11_pointer_monitor.h"
#include "platform/x11/x_connection.h"
#include "platform/x11/xwayland.h"

namespace lumivastor::x11 {
namespace {

constexpr const char* kXwaylandRefusal =
    "Unter Wayland lassen sich nur Fenster von X11-Programmen aufnehmen, nicht der Bildschirm. Melde dich ab und wähle "
    "beim Anmelden eine Xorg-Sitzung.";

std::string environmentValue(const char* name) {
    const char* value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): said in the header
    return value == nullptr ? "" : value;
}

RecorderError brokenConnection() {
    return RecorderError("Die Verbindung zum Bildschirm ist abgerissen.");
}

/// The connection serves queries only; streams and monitors have their own.
class X11Desktop : public platform::Desktop {
  public:
    X11Desktop(std::shared_ptr<platform::SoundSystem> sound, std::string displayName)
        : sound_(std::move(sound)),
          displayName_(std::move(displayName)),
          environment_(parseScales(environmentValue("QT_SCREEN_SCALE_FACTORS"), environmentValue("QT_SCALE_FACTOR"))),
          connection_(displayName_),
          isXwayland_(isXwayland(connection_)) {}

    ~X11Desktop() override = default;
    X11Desktop(const X11Desktop&) = delete;
    X11Desktop& operator=(const X11Desktop&) = delete;

    platform::ShareableContent shareableContent() override {
        const Question question(*this);
        MonitorList monitors = readMonitors(connection_, environment_);
        platform::ShareableContent content;
        content.windows = readWindows(connection_, monitors);
        content.displays = std::move(monitors.displays);
        content.mainDisplayID = monitors.mainID;
        if (isXwayland_) content.displayRefusal = kXwaylandRefusal;
        content.applications = applicationsOf(content.windows);
        const auto own =
            std::find_if(content.applications.begin(), content.applications.end(),
                         [](const platform::RunningApplication& one) { return one.processId == getpid(); });
        if (own != content.applications.end()) content.ownApplication = *own;
        if (connection_.isBroken() || content.displays.empty()) {
            throw brokenConnection();
        }
        return content;
    }

    std::unique_ptr<platform::CaptureStream> makeCaptureStream(
        const platform::ContentFilter& filter, const platform::StreamConfiguration& configuration) override {
        return makeX11CaptureStream(displayName_, environment_, sound_, filter, configuration);
    }

    std::unique_ptr<platform::PointerMonitor> monitorPointer(const platform::PointSpace& space,
                                                             platform::PointerEventHandler handler) override {
        try {
            return std::make_unique<X11PointerMonitor>(displayName_, space, std::move(handler));
        } catch (const RecorderError& error) {
            Log::write("Pointer", error.message());
            return nullptr;
        }
    }

    std::optional<Point> pointerLocation(const platform::PointSpace& space) override {
        const Question question(*this);
        const auto reply =
            xReply(connection_, xcb_query_pointer_reply, xcb_query_pointer(connection_, connection_.root()));
        if (!reply || reply->same_screen == 0) return std::nullopt;
        return space.pointFromPixel({static_cast<double>(reply->root_x), static_cast<double>(reply->root_y)});
    }

    std::optional<platform::SystemCursor> currentCursor(std::optional<std::uint64_t> knownSerial) override {
        const Question question(*this);
        if (!connection_.hasFixes()) return std::nullopt;
        const auto reply =
            xReply(connection_, xcb_xfixes_get_cursor_image_reply, xcb_xfixes_get_cursor_image(connection_));
        if (connection_.isBroken()) throw brokenConnection();
        if (!reply) return std::nullopt;
        const std::uint32_t* pixels = xcb_xfixes_get_cursor_image_cursor_image(reply.get());
        const int count = xcb_xfixes_get_cursor_image_cursor_image_length(reply.get());
        const bool isVisible = std::any_of(pixels, pixels + count, [](std::uint32_t one) { return one >> 24 != 0; });
        if (!isVisible) return std::nullopt;
        platform::SystemCursor cursor;
        cursor.serial = reply->cursor_serial;
        cursor.hotspotX = reply->xhot;
        cursor.hotspotY = reply->yhot;
        if (knownSerial == cursor.serial) return cursor;
        cursor.image = imaging::BgraPremultipliedBuffer(reply->width, reply->height);
        for (int y = 0; y < reply->height; ++y) {
            // The server's number has alpha in its highest byte, which comes last in memory.
            std::memcpy(cursor.image.row(y), pixels + static_cast<std::ptrdiff_t>(y) * reply->width,
                        static_cast<std::size_t>(reply->width) * 4);
        }
        return cursor;
    }

    std::optional<Rect> windowFrame(std::uint32_t windowID, const platform::PointSpace& space) override {
        const Question question(*this);
        const auto pixels = contentPixels(connection_, windowID);
        if (!pixels) return std::nullopt;
        return space.rectFromPixels({static_cast<double>(pixels->x), static_cast<double>(pixels->y),
                                     static_cast<double>(pixels->width), static_cast<double>(pixels->height)});
    }

    // Xwayland hears keys only while one of its own windows has the focus.
    bool offersShortcuts() override { return !isXwayland_; }

    std::unique_ptr<platform::GlobalShortcut> grabShortcut(const platform::ShortcutRequest& request,
                                                           std::function<void()> pressed, std::stop_token) override {
        return grabX11Shortcut(request.keys, std::move(pressed), displayName_);
    }

  private:
    // One request at a time. Empties the event queue afterwards, because the server sends some events to every client
    // and nothing else reads them here.
    class Question {
      public:
        explicit Question(X11Desktop& desktop) : desktop_(desktop), order_(desktop.lock_) {}
        ~Question() {
            while (const XEvent event = desktop_.connection_.nextEvent()) continue;
        }
        Question(const Question&) = delete;
        Question& operator=(const Question&) = delete;

      private:
        X11Desktop& desktop_;
        const std::lock_guard<std::mutex> order_;
        const BrokenPipeGuard guard_;
    };

    const std::shared_ptr<platform::SoundSystem> sound_;
    const std::string displayName_;
    const ScreenScales environment_;
    std::mutex lock_;
    XConnection connection_;
    const bool isXwayland_;
};

}  // namespace

std::unique_ptr<platform::Desktop> openX11Desktop(std::shared_ptr<platform::SoundSystem> sound,
                                                  std::string displayName) {
    return std::make_unique<X11Desktop>(std::move(sound), std::move(displayName));
}

}  // namespace lumivastor::x11
