// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "support/child_process.h"
#include "support/temporary_folder.h"

namespace lumivastor {

/// A PulseAudio server of the test's own, without hardware: what is played to the sink "sysout", the default, is system
/// sound; what is played to the sink "micfeed" is heard by the default source "testmic", a mono microphone. In a
/// temporary folder, so that any number of them run beside each other and beside the user's.
class PulseRig {
  public:
    /// Started and ready. Throws std::runtime_error that says what is missing.
    PulseRig();

    /// For PULSE_SERVER, and for whatever takes a server's address.
    std::string address() const;

    /// As when the server crashes.
    void kill();
    /// Starts it again at the same address.
    void start();
    /// As when somebody stops it in the debugger: it is there and says nothing.
    void freeze(bool isFrozen);
    /// Makes another device the default, as when a headset is plugged in.
    void setDefaultSink(const std::string& name);
    /// How far ahead the sink "sysout" makes sound, in seconds.
    double blockLength();
    /// Whether a stream is being played, not merely there.
    bool isPlaying();

  private:
    std::string askServer(const std::vector<std::string>& question);

    TemporaryFolder folder_;
    std::unique_ptr<ChildProcess> server_;
};

/// A PipeWire server of the test's own with a session manager and PulseAudio's protocol, and the same devices.
class PipeWireRig {
  public:
    /// Started and ready. Throws std::runtime_error that says what is missing.
    PipeWireRig();

    /// The socket of PipeWire itself, and that of PulseAudio's protocol.
    std::string remote() const;
    std::string pulseAddress() const;
    /// For programs that are to find the server: XDG_RUNTIME_DIR and what goes with it.
    std::map<std::string, std::string> environment() const;
    /// For what such programs leave behind.
    const TemporaryFolder& folder() const { return folder_; }
    void setDefaultSink(const std::string& name);

    void kill();
    void start();

  private:
    std::string metadata();

    TemporaryFolder folder_;
    std::unique_ptr<ChildProcess> server_;
    std::unique_ptr<ChildProcess> manager_;
    std::unique_ptr<ChildProcess> pulse_;
};

/// An address where no server is.
std::string nobodysAddress(const TemporaryFolder& folder);

}  // namespace lumivastor
