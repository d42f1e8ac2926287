// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <thread>

#include "base/unique_descriptor.h"

namespace lumivastor::capture {

/// The folder through which running recordings of this user are reached: the session's runtime folder, or else one of
/// the user's own in the folder for temporary files.
std::filesystem::path recordingControlFolder();

/// Lets other processes of this user stop a recording, for desktops whose own keyboard settings start commands: listens
/// on a socket in the folder while it lives. Without a writable folder nothing listens, which the log says.
class RecordingControl {
  public:
    /// `stop` runs on a thread of the control ("control.stop"), once for each request, and not after destruction.
    RecordingControl(const std::filesystem::path& folder, std::function<void()> stop);
    ~RecordingControl();
    RecordingControl(const RecordingControl&) = delete;
    RecordingControl& operator=(const RecordingControl&) = delete;

  private:
    void listen();

    const std::function<void()> stop_;
    std::filesystem::path path_;
    UniqueDescriptor socket_;
    UniqueDescriptor wake_;  // readable when the thread is to end
    std::thread thread_;
};

/// Asks all running recordings in the folder to stop, as their Stop button would. Returns how many took the request;
/// removes what crashed processes left behind. A process that does not answer within two seconds does not count.
int stopRecordings(const std::filesystem::path& folder);

}  // namespace lumivastor::capture
