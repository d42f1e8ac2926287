// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QIcon>
#include <QString>
#include <QSystemTrayIcon>
#include <functional>
#include <memory>

#include "app/windows/panels.h"

class QAction;
class QMenu;

namespace lumivastor::app {

/// The icon of a recording that has lasted `time`: a red dot above the digits, or two bars in a pause, so that panels
/// that show only icons show the time, too.
QIcon recordingIcon(const QString& time, bool isPaused = false);

/// The icon in the desktop's panel during a recording. Without such a panel nothing is shown. A left click stops the
/// recording; a right click opens a menu.
class StatusItem {
  public:
    /// Whether the desktop has such a panel.
    static bool areShown() { return QSystemTrayIcon::isSystemTrayAvailable(); }

    /// `title` has the form "⏺ 0:00".
    StatusItem(const QString& title, const RecordingActions& actions);
    ~StatusItem();

    void setTitle(const QString& title);
    /// Adds a sentence of warning to the tool tip; empty for none.
    void setHint(const QString& sentence);
    /// What the menu offers, and the icon's form from the next title on.
    void setPaused(bool paused);
    QSystemTrayIcon& icon() { return icon_; }

  private:
    const std::unique_ptr<QMenu> menu_;
    QAction* pause_ = nullptr;
    bool isPaused_ = false;
    QSystemTrayIcon icon_;
};

}  // namespace lumivastor::app
