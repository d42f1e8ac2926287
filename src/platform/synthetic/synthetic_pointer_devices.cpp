// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/synthetic/synthetic_pointer_devices.h"

#include <mutex>
#include <utility>

#include "base/precondition.h"

namespace lumivastor::synthetic {

struct SyntheticPointerDevices::State {
    std::mutex lock;
    std::optional<std::string> reason;       // guarded by lock
    platform::PointerActionHandler handler;  // guarded by lock, which is held while it runs; empty: not watched
};

class SyntheticPointerDevices::Actions final : public platform::PointerActions {
  public:
    Actions(std::shared_ptr<State> state, platform::PointerActionHandler handler) : state_(std::move(state)) {
        const std::lock_guard hold(state_->lock);
        precondition(!state_->handler, "one watcher at a time");
        state_->handler = std::move(handler);
    }
    ~Actions() override {
        const std::lock_guard hold(state_->lock);
        state_->handler = nullptr;
    }
    Actions(const Actions&) = delete;
    Actions& operator=(const Actions&) = delete;

  private:
    const std::shared_ptr<State> state_;
};

SyntheticPointerDevices::SyntheticPointerDevices() : state_(std::make_shared<State>()) {}
SyntheticPointerDevices::~SyntheticPointerDevices() = default;

void SyntheticPointerDevices::refuse(std::optional<std::string> reason) {
    const std::lock_guard hold(state_->lock);
    state_->reason = std::move(reason);
}

void SyntheticPointerDevices::emit(const platform::RawPointerEvent& event) {
    const std::lock_guard hold(state_->lock);
    if (state_->handler) state_->handler(event);
}

bool SyntheticPointerDevices::isWatched() const {
    const std::lock_guard hold(state_->lock);
    return static_cast<bool>(state_->handler);
}

std::optional<std::string> SyntheticPointerDevices::why() {
    const std::lock_guard hold(state_->lock);
    return state_->reason;
}

std::unique_ptr<platform::PointerActions> SyntheticPointerDevices::watch(platform::PointerActionHandler handler) {
    return std::make_unique<Actions>(state_, std::move(handler));
}

}  // namespace lumivastor::synthetic
