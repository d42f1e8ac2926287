// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <mutex>
#include <string>
#include <utility>

namespace lumivastor::platform {

/// The microphone and the camera that the user has chosen, by their lasting ids; empty means the desktop's default.
/// Who chooses and who opens devices share it. Any thread.
class DeviceSelection {
  public:
    std::string microphone() const { return get(microphone_); }
    std::string camera() const { return get(camera_); }
    void setMicrophone(std::string id) { set(microphone_, std::move(id)); }
    void setCamera(std::string id) { set(camera_, std::move(id)); }

  private:
    std::string get(const std::string& id) const {
        const std::lock_guard hold(lock_);
        return id;
    }
    void set(std::string& id, std::string now) {
        const std::lock_guard hold(lock_);
        id = std::move(now);
    }

    mutable std::mutex lock_;
    std::string microphone_;  // guarded by lock_
    std::string camera_;      // guarded by lock_
};

}  // namespace lumivastor::platform
