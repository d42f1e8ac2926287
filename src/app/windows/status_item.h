#pragma once

#include <QIcon>
#include <QString>
#include <QSystemTrayIcon>
#include <functional>

namespace lumivastor {

/// The icon of a recording that has lasted `time`: a red dot above the digits. Those panels that show icons alone tell
/// the time all the same.
QIcon recordingIcon(const QString& time);

/// In the desktop's panel while something is recorded; where there is no panel, nowhere.
class StatusItem {
  public:
    /// `title` as "⏺ 0:00". `clicked` stops the recording.
    StatusItem(const QString& title, std::function<void()> clicked);

    void setTitle(const QString& title);

  private:
    QSystemTrayIcon icon_;
};

}  // namespace lumivastor
