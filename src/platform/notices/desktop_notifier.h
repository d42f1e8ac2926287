// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/main_loop.h"

namespace lumivastor::notices {

/// A notification of the desktop (org.freedesktop.Notifications).
struct DesktopNotice {
    struct Action {
        std::string key;    // for `chosen`
        std::string title;  // German
    };

    std::string heading;
    std::string text;
    std::vector<Action> actions;  // left out where the desktop has none
};

/// Shows notifications on a thread of its own, which begins with the first one. Where there is no message bus or no
/// service for it, nothing happens. Main thread.
class DesktopNotifier {
  public:
    /// `address` is the message bus; empty means the session's. The loop outlives the notifier.
    explicit DesktopNotifier(MainLoop& loop, std::string address = {});
    /// Notifications that are shown stay; their actions do nothing any more.
    ~DesktopNotifier();
    DesktopNotifier(const DesktopNotifier&) = delete;
    DesktopNotifier& operator=(const DesktopNotifier&) = delete;

    /// Returns at once. `chosen` is called on the main thread with the key of the action that the user has chosen.
    void show(DesktopNotice notice, std::function<void(const std::string& key)> chosen);

  private:
    class Connection;

    MainLoop& loop_;
    const std::string address_;
    std::unique_ptr<Connection> connection_;
};

}  // namespace lumivastor::notices
