#include "platform/x11/global_shortcut.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <xcb/xcb.h>

#include <cstdint>
#include <optional>
#include <thread>
#include <utility>

#include "base/recorder_error.h"
#include "base/thread_name.h"
#include "base/unique_descriptor.h"
#include "platform/x11/x_connection.h"

namespace lumivastor {
namespace {

// A grab holds for exactly the modifiers that it names, so Caps Lock and Num Lock (which the second modifier is by
// convention) are named in every combination.
constexpr std::uint16_t kLocks[] = {0, XCB_MOD_MASK_LOCK, XCB_MOD_MASK_2, XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2};

std::uint16_t modifiers(const KeyCombination& keys) {
    int mask = 0;
    if (keys.control) mask |= XCB_MOD_MASK_CONTROL;
    if (keys.alt) mask |= XCB_MOD_MASK_1;
    if (keys.shift) mask |= XCB_MOD_MASK_SHIFT;
    return static_cast<std::uint16_t>(mask);
}

// The key that types the letter, whatever the keyboard's layout.
std::optional<std::uint8_t> keyFor(const XConnection& connection, char letter) {
    const xcb_setup_t* const setup = xcb_get_setup(connection);
    const int first = setup->min_keycode;
    const auto reply =
        xReply(connection, xcb_get_keyboard_mapping_reply,
               xcb_get_keyboard_mapping(connection, setup->min_keycode,
                                        static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1)));
    if (!reply || reply->keysyms_per_keycode == 0) return std::nullopt;
    const xcb_keysym_t* const symbols = xcb_get_keyboard_mapping_keysyms(reply.get());
    const int count = xcb_get_keyboard_mapping_keysyms_length(reply.get());
    // The symbols of letters are their ASCII codes; a key's first symbol is the small letter, or on some servers the
    // capital one.
    const auto capital = static_cast<xcb_keysym_t>(static_cast<unsigned char>(letter));
    for (int i = 0; i < count; i += reply->keysyms_per_keycode) {
        if (symbols[i] == capital || symbols[i] == capital + ('a' - 'A')) {
            return static_cast<std::uint8_t>(first + i / reply->keysyms_per_keycode);
        }
    }
    return std::nullopt;
}

class X11Shortcut final : public GlobalShortcut {
  public:
    X11Shortcut(const KeyCombination& keys, std::function<void()> pressed, const std::string& displayName)
        : pressed_(std::move(pressed)), connection_(displayName), wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
        const BrokenPipeGuard guard;
        const auto key = keyFor(connection_, keys.letter);
        if (!key) throw RecorderError("Die Tastatur hat keine Taste für das Tastenkürzel.");
        if (!wake_.isOpen())
            throw RecorderError("Das Tastenkürzel lässt sich nicht anmelden: zu viele offene Dateien.");
        for (const std::uint16_t locks : kLocks) grab(*key, static_cast<std::uint16_t>(modifiers(keys) | locks));
        thread_ = std::thread([this] { run(); });
    }
    ~X11Shortcut() override {
        // The server lets go of the keys when the connection ends.
        eventfd_write(wake_.get(), 1);
        thread_.join();
    }
    X11Shortcut(const X11Shortcut&) = delete;
    X11Shortcut& operator=(const X11Shortcut&) = delete;

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
        nameThisThread("aufnahme.taste");
        const BrokenPipeGuard guard;
        for (;;) {
            while (const XEvent event = connection_.nextEvent()) {
                if (event.type() == XCB_KEY_PRESS) pressed_();
            }
            pollfd sources[] = {{wake_.get(), POLLIN, 0}, {xcb_get_file_descriptor(connection_), POLLIN, 0}};
            poll(sources, std::size(sources), -1);
            if ((sources[0].revents & POLLIN) != 0 || connection_.isBroken()) return;
        }
    }

    const std::function<void()> pressed_;
    XConnection connection_;
    UniqueDescriptor wake_;
    std::thread thread_;
};

}  // namespace

std::unique_ptr<GlobalShortcut> grabX11Shortcut(const KeyCombination& keys, std::function<void()> pressed,
                                                const std::string& displayName) {
    return std::make_unique<X11Shortcut>(keys, std::move(pressed), displayName);
}

}  // namespace lumivastor
