// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <variant>

#include "app/app_services.h"
#include "base/lifetime.h"
#include "base/recorder_error.h"
#include "base/serial_queue.h"
#include "imaging/pixel_buffer.h"
#include "platform/content_picker.h"

namespace lumivastor::app {

/// Asks the desktop's own dialog what is recorded, on a thread of its own ("app.grant"), because the user may take
/// minutes. Main thread.
class ContentGrant {
  public:
    using Content = platform::ContentPicker::Content;
    using Kind = platform::ContentPicker::Kind;
    /// What the user chose; nullopt after `cancel`; an error also when the user said no.
    using Outcome = std::variant<std::optional<Content>, RecorderError>;
    /// What a granted display shows; null when it sends no picture.
    using Picture = std::shared_ptr<const imaging::BgraPremultipliedBuffer>;

    explicit ContentGrant(const AppServices& services) : services_(services) {}
    /// Cancels.
    ~ContentGrant();
    ContentGrant(const ContentGrant&) = delete;
    ContentGrant& operator=(const ContentGrant&) = delete;

    /// `completion` runs on the main thread, later, and not after destruction. One question at a time; only on a
    /// desktop with a picker. What was held is given back.
    void ask(const platform::ContentPicker::Request& request, std::function<void(const Outcome&)> completion);
    /// Closes the dialog. Does nothing when there is none.
    void cancel();

    /// Asks for the shortcut that stops recordings and for `further` ones, which may open a dialog as well; null when
    /// there is none, or after `cancel`. `completion` runs as that of `ask`.
    void askForShortcut(std::function<void()> pressed, std::vector<platform::FurtherKeys> further,
                        std::function<void(std::shared_ptr<platform::GlobalShortcut>)> completion);

    /// What was granted, is of this kind, and can still be recorded.
    std::optional<Content> held(Kind kind) const;
    /// What was granted last and not given back; the user may have ended the sharing meanwhile.
    const std::optional<Content>& last() const { return held_; }
    /// A picture of what is held; `completion` runs as that of `ask`.
    void takePicture(std::function<void(Picture)> completion);
    /// Gives back what was granted and not recorded.
    void release();
    /// A recording has taken over what was granted.
    void handedOver() { held_.reset(); }

  private:
    const AppServices& services_;
    std::stop_source stop_;  // of the last question
    std::optional<Content> held_;
    Lifetime lifetime_;
    SerialQueue queue_{"app.grant"};  // last: waits for a question that is being cancelled
};

}  // namespace lumivastor::app
