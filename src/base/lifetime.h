// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

namespace lumivastor {

/// Lets work that was posted to the main loop check whether its owner still exists. The owner holds a `Lifetime` as a
/// member, the work holds a watch:
///
///     mainLoop.async([this, alive = lifetime_.watch()] {
///         if (!alive.expired()) finished();
///     });
///
/// Owner and check both live on the main thread, so no lock is needed. Other threads may only copy a watch that the
/// main thread took.
class Lifetime {
  public:
    using Watch = std::weak_ptr<const void>;

    Watch watch() const { return token_; }
    /// Ends delivery before the owner ends.
    void end() { token_.reset(); }

  private:
    std::shared_ptr<const void> token_ = std::make_shared<char>();
};

}  // namespace lumivastor
