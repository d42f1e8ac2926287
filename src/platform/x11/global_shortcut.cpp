// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/global_shortcut.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <xcb/xcb.h>

#include <cstdint>
#include <thread>
#include <utility>
#include <vector>

#include "base/recorder_error.h"
#include "base/thread_name.h"
#include "base/unique_descriptor.h"
#include "platform/x11/shortcut_keys.h"
#include "platform/x11/x_connection.h"

namespace lumivastor::x11 {
namespace {

// A grab holds for exactly the modifiers that it names, so Caps Lock and Num Lock (which the second modifier is by
// convention) are named in every combination.
constexpr std::uint16_t kLocks[] = {0, XCB_MOD_MASK_LOCK, XCB_MOD_MASK_2, XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2};

std::uint16_t modifiers(const platform::KeyCombination& keys) {
    int mask = 0;
    if (keys.control) mask |= XCB_MOD_MASK_CONTROL;
    if (keys.alt) mask |= XCB_MOD_MASK_1;
    if (keys.shift) mask |= XCB_MOD_MASK_SHIFT;
    return static_cast<std::uint16_t>(mask);
}

// A press carries the group beside the modifiers.
int groupOf(std::uint16_t state) {
    return state >> 13 & 3;
}

// A snapshot of the server's keyboard mapping.
class Keyboard {
  public:
    explicit Keyboard(const XConnection& connection) {
        const xcb_setup_t* const setup = xcb_get_setup(connection);
        firstKey_ = setup->min_keycode;
        const auto reply =
            xReply(connection, xcb_get_keyboard_mapping_reply,
                   xcb_get_keyboard_mapping(connection, setup->min_keycode,
                                            static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1)));
        if (!reply) return;
        columns_ = reply->keysyms_per_keycode;
        const xcb_keysym_t* const symbols = xcb_get_keyboard_mapping_keysyms(reply.get());
        symbols_.assign(symbols, symbols + xcb_get_keyboard_mapping_keysyms_length(reply.get()));
    }

    KeyboardMapping mapping() const { return {symbols_, columns_, firstKey_}; }

  private:
    std::vector<std::uint32_t> symbols_;
    int columns_ = 0;
    int firstKey_ = 0;
};

class X11Shortcut final : public platform::GlobalShortcut {
  public:
    X11Shortcut(const platform::KeyCombination& keys, std::function<void()> pressed, const std::string& displayName)
        : pressed_(std::move(pressed)),
          letter_(keys.letter),
          text_(platform::keyText(keys)),
          connection_(displayName),
          wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
        const BrokenPipeGuard guard;
        const auto grabbed = keysFor(keyboard_.mapping(), letter_);
        if (grabbed.empty()) throw RecorderError("Die Tastatur hat keine Taste für das Tastenkürzel.");
        if (!wake_.isOpen())
            throw RecorderError("Das Tastenkürzel lässt sich nicht anmelden: zu viele offene Dateien.");
        // The group that will be active when the keys are pressed is not known yet.
        for (const std::uint8_t key : grabbed) {
            for (const std::uint16_t locks : kLocks) grab(key, static_cast<std::uint16_t>(modifiers(keys) | locks));
        }
        thread_ = std::thread([this] { run(); });
    }
    ~X11Shortcut() override {
        // The server releases the keys when the connection ends.
        eventfd_write(wake_.get(), 1);
        thread_.join();
    }
    X11Shortcut(const X11Shortcut&) = delete;
    X11Shortcut& operator=(const X11Shortcut&) = delete;

    std::string keys() const override { return text_; }

  private:
    void grab(std::uint8_t key, std::uint16_t mask) const {
        const XOwned<xcb_generic_error_t> refused(
            xcb_request_check(connection_, xcb_grab_key_checked(connection_, 1, connection_.root(), mask, key,
                                                                XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC)));
        if (refused || connection_.isBroken()) {
            throw RecorderError("Das Tastenkürzel ist schon von einem anderen Programm belegt.");
        }
    }

    void run() {
        nameThisThread("x11.shortcut");
        const BrokenPipeGuard guard;
        for (;;) {
            while (const XEvent event = connection_.nextEvent()) {
                if (event.type() != XCB_KEY_PRESS) continue;
                const auto& press = event.as<xcb_key_press_event_t>();
                if (meansLetter(keyboard_.mapping(), press.detail, groupOf(press.state), letter_)) pressed_();
            }
            pollfd sources[] = {{wake_.get(), POLLIN, 0}, {xcb_get_file_descriptor(connection_), POLLIN, 0}};
            poll(sources, std::size(sources), -1);
            if ((sources[0].revents & POLLIN) != 0 || connection_.isBroken()) return;
        }
    }

    const std::function<void()> pressed_;
    const char letter_;
    const std::string text_;
    XConnection connection_;
    Keyboard keyboard_{connection_};
    UniqueDescriptor wake_;
    std::thread thread_;
};

}  // namespace

std::unique_ptr<platform::GlobalShortcut> grabX11Shortcut(const platform::KeyCombination& keys,
                                                          std::function<void()> pressed,
                                                          const std::string& displayName) {
    return std::make_unique<X11Shortcut>(keys, std::move(pressed), displayName);
}

}  // namespace lumivastor::x11
