// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QApplication>

namespace lumivastor {

/// The QApplication of one test, without a display. For test programs whose other tests make their own; the others link
/// qt_application.cpp.
class OffscreenApplication {
  public:
    QApplication& operator*() { return application_; }

  private:
    int count_ = 1;
    char name_[5] = "test";
    char* words_[2] = {name_, nullptr};
    const bool offscreen_ = qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application_{count_, words_};
};

}  // namespace lumivastor
