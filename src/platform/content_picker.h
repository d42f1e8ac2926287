// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

#include "base/recorder_error.h"
#include "platform/shareable_content.h"

namespace lumivastor::platform {

/// The user said no in the desktop's dialog.
class ContentRefused : public RecorderError {
  public:
    using RecorderError::RecorderError;
};

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
    /// window; nullopt when `cancel` was called. Throws `ContentRefused` when the user says no, and `RecorderError`.
    virtual std::optional<std::variant<Display, Window>> pick(const Request& request) = 0;

    /// Ends a `pick` that waits, and its dialog. Does nothing otherwise.
    virtual void cancel() = 0;

    /// Gives a grant back that no stream has taken over. Does nothing otherwise.
    virtual void release() = 0;
};

}  // namespace lumivastor::platform
