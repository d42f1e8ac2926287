// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>

#include "capture/capture_services.h"
#include "capture/pointer/pointer_records.h"

namespace lumivastor::capture {

class Journal;

/// Polls the recorded window's frame 30 times a second: one sample for each change, the first being the frame at the
/// start. A window that is gone has no more samples.
class WindowFrameTracker {
  public:
    static constexpr double kInterval = 1.0 / 30;

    /// Frames are in points of `space`. `journal` may be null and outlives the tracker.
    WindowFrameTracker(const CaptureServices& services, std::uint32_t windowID, const platform::PointSpace& space,
                       Journal* journal);
    WindowFrameTracker(const WindowFrameTracker&) = delete;
    WindowFrameTracker& operator=(const WindowFrameTracker&) = delete;

    /// Main thread, also for destruction.
    void start();
    void stop();

    /// The samples so far. Any thread.
    WindowTrack frames() const;

  private:
    void sample();

    const CaptureServices services_;
    const std::uint32_t windowID_;
    const platform::PointSpace space_;
    Journal* const journal_;
    mutable std::mutex lock_;
    WindowTrack samples_;                     // guarded by lock_
    std::unique_ptr<MainLoop::Timer> timer_;  // main thread only
};

}  // namespace lumivastor::capture
