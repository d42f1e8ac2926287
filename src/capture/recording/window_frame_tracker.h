// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>

#include "capture/capture_services.h"
#include "capture/pointer/pointer_records.h"

namespace lumivastor::capture {

class Journal;

/// Notes, 30 times a second, where the recorded window is: one sample for each change of its frame, the first being
/// its frame at the start. A window that is gone gives no more.
class WindowFrameTracker {
  public:
    static constexpr double kInterval = 1.0 / 30;

    /// Frames are in points of `space`. `journal` may be null and outlives the tracker.
    WindowFrameTracker(const CaptureServices& services, std::uint32_t windowID, const platform::PointSpace& space,
                       Journal* journal);
    WindowFrameTracker(const WindowFrameTracker&) = delete;
    WindowFrameTracker& operator=(const WindowFrameTracker&) = delete;

    /// Main thread. The tracker ends on it, too.
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
