// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "platform/x11/x_atoms.h"

struct xcb_connection_t;

namespace lumivastor::x11 {

struct FreeDelete {
    void operator()(void* memory) const { std::free(memory); }
};
/// A reply or event of the server; the owner frees it.
template <typename T>
using XOwned = std::unique_ptr<T, FreeDelete>;

/// Waits for the reply to a request. `fetch` is the library's reply function for its cookie. Null on any error, also
/// when the server is gone.
template <typename Reply, typename Cookie, typename Error>
XOwned<Reply> xReply(xcb_connection_t* connection, Reply* (*fetch)(xcb_connection_t*, Cookie, Error**), Cookie cookie) {
    return XOwned<Reply>(fetch(connection, cookie, nullptr));
}

/// An event, or the error of a request without reply.
class XEvent {
  public:
    explicit XEvent(void* memory) : memory_(memory) {}

    explicit operator bool() const { return memory_ != nullptr; }
    /// Without the bit that marks events sent by other programs; 0 for errors.
    int type() const { return *static_cast<const std::uint8_t*>(memory_.get()) & 0x7f; }
    /// As the library's structure for its type.
    template <typename T>
    const T& as() const {
        return *static_cast<const T*>(memory_.get());
    }

  private:
    XOwned<void> memory_;
};

/// While it lives, writing to the socket of a lost server is an error instead of a SIGPIPE that ends the process; the
/// library itself does not suppress the signal. Affects only the calling thread.
class BrokenPipeGuard {
  public:
    BrokenPipeGuard();
    ~BrokenPipeGuard();
    BrokenPipeGuard(const BrokenPipeGuard&) = delete;
    BrokenPipeGuard& operator=(const BrokenPipeGuard&) = delete;

  private:
    bool wasBlocked_ = false;
    bool wasPending_ = false;
};

/// One connection to an X server, with extensions negotiated and atoms interned. Any thread may send requests; only one
/// thread may read events.
class XConnection {
  public:
    /// An empty name means the server of DISPLAY. Throws `RecorderError` when the server cannot be reached.
    explicit XConnection(const std::string& displayName);
    ~XConnection();
    XConnection(const XConnection&) = delete;
    XConnection& operator=(const XConnection&) = delete;

    // NOLINTNEXTLINE(google-explicit-constructor): every call of the library takes one
    operator xcb_connection_t*() const { return connection_; }

    /// Whether the server is gone; all requests fail then.
    bool isBroken() const;
    void flush() const;
    /// The next event that has arrived, if any; never waits. Also returns the errors of requests without reply.
    XEvent nextEvent() const;
    /// Waits until the server has processed all requests. Events that it sent before have then arrived.
    void waitForServer() const;

    std::uint32_t root() const { return root_; }
    std::uint32_t rootVisual() const { return rootVisual_; }
    int rootDepth() const { return rootDepth_; }
    std::uint32_t makeId() const;
    std::uint32_t atom(XAtom name) const { return atoms_[static_cast<std::size_t>(name)]; }
    /// Whether pictures have the only pixel format that this program reads: 32 bits, blue, green, red in memory order.
    bool hasUsualPixels() const { return hasUsualPixels_; }

    bool hasDamage() const { return damageEvent_ != 0; }
    /// The type of the damage extension's first event.
    std::uint8_t damageEvent() const { return damageEvent_; }
    bool hasComposite() const { return hasComposite_; }
    bool hasFixes() const { return hasFixes_; }
    bool hasRender() const { return hasRender_; }
    bool hasSegments() const { return hasSegments_; }
    bool hasMonitors() const { return hasMonitors_; }
    std::uint8_t randrEvent() const { return randrEvent_; }
    bool hasClientIds() const { return hasClientIds_; }
    bool hasRecord() const { return hasRecord_; }
    /// The opcode that marks the input extension's events; 0 without that extension.
    std::uint8_t inputOpcode() const { return inputOpcode_; }

  private:
    void negotiate();
    void internAtoms();

    xcb_connection_t* connection_ = nullptr;
    std::uint32_t root_ = 0;
    std::uint32_t rootVisual_ = 0;
    int rootDepth_ = 0;
    bool hasUsualPixels_ = false;
    std::vector<std::uint32_t> atoms_;
    std::uint8_t damageEvent_ = 0;
    std::uint8_t randrEvent_ = 0;
    std::uint8_t inputOpcode_ = 0;
    bool hasComposite_ = false;
    bool hasFixes_ = false;
    bool hasRender_ = false;
    bool hasSegments_ = false;
    bool hasMonitors_ = false;
    bool hasClientIds_ = false;
    bool hasRecord_ = false;
};

/// Grabs the server while it lives: the server serves no other client, so everything that is read shows the same
/// moment.
class XServerGrab {
  public:
    explicit XServerGrab(const XConnection& connection);
    ~XServerGrab();
    XServerGrab(const XServerGrab&) = delete;
    XServerGrab& operator=(const XServerGrab&) = delete;

  private:
    const XConnection& connection_;
};

}  // namespace lumivastor::x11
