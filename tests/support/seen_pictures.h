// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "base/serial_queue.h"
#include "platform/capture_device.h"
#include "support/heard_sound.h"

namespace lumivastor {

/// Collects a capture session's samples. Must outlive the session's run. Any thread.
class SeenPictures {
  public:
    struct Seen {
        double hostSeconds = 0;
        double arrived = 0;  // host seconds, at the handler
        int width = 0;
        int height = 0;
        int grey = 0;  // of the green value in the middle
    };

    /// Adds outputs for pictures and, where the session has some, sound; listens for interruptions.
    void watch(platform::CaptureSession& session, bool discardsLate = false);

    std::vector<Seen> pictures() const;
    std::vector<std::string> interruptions() const;
    const HeardSound& sound() const { return sound_; }
    bool hasSound() const { return hasSound_; }
    /// Waits; returns false after `timeout` seconds.
    bool awaitPictures(std::size_t count, double timeout = 60) const;
    bool awaitInterruption(double timeout = 60) const;
    /// Returns when all waiting samples have been handled.
    void drain() { queue_.drain(); }

  private:
    mutable std::mutex lock_;
    std::vector<Seen> pictures_;              // guarded by lock_
    std::vector<std::string> interruptions_;  // guarded by lock_
    HeardSound sound_;
    bool hasSound_ = false;
    SerialQueue queue_{"test.device"};  // last: its work uses everything above
};

}  // namespace lumivastor
