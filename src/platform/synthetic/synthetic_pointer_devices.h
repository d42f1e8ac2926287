// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/input/pointer_devices.h"

namespace lumivastor::synthetic {

/// Pointer devices that a test drives by hand. Any thread.
class SyntheticPointerDevices final : public platform::PointerDevices {
  public:
    SyntheticPointerDevices();
    ~SyntheticPointerDevices() override;

    /// Why clicks cannot be seen from now on; nullopt: they can, as in the beginning. Watching works all the same.
    void refuse(std::optional<std::string> reason);
    /// Goes to the present watcher, on the caller's thread; nothing happens without one.
    void emit(const platform::RawPointerEvent& event);
    bool isWatched() const;

    std::optional<std::string> why() override;
    /// One watcher at a time, which may outlive the devices.
    std::unique_ptr<platform::PointerActions> watch(platform::PointerActionHandler handler) override;

  private:
    struct State;
    class Actions;

    const std::shared_ptr<State> state_;
};

}  // namespace lumivastor::synthetic
