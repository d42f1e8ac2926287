// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

namespace lumivastor::app {

/// When the connection to the display server breaks, the window toolkit calls `exit`, on any of its threads. While
/// this object lives, `finish` runs first, on the main thread; then the process ends with exit status 1 without further
/// destructors, because all objects may still be in use. Only one may exist. Construct and destroy it on the main
/// thread, during the life of the QApplication.
class AbruptEnd {
  public:
    explicit AbruptEnd(std::function<void()> finish);
    ~AbruptEnd();
    AbruptEnd(const AbruptEnd&) = delete;
    AbruptEnd& operator=(const AbruptEnd&) = delete;
};

}  // namespace lumivastor::app
