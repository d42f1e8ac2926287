// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "base/recorder_error.h"

struct sd_bus_message;

namespace lumivastor::wayland {

/// The user said no in a portal's dialog. Its message need not be shown where the user sees the dialog vanish.
class PortalRefusal : public RecorderError {
  public:
    using RecorderError::RecorderError;
};

/// The portal does not accept an option of a question.
class PortalArgumentError : public RecorderError {
  public:
    using RecorderError::RecorderError;
};

/// A connection to the desktop portal (org.freedesktop.portal.Desktop) over a message bus, without a thread of its own:
/// answers are handled within its functions. One thread at a time, except `cancel`.
class PortalConnection {
  public:
    /// How long a call may take that does not wait for the user, in seconds. A portal that the bus has to start first
    /// takes one or two.
    static constexpr double kCallTimeout = 5;

    /// `address`: the bus; empty: that of DBUS_SESSION_BUS_ADDRESS, or else the user's. Throws `RecorderError` when
    /// there is no bus. Whether there is a portal turns out at the first question.
    explicit PortalConnection(const std::string& address = "");
    ~PortalConnection();
    PortalConnection(const PortalConnection&) = delete;
    PortalConnection& operator=(const PortalConnection&) = delete;

    /// Whether bus and portal are there. A portal that went once is gone for this connection, because its sessions
    /// ended with it.
    bool isAlive() const;

    /// Readable when `run` has something to handle. For a caller that waits for several things.
    int descriptor() const;
    /// Waits up to `seconds` for events and handles them. Returns early when there are any, and after `cancel`.
    void run(double seconds);
    /// Handles events until `done` returns true. Returns false after `timeout` seconds, when bus or portal are lost,
    /// and after `cancel`.
    bool runUntil(const std::function<bool()>& done, double timeout);

    /// Ends what waits for the user now and all later waits, and closes an open dialog. Any thread; also before or
    /// after such a wait. There is no way back: a cancelled connection can only be closed.
    void cancel();
    bool isCancelled() const;

    /// A number that an interface of the portal has as a property; 0 when the interface does not have it. Throws
    /// `RecorderError` when there is no portal, or none with this interface.
    std::uint32_t property(const std::string& interface, const std::string& name);

    /// A question to an interface of the portal, for the two functions below.
    struct Question {
        std::string interface;
        std::string method;
        /// Appends the arguments that stand before the options. May be empty.
        std::function<void(sd_bus_message*)> arguments;
        /// Appends entries "{sv}" to the options. May be empty.
        std::function<void(sd_bus_message*)> options;
        /// Reads the answer: in `ask` an open array "a{sv}" of results, in `call` the reply. May be empty. Returns
        /// false when it makes no sense.
        std::function<bool(sd_bus_message*)> answer;
        /// Whether a dialog may come before the answer. If so there is no limit of time.
        bool mayShowDialog = false;
    };

    /// Asks with a request object, as most of the portal's methods do. Returns false when `cancel` was called. Throws
    /// `PortalRefusal` when the user refuses, `PortalArgumentError` when the portal does not accept an option, and
    /// `RecorderError` otherwise.
    bool ask(const Question& question);
    /// Calls a method that answers at once. Throws like `ask`.
    void call(const Question& question);

    /// Closes a session of the portal, without waiting for an answer.
    void closeSession(const std::string& path);
    /// Calls `closed` within `run` when the portal ends the session. Empty: no longer.
    void watchSession(const std::string& path, std::function<void()> closed);
    /// Calls `handler` within `run` for each signal of the portal with this name. For good: whatever the handler uses
    /// must live as long as the connection.
    void watchSignal(const std::string& interface, const std::string& name,
                     std::function<void(sd_bus_message*)> handler);

    /// The name under which the portal's object paths mention this connection.
    std::string pathName() const;
    /// A token for an object path that this process has not used yet.
    static std::string newToken();

  private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

/// The sentence for a desktop without a portal that shares screens. `currentDesktop` is XDG_CURRENT_DESKTOP; the Debian
/// package that the sentence names is the one for this desktop.
std::string missingPortalMessage(const std::string& currentDesktop);
/// Throws that sentence for the desktop of this session.
[[noreturn]] void throwMissingPortal();

}  // namespace lumivastor::wayland
