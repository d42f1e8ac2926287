// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <stop_token>
#include <string>
#include <variant>

#include "platform/shareable_content.h"

namespace lumivastor::platform {

/// How a recording knows the pointer.
enum class PointerKnowledge {
    none,       // it is neither in the pictures nor reported
    embedded,   // painted into the pictures
    positions,  // reported: positions and shapes
};

/// Where the desktop's own dialog chooses what is recorded, instead of lists that this program shows. Any thread; one
/// `pick` at a time.
class ContentPicker {
  public:
    enum class Kind { display, window };

    /// What the dialog can offer.
    struct Offer {
        bool displays = false;
        bool windows = false;
        PointerKnowledge pointer = PointerKnowledge::none;
        /// Whether the last choice can be granted again without a dialog.
        bool restores = false;
    };

    struct Request {
        Kind kind = Kind::display;
        /// Shows the dialog even when the last choice of this kind could be granted again.
        bool asksAgain = false;
        /// Pictures a second that the recording will take at most.
        int maximumRate = 60;
        /// The window to which the dialog belongs, as the desktop's portal names it; empty: none.
        std::string parentWindow;
    };

    virtual ~ContentPicker() = default;

    /// Throws `RecorderError` when the desktop lets no program record.
    virtual Offer offer() = 0;

    /// Waits until the user has chosen, which has no limit of time. From then on `Desktop::shareableContent` lists what
    /// was granted and nothing else, until `release` or the end of the stream that records it. Returns the display or
    /// window; nullopt when `stop` was requested, which closes the dialog. Throws `RecorderError`, also when the user
    /// says no.
    virtual std::optional<std::variant<Display, Window>> pick(const Request& request, std::stop_token stop) = 0;

    /// Gives a grant back that no stream has taken over. Does nothing otherwise.
    virtual void release() = 0;
};

}  // namespace lumivastor::platform
