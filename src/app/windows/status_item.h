// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QIcon>
#include <QString>
#include <QSystemTrayIcon>
#include <functional>
#include <memory>

class QMenu;

namespace lumivastor::app {

/// The icon of a recording that has lasted `time`: a red dot above the digits. Those panels that show icons alone tell
/// the time all the same.
QIcon recordingIcon(const QString& time);

/// In the desktop's panel while something is recorded; where there is no panel, nowhere. A left click stops the
/// recording; the right button has a menu.
class StatusItem {
  public:
    /// `title` as "⏺ 0:00".
    StatusItem(const QString& title, const std::function<void()>& stop);
    ~StatusItem();

    void setTitle(const QString& title);
    QSystemTrayIcon& icon() { return icon_; }

  private:
    const std::unique_ptr<QMenu> menu_;
    QSystemTrayIcon icon_;
};

}  // namespace lumivastor::app
