// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

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

/// The address of the update feed that the installed program names: the line `UpdateFeedURL=https://...` of
/// "lumivastor.conf" beside the binary, or of "../share/lumivastor/lumivastor.conf". Nothing where the program was not
/// installed with one, or it is no address of a feed: https, or http on this machine itself.
std::optional<QUrl> installedFeed(const std::filesystem::path& binaryFolder);

/// Reads a feed and tells whether it has a newer version. Main thread.
class Updater {
  public:
    struct Outcome {
        std::optional<Release> newer;
        /// Why it is not known; empty where it is.
        std::string error;
    };

    Updater(QUrl feed, std::string currentVersion);
    ~Updater();
    Updater(const Updater&) = delete;
    Updater& operator=(const Updater&) = delete;

    /// In the background; not while a check is under way. The completion runs on the main thread, unless this is
    /// destroyed before.
    void check(std::function<void(const Outcome&)> completion);

  private:
    Outcome read(QNetworkReply& reply) const;

    const QUrl feed_;
    const std::string currentVersion_;
    QNetworkAccessManager network_;
    QPointer<QNetworkReply> reply_;
};

}  // namespace lumivastor::app
