// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/wayland/portal_screencast.h"

#include <fcntl.h>
#include <systemd/sd-bus.h>

#include <string_view>

#include "platform/wayland/portal_values.h"

namespace lumivastor::wayland {
namespace {

constexpr const char* kScreenCast = "org.freedesktop.portal.ScreenCast";
// Until the user revokes it, not only while the program runs.
constexpr std::uint32_t kPersistForGood = 2;
constexpr std::uint32_t kFirstWithCursorModes = 2;

bool readPair(sd_bus_message* message, std::string_view type, std::optional<int>& first, std::optional<int>& second) {
    std::int32_t a = 0;
    std::int32_t b = 0;
    if (type != "(ii)" || sd_bus_message_read(message, "v", "(ii)", &a, &b) < 0) return false;
    first = a;
    second = b;
    return true;
}

}  // namespace

CursorMode bestCursorMode(const ScreenCastOffer& offer) {
    for (const CursorMode mode : {CursorMode::metadata, CursorMode::embedded}) {
        if (offer.has(mode)) return mode;
    }
    return CursorMode::hidden;
}

ScreenCastOffer screenCastOffer(PortalConnection& connection) {
    ScreenCastOffer offer;
    offer.version = connection.property(kScreenCast, "version");
    if (offer.version == 0 && !connection.isCancelled()) throwMissingPortal();
    offer.sourceTypes = connection.property(kScreenCast, "AvailableSourceTypes");
    if (offer.version >= kFirstWithCursorModes) {
        offer.cursorModes = connection.property(kScreenCast, "AvailableCursorModes");
    }
    return offer;
}

std::unique_ptr<PortalSession> PortalSession::open(PortalConnection& connection, const Options& options) {
    const ScreenCastOffer offer = screenCastOffer(connection);
    if (connection.isCancelled()) return nullptr;
    if (!offer.has(options.source)) {
        throw RecorderError(options.source == SharedSource::display
                                ? "Dieser Desktop gibt keine Bildschirme zur Aufnahme frei."
                                : "Dieser Desktop gibt keine einzelnen Fenster zur Aufnahme frei.");
    }
    const std::string token = offer.canRestore() ? options.restoreToken : "";
    std::unique_ptr<PortalSession> session(new PortalSession(connection));
    if (!session->create()) return nullptr;
    try {
        if (!session->selectSources(options, offer, token)) return nullptr;
    } catch (const RecorderError&) {
        if (token.empty() || !connection.isAlive()) throw;
        // A token that the portal does not know, or not any more.
        session.reset(new PortalSession(connection));
        if (!session->create() || !session->selectSources(options, offer, "")) return nullptr;
    }
    if (!session->start(options) || !session->openServer()) return nullptr;
    return session;
}

PortalSession::~PortalSession() {
    if (path_.empty()) return;
    connection_.watchSession(path_, {});
    if (!isClosed_) connection_.closeSession(path_);
}

bool PortalSession::create() {
    path_ = createPortalSession(connection_, kScreenCast);
    if (path_.empty()) return false;
    connection_.watchSession(path_, [this] { isClosed_ = true; });
    return true;
}

bool PortalSession::selectSources(const Options& options, const ScreenCastOffer& offer, const std::string& token) {
    cursorMode_ = bestCursorMode(offer);
    PortalConnection::Question question;
    question.interface = kScreenCast;
    question.method = "SelectSources";
    question.arguments = [&](sd_bus_message* message) { sd_bus_message_append(message, "o", path_.c_str()); };
    question.options = [&](sd_bus_message* message) {
        const std::uint32_t type = options.source == SharedSource::display ? 1 : 2;
        sd_bus_message_append(message, "{sv}", "types", "u", type);
        sd_bus_message_append(message, "{sv}", "multiple", "b", 0);
        if (offer.has(cursorMode_)) {
            sd_bus_message_append(message, "{sv}", "cursor_mode", "u", static_cast<std::uint32_t>(cursorMode_));
        }
        if (offer.canRestore()) sd_bus_message_append(message, "{sv}", "persist_mode", "u", kPersistForGood);
        if (!token.empty()) sd_bus_message_append(message, "{sv}", "restore_token", "s", token.c_str());
    };
    return connection_.ask(question);
}

bool PortalSession::start(const Options& options) {
    PortalConnection::Question question;
    question.interface = kScreenCast;
    question.method = "Start";
    question.mayShowDialog = true;
    question.arguments = [&](sd_bus_message* message) {
        sd_bus_message_append(message, "os", path_.c_str(), options.parentWindow.c_str());
    };
    bool hasStream = false;
    question.answer = [&](sd_bus_message* message) {
        return readEntries(message, [&](std::string_view key, std::string_view type) {
            if (key == "restore_token") return readText(message, type, restoreToken_);
            if (key != "streams" || type != "a(ua{sv})") return false;
            hasStream = readStreams(message);
            return true;
        });
    };
    if (!connection_.ask(question)) return false;
    if (!hasStream) throw RecorderError("Der Desktop konnte die Aufnahme nicht freigeben.");
    return true;
}

// The first stream of the array; there are no more, because only one was asked for.
bool PortalSession::readStreams(sd_bus_message* message) {
    bool hasStream = false;
    if (sd_bus_message_enter_container(message, 'v', "a(ua{sv})") < 0) return false;
    if (sd_bus_message_enter_container(message, 'a', "(ua{sv})") < 0) return false;
    while (sd_bus_message_enter_container(message, 'r', "ua{sv}") > 0) {
        std::uint32_t node = 0;
        if (sd_bus_message_read(message, "u", &node) < 0) return false;
        const bool isFirst = !std::exchange(hasStream, true);
        if (isFirst) node_ = node;
        const auto read = [&](std::string_view key, std::string_view type) {
            if (!isFirst) return false;
            if (key == "position") return readPair(message, type, place_.x, place_.y);
            if (key == "size") return readPair(message, type, place_.width, place_.height);
            return key == "mapping_id" && readText(message, type, mappingId_);
        };
        if (!readEntries(message, read) || sd_bus_message_exit_container(message) < 0) return false;
    }
    // The array, then the variant around it.
    for (int level = 0; level < 2; ++level) {
        if (sd_bus_message_exit_container(message) < 0) return false;
    }
    return hasStream;
}

bool PortalSession::openServer() {
    PortalConnection::Question question;
    question.interface = kScreenCast;
    question.method = "OpenPipeWireRemote";
    question.arguments = [&](sd_bus_message* message) { sd_bus_message_append(message, "o", path_.c_str()); };
    question.answer = [&](sd_bus_message* message) {
        int server = -1;  // the message closes it
        if (sd_bus_message_read(message, "h", &server) < 0) return false;
        server_ = UniqueDescriptor(fcntl(server, F_DUPFD_CLOEXEC, 0));
        return server_.isOpen();
    };
    connection_.call(question);
    return !connection_.isCancelled();
}

}  // namespace lumivastor::wayland
