// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/file_viewer.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QDesktopServices>
#include <QStringList>
#include <QUrl>

namespace lumivastor::ui {

namespace {

void openFolder(const QString& file) {
    QDesktopServices::openUrl(QUrl::fromLocalFile(file).adjusted(QUrl::RemoveFilename));
}

}  // namespace

void revealInFileViewer(const std::filesystem::path& file) {
    const QString path = QString::fromStdString(std::filesystem::absolute(file).string());
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return openFolder(path);
    QDBusMessage call = QDBusMessage::createMethodCall("org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
                                                       "org.freedesktop.FileManager1", "ShowItems");
    call << QStringList{QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded)} << QString();
    // A viewer that has to be started first takes a while.
    constexpr int kPatience = 10'000;
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, kPatience));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [watcher, path] {
        if (watcher->isError()) openFolder(path);
        watcher->deleteLater();
    });
}

void playFile(const std::filesystem::path& file) {
    QDesktopServices::openUrl(QUrl::fromLocalFile(QString::fromStdString(std::filesystem::absolute(file).string())));
}

}  // namespace lumivastor::ui
