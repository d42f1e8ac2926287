// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QNetworkAccessManager>
#include <QPointer>
#include <QUrl>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "app/updates/update_feed.h"

class QNetworkReply;

namespace lumivastor::app {

/// The address of the update feed: the line `UpdateFeedURL=https://...` of "lumivastor.conf" beside the binary, or of
/// "../share/lumivastor/lumivastor.conf". nullopt without such a line, and for addresses other than https or http on
/// this machine itself.
std::optional<QUrl> installedFeed(const std::filesystem::path& binaryFolder);

/// Reads a feed and reports whether it has a newer version. Main thread.
class Updater {
  public:
    struct Outcome {
        std::optional<Release> newer;
        /// The reason why the check failed; empty on success.
        std::string error;
    };

    Updater(QUrl feed, std::string currentVersion);
    ~Updater();
    Updater(const Updater&) = delete;
    Updater& operator=(const Updater&) = delete;

    /// Checks in the background; no effect during a check. `completion` runs on the main thread, unless this is
    /// destroyed before.
    void check(std::function<void(const Outcome&)> completion);

  private:
    Outcome read(QNetworkReply& reply);

    const QUrl feed_;
    const std::string currentVersion_;
    QNetworkAccessManager network_;
    QPointer<QNetworkReply> reply_;
    QByteArray received_;  // of the reply
};

}  // namespace lumivastor::app
