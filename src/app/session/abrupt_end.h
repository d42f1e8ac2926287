// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

namespace lumivastor::app {

/// The window toolkit ends the program by `exit`, from within its event loop, when the connection to the display server
/// breaks. While this lives, `finish` runs first, on the main thread, and the process ends behind it with exit status
/// 1; nothing else is destroyed then, as everything may still be in use. One at a time; made and destroyed on the main
/// thread, within the life of the QApplication.
class AbruptEnd {
  public:
    explicit AbruptEnd(std::function<void()> finish);
    ~AbruptEnd();
    AbruptEnd(const AbruptEnd&) = delete;
    AbruptEnd& operator=(const AbruptEnd&) = delete;
};

}  // namespace lumivastor::app
