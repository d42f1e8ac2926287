// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <stop_token>
#include <string>
#include <variant>

#include "imaging/pixel_buffer.h"
#include "platform/shareable_content.h"

namespace lumivastor::platform {

/// How a recording knows the pointer.
enum class PointerKnowledge {
    none,       // it is neither in the pictures nor reported
    embedded,   // painted into the pictures
    positions,  // reported: positions and shapes, but not clicks and scrolling
    complete,   // all of it is reported
};

/// Where the desktop's own dialog chooses what is recorded, instead of lists that this program shows. Any thread; one
/// `pick` at a time.
class ContentPicker {
  public:
    enum class Kind { display, window };
    /// What was granted.
    using Content = std::variant<Display, Window>;

    /// What the dialog can offer.
    struct Offer {
        bool displays = false;
        bool windows = false;
        PointerKnowledge pointer = PointerKnowledge::none;
        /// Whether the last choice can be granted again without a dialog.
        bool restores = false;
        /// With `PointerKnowledge::positions`: why clicks cannot be seen, as a German sentence.
        std::string clickRefusal = {};
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
    virtual std::optional<Content> pick(const Request& request, std::stop_token stop) = 0;

    /// Whether a grant waits for a stream that records it. False also when the user has ended the sharing meanwhile.
    virtual bool holdsGrant() = 0;

    /// What the granted display or window shows, in its pixels. Waits up to `seconds` for its first picture; nullopt
    /// when none comes, and without a grant that waits.
    virtual std::optional<imaging::BgraPremultipliedBuffer> stillPicture(double seconds) = 0;

    /// Gives a grant back that no stream has taken over. Does nothing otherwise.
    virtual void release() = 0;
};

}  // namespace lumivastor::platform
