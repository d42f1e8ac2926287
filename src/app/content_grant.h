// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <optional>
#include <stop_token>
#include <variant>

#include "app/app_services.h"
#include "base/lifetime.h"
#include "base/recorder_error.h"
#include "base/serial_queue.h"
#include "platform/content_picker.h"

namespace lumivastor::app {

/// Asks the desktop's own dialog what is recorded, on a thread of its own ("app.grant"), because the user may take
/// minutes. Main thread.
class ContentGrant {
  public:
    using Content = std::variant<platform::Display, platform::Window>;
    /// What the user chose; nullopt after `cancel`; an error also when the user said no.
    using Outcome = std::variant<std::optional<Content>, RecorderError>;

    explicit ContentGrant(const AppServices& services) : services_(services) {}
    /// Cancels.
    ~ContentGrant();
    ContentGrant(const ContentGrant&) = delete;
    ContentGrant& operator=(const ContentGrant&) = delete;

    /// `completion` runs on the main thread, later, and not after destruction. One question at a time; only on a
    /// desktop with a picker.
    void ask(const platform::ContentPicker::Request& request, std::function<void(const Outcome&)> completion);
    /// Closes the dialog. Does nothing when there is none.
    void cancel();
    /// Gives back what was granted and not recorded.
    void release();

  private:
    const AppServices& services_;
    std::stop_source stop_;  // of the last question
    Lifetime lifetime_;
    SerialQueue queue_{"app.grant"};  // last: waits for a question that is being cancelled
};

}  // namespace lumivastor::app
