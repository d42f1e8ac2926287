// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <map>
#include <mutex>
#include <string>
#include <utility>

namespace lumivastor::platform {

/// The sound that the user has chosen for a capture card.
struct CardSound {
    /// The lasting id of a sound input; empty means the one on the card's own hardware.
    std::string input;
    /// The card is recorded without sound.
    bool isNone = false;

    bool operator==(const CardSound&) const = default;
};

/// The microphone and the camera that the user has chosen, by their lasting ids; empty means the desktop's default. And
/// the sound of capture cards. Who chooses and who opens devices share it. Any thread.
class DeviceSelection {
  public:
    std::string microphone() const { return get(microphone_); }
    std::string camera() const { return get(camera_); }
    /// `card`: a card's lasting id.
    CardSound cardSound(const std::string& card) const {
        const std::lock_guard hold(lock_);
        const auto found = cardSounds_.find(card);
        return found == cardSounds_.end() ? CardSound{} : found->second;
    }
    void setMicrophone(std::string id) { set(microphone_, std::move(id)); }
    void setCamera(std::string id) { set(camera_, std::move(id)); }
    void setCardSound(const std::string& card, CardSound sound) {
        const std::lock_guard hold(lock_);
        cardSounds_[card] = std::move(sound);
    }

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
    std::string microphone_;                       // guarded by lock_
    std::string camera_;                           // guarded by lock_
    std::map<std::string, CardSound> cardSounds_;  // guarded by lock_
};

}  // namespace lumivastor::platform
