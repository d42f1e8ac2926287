// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

namespace lumivastor {

/// Tells work that was posted to the main loop whether its owner still exists. The owner holds it as a member, and the
/// work a watch:
///
///     mainLoop.async([this, alive = lifetime_.watch()] {
///         if (!alive.expired()) finished();
///     });
///
/// Owner and check both live on the main thread, so no lock is needed. Take a watch on another thread only from a copy
/// that was made before.
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
