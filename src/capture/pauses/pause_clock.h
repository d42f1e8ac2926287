// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <utility>

#include "capture/pauses/pauses.h"

namespace lumivastor::capture {

/// The pauses of a running recording, shared by everything that records. Any thread.
class PauseClock {
  public:
    /// `hostClock` tells seconds.
    explicit PauseClock(std::function<double()> hostClock) : hostClock_(std::move(hostClock)) {}

    /// A pause begins now. False while one lasts.
    bool pause(bool isByPointer);
    /// It ends now. False while none lasts.
    bool resume();

    /// The pauses so far. A sample that is taken now, or was taken before, has a place in it that later pauses leave as
    /// it is.
    std::shared_ptr<const Pauses> pauses() const;

  private:
    const std::function<double()> hostClock_;
    mutable std::mutex lock_;
    std::shared_ptr<const Pauses> pauses_ = std::make_shared<const Pauses>();  // guarded by lock_
};

}  // namespace lumivastor::capture
