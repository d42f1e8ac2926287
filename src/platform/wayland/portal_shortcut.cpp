// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/wayland/portal_shortcut.h"

#include <systemd/sd-bus.h>

#include <algorithm>
#include <cctype>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "base/log.h"
#include "base/recorder_error.h"
#include "base/thread_name.h"
#include "platform/desktop.h"
#include "platform/wayland/portal_connection.h"
#include "platform/wayland/portal_values.h"

namespace lumivastor::wayland {
namespace {

constexpr const char* kShortcuts = "org.freedesktop.portal.GlobalShortcuts";
// By which portals remember the keys that the user gave it.
constexpr const char* kId = "stop-recording";

constexpr const char* kRefused = "Das Tastenkürzel wurde im Dialog abgelehnt.";
constexpr const char* kFailed = "Der Desktop konnte das Tastenkürzel nicht anmelden.";

constexpr double kLongSeconds = 60;  // events and `cancel` end the wait

// As portals read it: modifiers in capitals, and the name of the key's symbol.
std::string trigger(const platform::KeyCombination& keys) {
    std::string text;
    if (keys.control) text += "CTRL+";
    if (keys.alt) text += "ALT+";
    if (keys.shift) text += "SHIFT+";
    return text + static_cast<char>(std::tolower(static_cast<unsigned char>(keys.letter)));
}

/// The keys that a desktop has bound, by our names.
using BoundKeys = std::map<std::string, std::string, std::less<>>;

// Reads an array "a(sa{sv})"; nullopt when it is none.
std::optional<BoundKeys> readKeys(sd_bus_message* message) {
    BoundKeys keys;
    if (sd_bus_message_enter_container(message, 'a', "(sa{sv})") < 0) return std::nullopt;
    while (sd_bus_message_enter_container(message, 'r', "sa{sv}") > 0) {
        const char* id = nullptr;
        if (sd_bus_message_read(message, "s", &id) < 0) return std::nullopt;
        std::string text;
        const auto read = [&](std::string_view key, std::string_view type) {
            return key == "trigger_description" && readText(message, type, text);
        };
        if (!readEntries(message, read) || sd_bus_message_exit_container(message) < 0) return std::nullopt;
        keys[id] = text;
    }
    if (sd_bus_message_exit_container(message) < 0) return std::nullopt;
    return keys;
}

class PortalShortcut final : public platform::GlobalShortcut {
  public:
    PortalShortcut(const std::string& busAddress, const platform::ShortcutRequest& request,
                   std::function<void()> pressed)
        : request_(request), connection_(busAddress) {
        pressed_[kId] = std::move(pressed);
        for (const platform::FurtherKeys& each : request.further) pressed_[each.id] = each.pressed;
    }
    ~PortalShortcut() override {
        connection_.cancel();
        if (thread_.joinable()) thread_.join();
        if (!session_.empty() && !isClosed_) connection_.closeSession(session_);
    }
    PortalShortcut(const PortalShortcut&) = delete;
    PortalShortcut& operator=(const PortalShortcut&) = delete;

    PortalConnection& connection() { return connection_; }

    // Waits for the user. False when cancelled.
    bool bind() {
        session_ = createPortalSession(connection_, kShortcuts);
        if (session_.empty()) return false;
        connection_.watchSession(session_, [this] { isClosed_ = true; });
        connection_.watchSignal(kShortcuts, "Activated", [this](sd_bus_message* message) { takePress(message); });
        connection_.watchSignal(kShortcuts, "ShortcutsChanged", [this](sd_bus_message* message) {
            const char* session = nullptr;
            if (sd_bus_message_read(message, "o", &session) < 0 || session != session_) return;
            setKeys(readKeys(message).value_or(BoundKeys()));
        });
        return askForKeys();
    }

    void listen() {
        thread_ = std::thread([this] { run(); });
    }

    std::string keys() const override {
        const std::lock_guard hold(lock_);
        return keys_;
    }

  private:
    static void describe(sd_bus_message* message, const char* id, const std::string& purpose,
                         const platform::KeyCombination& keys) {
        sd_bus_message_append(message, "(sa{sv})", id, 2, "description", "s", purpose.c_str(), "preferred_trigger", "s",
                              trigger(keys).c_str());
    }

    bool askForKeys() {
        PortalConnection::Question question;
        question.interface = kShortcuts;
        question.method = "BindShortcuts";
        question.mayShowDialog = true;
        question.arguments = [&](sd_bus_message* message) {
            sd_bus_message_append(message, "o", session_.c_str());
            sd_bus_message_open_container(message, 'a', "(sa{sv})");
            describe(message, kId, request_.purpose, request_.keys);
            for (const platform::FurtherKeys& each : request_.further) {
                describe(message, each.id.c_str(), each.purpose, each.keys);
            }
            sd_bus_message_close_container(message);
            sd_bus_message_append(message, "s", request_.parentWindow.c_str());
        };
        std::optional<BoundKeys> bound;
        question.answer = [&](sd_bus_message* message) {
            return readEntries(message, [&](std::string_view key, std::string_view type) {
                if (key != "shortcuts" || type != "a(sa{sv})") return false;
                if (sd_bus_message_enter_container(message, 'v', "a(sa{sv})") < 0) return false;
                bound = readKeys(message);
                return sd_bus_message_exit_container(message) >= 0;
            });
        };
        if (!connection_.ask(question)) return false;
        // Some desktops let the user take shortcuts out of the dialog's list.
        const bool hasAny = bound && std::any_of(bound->begin(), bound->end(),
                                                 [this](const auto& each) { return pressed_.contains(each.first); });
        if (!hasAny) throw PortalRefusal(kRefused);
        setKeys(*bound);
        return true;
    }

    void setKeys(const BoundKeys& bound) {
        const auto found = bound.find(kId);
        const std::lock_guard hold(lock_);
        keys_ = found == bound.end() ? "" : found->second;
    }

    void takePress(sd_bus_message* message) {
        const char* session = nullptr;
        const char* id = nullptr;
        if (sd_bus_message_read(message, "os", &session, &id) < 0) return;
        const auto found = pressed_.find(std::string_view(id));
        if (session == session_ && found != pressed_.end()) presses_.push_back(found->second);
    }

    void run() {
        nameThisThread("wayland.keys");
        while (!connection_.isCancelled() && connection_.isAlive() && !isClosed_) {
            for (const auto& pressed : std::exchange(presses_, {})) {
                if (!connection_.isCancelled()) pressed();
            }
            connection_.run(kLongSeconds);
        }
        setKeys({});
    }

    const platform::ShortcutRequest request_;
    std::map<std::string, std::function<void()>, std::less<>> pressed_;  // by our names
    PortalConnection connection_;  // the caller's until `listen`, then the thread's
    std::string session_;
    bool isClosed_ = false;
    std::vector<std::function<void()>> presses_;  // that have not been handed on
    mutable std::mutex lock_;
    std::string keys_;  // guarded by lock_
    std::thread thread_;
};

}  // namespace

bool offersPortalShortcuts(const std::string& busAddress) {
    try {
        PortalConnection connection(busAddress);
        return connection.property(kShortcuts, "version") > 0;
    } catch (const RecorderError&) {
        return false;
    }
}

std::unique_ptr<platform::GlobalShortcut> grabPortalShortcut(const std::string& busAddress,
                                                             const platform::ShortcutRequest& request,
                                                             std::function<void()> pressed, std::stop_token stop) {
    if (!offersPortalShortcuts(busAddress)) throw RecorderError(platform::kNoShortcuts);
    auto shortcut = std::make_unique<PortalShortcut>(busAddress, request, std::move(pressed));
    try {
        const std::stop_callback onStop(stop, [&shortcut] { shortcut->connection().cancel(); });
        if (!shortcut->bind()) return nullptr;
    } catch (const PortalRefusal&) {
        throw PortalRefusal(kRefused);
    } catch (const RecorderError& error) {
        Log::write("Portal", error.message());
        throw RecorderError(kFailed);
    }
    // The user may have agreed and stopped at once.
    if (stop.stop_requested()) return nullptr;
    const std::string keys = shortcut->keys();
    Log::write("Portal", "Tastenkürzel: " + (keys.empty() ? "keine Tasten" : keys));
    shortcut->listen();
    return shortcut;
}

}  // namespace lumivastor::wayland
