// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/window_frame_tracker.h"

#include "capture/journal/journal.h"
#include "capture/journal/journal_records.h"

namespace lumivastor::capture {

WindowFrameTracker::WindowFrameTracker(const CaptureServices& services, std::uint32_t windowID,
                                       const platform::PointSpace& space, Journal* journal)
    : services_(services), windowID_(windowID), space_(space), journal_(journal) {}

void WindowFrameTracker::start() {
    sample();
    timer_ = services_.mainLoop.every(kInterval, [this] { sample(); });
}

void WindowFrameTracker::stop() {
    timer_.reset();
}

WindowTrack WindowFrameTracker::frames() const {
    const std::lock_guard hold(lock_);
    return samples_;
}

void WindowFrameTracker::sample() {
    const auto frame = services_.desktop.windowFrame(windowID_, space_);
    if (!frame) return;
    WindowSample added;
    {
        const std::lock_guard hold(lock_);
        if (!samples_.empty() && samples_.back().rect == *frame) return;
        added = {services_.hostClock(), *frame};
        samples_.push_back(added);
    }
    if (journal_ != nullptr) journal_->append(journalLine::window(added));
}

}  // namespace lumivastor::capture
