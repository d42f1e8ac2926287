// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "support/child_process.h"
#include "support/screen_source.h"
#include "support/temporary_folder.h"

namespace lumivastor {

/// A message bus for one test, on which only what the test starts is.
class BusRig {
  public:
    /// Returns when it is ready. Throws std::runtime_error that says what is missing.
    BusRig();

    /// As for DBUS_SESSION_BUS_ADDRESS.
    std::string address() const;
    void kill() { server_->kill(); }

  private:
    TemporaryFolder folder_;
    std::unique_ptr<ChildProcess> server_;
};

/// A desktop portal that shares a `ScreenSource`, on a thread of its own. Does what real portals do, but when a test
/// says so. Any thread.
class PortalStandin {
  public:
    /// What the user does in the dialog, or what the desktop makes of it.
    enum class Answer : std::uint32_t { grant = 0, refuse = 1, fail = 2, none };

    struct Options {
        std::uint32_t version = 4;
        std::uint32_t sourceTypes = 3;
        std::uint32_t cursorModes = 7;
        Answer answer = Answer::grant;
        /// The only token that the portal knows besides those that it gave itself.
        std::string knownToken;
        /// Of the interface for key combinations; 0: none. Their dialog gets `answer`, too.
        std::uint32_t shortcutsVersion = 1;
        /// The keys that the user binds; nullopt: the user takes the shortcut out of the dialog's list.
        std::optional<std::string> boundKeys = "Meta+F9";
        /// Whether it keeps silent instead of answering calls at all.
        bool isSilent = false;
        ScreenSource::Options screen;
    };

    /// What a client asked for.
    struct Call {
        std::string method;
        /// Numbers as text. Of BindShortcuts those of the first, its "id", and of "further" ones id, keys and purpose.
        std::map<std::string, std::string> options;
        std::string parentWindow;  // of Start and BindShortcuts
    };

    /// Returns when it is on the bus. `pipeWire`: the socket of the server on which screens are shared. Throws
    /// std::runtime_error.
    PortalStandin(const std::string& busAddress, const std::string& pipeWire, const Options& options);
    ~PortalStandin();
    PortalStandin(const PortalStandin&) = delete;
    PortalStandin& operator=(const PortalStandin&) = delete;

    std::vector<Call> calls() const;
    /// The last of that method; throws std::out_of_range without one.
    Call lastCall(const std::string& method) const;
    /// How many dialogs are open, and how many a client has closed.
    int openDialogs() const;
    int closedDialogs() const;
    /// How many sessions exist.
    int sessions() const;
    /// The token that the last grant came with.
    std::string lastToken() const;

    /// The screen of the newest session that was granted; null when that has ended.
    std::shared_ptr<ScreenSource> screen() const;

    /// From now on; an open dialog ends with it.
    void answer(Answer answer);
    /// The user stops sharing: the session is closed and its screen ends.
    void stopSharing();
    /// The user presses the keys of a shortcut that was bound last, or binds other ones; `id` as the client named it.
    void pressShortcut(const std::string& id);
    void bindOtherKeys(const std::string& id, const std::string& keys);
    /// The portal dies.
    void vanish();

  private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace lumivastor
