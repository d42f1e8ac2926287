// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "base/geometry.h"
#include "support/desktop_rig/rig_window.h"

namespace lumivastor {

/// The window of a small text editor for recorded demonstrations: a list of documents, a page, a search field and two
/// buttons. The script decides what it shows and what a click does. One thread.
class DemoWindow {
  public:
    static constexpr int kWidth = 1280;
    static constexpr int kHeight = 760;

    explicit DemoWindow(const std::string& displayName);

    /// The places to click, in pixels of the window.
    static Rect saveButton();
    static Rect markButton();
    static Rect searchField();
    static Rect document(int index);

    void showDocument(int index);
    void scrollTo(int pixels);
    void typeInField(const std::string& text);
    void setSaved(bool saved);
    void setMarked(bool marked);

    /// A point of the window on the screen.
    Point onScreen(Point inWindow) const;

  private:
    void draw();

    RigWindow window_;
    int document_ = 0;
    int scrolled_ = 0;
    bool saved_ = false;
    bool marked_ = false;
    std::string search_;
};

}  // namespace lumivastor
