// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/updates/updater.h"

#include <QFile>
#include <QHostAddress>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <utility>

#include "base/file_bytes.h"

namespace lumivastor::app {

namespace {

constexpr int kTimeoutMilliseconds = 20'000;
constexpr std::uint64_t kConfigurationLimit = 64 * 1024;

bool isThisMachine(const QString& host) {
    return host == "localhost" || QHostAddress(host).isLoopback();
}

bool isFeedAddress(const QUrl& url) {
    return url.isValid() && !url.host().isEmpty() &&
           (url.scheme() == "https" || (url.scheme() == "http" && isThisMachine(url.host())));
}

std::optional<QUrl> feedIn(const std::filesystem::path& file) {
    std::error_code error;
    const FileBytes bytes = readFile(file, kConfigurationLimit, error);
    const QString content = QString::fromUtf8(bytes.text().data(), static_cast<qsizetype>(bytes.size()));
    for (const QString& line : content.split('\n')) {
        if (!line.startsWith("UpdateFeedURL=")) continue;
        const QUrl url(line.section('=', 1).trimmed(), QUrl::StrictMode);
        if (isFeedAddress(url)) return url;
    }
    return std::nullopt;
}

}  // namespace

std::optional<QUrl> installedFeed(const std::filesystem::path& binaryFolder) {
    if (auto feed = feedIn(binaryFolder / "lumivastor.conf")) return feed;
    return feedIn(binaryFolder.parent_path() / "share" / "lumivastor" / "lumivastor.conf");
}

Updater::Updater(QUrl feed, std::string currentVersion)
    : feed_(std::move(feed)), currentVersion_(std::move(currentVersion)) {}

Updater::~Updater() {
    if (reply_) {
        reply_->disconnect();
        reply_->abort();
        delete reply_;
    }
}

void Updater::check(std::function<void(const Outcome&)> completion) {
    if (reply_) return;
    QNetworkRequest request(feed_);
    // Follows no redirect from https to http, or from a feed on this machine to another machine.
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::SameOriginRedirectPolicy);
    request.setTransferTimeout(kTimeoutMilliseconds);
    reply_ = network_.get(request);
    QNetworkReply* const reply = reply_;
    // What arrives is taken at once: a read buffer that is full stops the transfer until its time is over.
    reply->setReadBufferSize(static_cast<qint64>(kFeedLimit));
    received_.clear();
    QObject::connect(reply, &QNetworkReply::readyRead, reply, [this, reply] {
        received_ += reply->readAll();
        if (received_.size() > static_cast<qsizetype>(kFeedLimit)) reply->abort();
    });
    QObject::connect(reply, &QNetworkReply::finished, reply, [this, reply, completion = std::move(completion)] {
        reply_ = nullptr;
        const Outcome outcome = read(*reply);
        reply->deleteLater();
        completion(outcome);
    });
}

Updater::Outcome Updater::read(QNetworkReply& reply) {
    if (reply.error() != QNetworkReply::NoError) {
        return {{}, "Die Liste der Updates konnte nicht gelesen werden."};
    }
    received_ += reply.readAll();
    const auto newest = newestRelease({received_.constData(), static_cast<std::size_t>(received_.size())});
    if (!newest) return {{}, "Die Liste der Updates konnte nicht gelesen werden."};
    if (!isNewer(newest->version, currentVersion_)) return {};
    return {newest, {}};
}

}  // namespace lumivastor::app
