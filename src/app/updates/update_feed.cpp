// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/updates/update_feed.h"

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUrl>
#include <array>
#include <charconv>

namespace lumivastor::app {

namespace {

constexpr std::size_t kMostParts = 4;
constexpr int kMostCharacters = 1000;

std::optional<std::array<unsigned, kMostParts>> versionParts(std::string_view version) {
    std::array<unsigned, kMostParts> parts{};
    const char* at = version.data();
    const char* const end = at + version.size();
    for (std::size_t i = 0; i < kMostParts; ++i) {
        const auto [next, error] = std::from_chars(at, end, parts[i]);
        if (error != std::errc{}) return std::nullopt;
        if (next == end) return parts;
        if (*next != '.') return std::nullopt;
        at = next + 1;
    }
    return std::nullopt;
}

// An address that a browser may open.
bool isSafe(const QString& address) {
    const QUrl url(address, QUrl::StrictMode);
    return address.size() <= kMostCharacters && url.isValid() && url.scheme() == "https" && !url.host().isEmpty() &&
           url.userInfo().isEmpty();
}

std::optional<Release> releaseFrom(const QJsonValue& entry) {
    const QString version = entry["version"].toString();
    const QString address = entry["url"].toString();
    if (version.size() > kMostCharacters || !versionParts(version.toStdString()) || !isSafe(address)) {
        return std::nullopt;
    }
    return Release{version.toStdString(), address.toStdString()};
}

}  // namespace

std::optional<Release> newestRelease(std::string_view feed) {
    if (feed.size() > kFeedLimit) return std::nullopt;
    const auto bytes = QByteArray::fromRawData(feed.data(), static_cast<qsizetype>(feed.size()));
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    std::optional<Release> newest;
    const QJsonArray releases = document.object()["releases"].toArray();
    for (const auto entry : releases) {
        const auto release = releaseFrom(entry);
        if (release && (!newest || isNewer(release->version, newest->version))) newest = release;
    }
    return newest;
}

bool isNewer(std::string_view version, std::string_view than) {
    const auto one = versionParts(version);
    const auto other = versionParts(than);
    return one && other && *one > *other;
}

}  // namespace lumivastor::app
