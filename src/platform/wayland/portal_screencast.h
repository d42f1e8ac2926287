// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "base/unique_descriptor.h"
#include "platform/wayland/portal_connection.h"

namespace lumivastor::wayland {

/// What the portal's dialog is to offer.
enum class SharedSource { display, window };

/// How the pointer is in the stream. The numbers are the portal's.
enum class CursorMode : std::uint32_t { hidden = 1, embedded = 2, metadata = 4 };

/// What the portal of this desktop can share.
struct ScreenCastOffer {
    std::uint32_t version = 0;
    std::uint32_t sourceTypes = 0;  // bits: 1 displays, 2 windows
    std::uint32_t cursorModes = 0;  // bits, as `CursorMode`

    bool has(SharedSource source) const { return (sourceTypes & (source == SharedSource::display ? 1U : 2U)) != 0; }
    bool has(CursorMode mode) const { return (cursorModes & static_cast<std::uint32_t>(mode)) != 0; }
    /// Whether the portal can grant the same source again without a dialog.
    bool canRestore() const { return version >= 4; }
};

/// Metadata where it is offered, because only then the pointer is known; else painted in, else none.
CursorMode bestCursorMode(const ScreenCastOffer& offer);

/// Throws `RecorderError` when this desktop shares no screens.
ScreenCastOffer screenCastOffer(PortalConnection& connection);

/// The user's permission to record one display or window, until this object goes or the desktop takes it back.
class PortalSession {
  public:
    struct Options {
        SharedSource source = SharedSource::display;
        /// Of an earlier grant of the same kind; a token that is no longer valid leads to the dialog. Empty: the
        /// dialog.
        std::string restoreToken;
        /// The window to which the dialog belongs ("wayland:..."); empty: none.
        std::string parentWindow;
    };

    /// A rectangle on the desktop, in the compositor's logical units. Some portals tell neither, or a size in pixels.
    struct Place {
        std::optional<int> x;
        std::optional<int> y;
        std::optional<int> width;
        std::optional<int> height;
    };

    /// Asks the user unless the token is still valid, however long that takes. Null when `cancel` was called on the
    /// connection, which must outlive the session. Throws `PortalRefusal` when the user says no, `RecorderError` when
    /// the desktop shares no such source or fails.
    static std::unique_ptr<PortalSession> open(PortalConnection& connection, const Options& options);

    /// Ends the permission.
    ~PortalSession();
    PortalSession(const PortalSession&) = delete;
    PortalSession& operator=(const PortalSession&) = delete;

    /// The stream's node on the server behind `takeServer`.
    std::uint32_t node() const { return node_; }
    const Place& place() const { return place_; }
    /// Names the same source in other protocols of this desktop; empty when not told.
    const std::string& mappingId() const { return mappingId_; }
    CursorMode cursorMode() const { return cursorMode_; }
    /// Restores this grant once, with the next `open`; empty when the portal gave none.
    const std::string& restoreToken() const { return restoreToken_; }
    /// The connected socket of a PipeWire server on which the node is. The first call has it, later ones have none.
    UniqueDescriptor takeServer() { return std::move(server_); }

    /// Whether the desktop has taken the permission back: the user stopped sharing. Changes within the connection's
    /// `run`. A portal that dies says nothing (`PortalConnection::isAlive`), and the stream may go on without it.
    bool isClosed() const { return isClosed_; }

  private:
    explicit PortalSession(PortalConnection& connection) : connection_(connection) {}

    bool create();
    bool selectSources(const Options& options, const ScreenCastOffer& offer, const std::string& token);
    bool start(const Options& options);
    bool readStreams(sd_bus_message* message);
    bool openServer();

    PortalConnection& connection_;
    std::string path_;
    std::uint32_t node_ = 0;
    Place place_;
    std::string mappingId_;
    CursorMode cursorMode_ = CursorMode::hidden;
    std::string restoreToken_;
    UniqueDescriptor server_;
    bool isClosed_ = false;
};

}  // namespace lumivastor::wayland
