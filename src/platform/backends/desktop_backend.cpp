#include "platform/backends/desktop_backend.h"

#include <utility>

#include "platform/x11/compositing.h"
#include "platform/x11/global_shortcut.h"
#include "platform/x11/x11_desktop.h"

namespace lumivastor {

std::unique_ptr<Desktop> openDesktop(std::shared_ptr<SoundSystem> sound) {
    return openX11Desktop(std::move(sound));
}

std::unique_ptr<GlobalShortcut> grabShortcut(const KeyCombination& keys, std::function<void()> pressed) {
    return grabX11Shortcut(keys, std::move(pressed));
}

bool canShowTranslucentWindows() {
    return hasCompositingManager();
}

}  // namespace lumivastor
