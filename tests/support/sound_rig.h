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

/// A PulseAudio server for one test, without hardware. Sound played to the default sink "sysout" is system sound; sound
/// played to the sink "micfeed" is heard by the default source "testmic", a mono microphone. It runs in a temporary
/// folder, so any number of them can run at once, beside the user's.
class PulseRig {
  public:
    /// Returns when it is ready. Throws std::runtime_error that says what is missing.
    PulseRig();

    /// The server's address, as for PULSE_SERVER.
    std::string address() const;

    /// Kills the server, like a crash.
    void kill();
    /// Starts it again at the same address.
    void start();
    /// Stops its process, so that it exists but does not answer.
    void freeze(bool isFrozen);
    /// Makes another device the default, like plugging in a headset.
    void setDefaultSink(const std::string& name);
    /// The length of the blocks in which the sink "sysout" works, in seconds.
    double blockLength();
    /// Whether a stream exists and is not corked.
    bool isPlaying();

  private:
    std::string askServer(const std::vector<std::string>& question);

    TemporaryFolder folder_;
    std::unique_ptr<ChildProcess> server_;
};

/// A PipeWire server for one test with a session manager, PulseAudio's protocol, and the same devices.
class PipeWireRig {
  public:
    /// Returns when it is ready. Throws std::runtime_error that says what is missing.
    PipeWireRig();

    /// The socket of PipeWire itself, and that of PulseAudio's protocol.
    std::string remote() const;
    std::string pulseAddress() const;
    /// The environment in which programs find the server: XDG_RUNTIME_DIR and others.
    std::map<std::string, std::string> environment() const;
    /// The folder for files that such programs leave behind.
    const TemporaryFolder& folder() const { return folder_; }
    void setDefaultSink(const std::string& name);

    /// WirePlumber alone.
    void killSessionManager();
    void kill();
    void start();

  private:
    std::string metadata();

    TemporaryFolder folder_;
    std::unique_ptr<ChildProcess> server_;
    std::unique_ptr<ChildProcess> manager_;
    std::unique_ptr<ChildProcess> pulse_;
};

/// Asks a server that speaks PulseAudio's protocol, with the words of its tool "pactl"; the answer's text. Throws
/// std::runtime_error when it fails.
std::string askSoundServer(const std::string& address, const std::vector<std::string>& question);

/// A microphone that can be plugged in and out of a server that speaks PulseAudio's protocol: the source "usbmic",
/// "Funkmikrofon" for users, hears what is played to the sink "usbfeed".
class PluggedMicrophone {
  public:
    explicit PluggedMicrophone(std::string address);
    /// It stays plugged in.
    ~PluggedMicrophone() = default;

    void plugIn();
    void plugOut();

  private:
    std::string address_;
    std::string sink_;  // the numbers of the server's modules
    std::string source_;
};

/// An address without a server.
std::string nobodysAddress(const TemporaryFolder& folder);

}  // namespace lumivastor
