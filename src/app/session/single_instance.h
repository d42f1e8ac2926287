// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QLocalServer>
#include <QString>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

#include "base/unique_descriptor.h"

class QLocalSocket;

namespace lumivastor::app {

/// Sees to it that a user has this program running once on a display: a second start hands over what it was asked for
/// to the first and ends. Main thread.
class SingleInstance {
  public:
    /// What a later start asks for: a folder to edit, the choice of one, or just to be seen.
    struct Request {
        std::optional<std::filesystem::path> folder;
        bool choosesFolder = false;

        bool operator==(const Request&) const = default;
    };

    /// `folder` belongs to the user alone; `name` says which program on which display.
    SingleInstance(const std::filesystem::path& folder, const QString& name);
    ~SingleInstance();
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;

    /// Whether this is the first; it then listens, and tells here what later ones ask for. Where the folder does not
    /// let itself be written to, everybody is the first.
    bool isFirst() const { return isFirst_; }
    std::function<void(const Request&)> onRequest;

    /// Hands a request over to the first. False when it does not answer within a few seconds.
    bool handOver(const Request& request) const;

  private:
    void listen();
    void serve(QLocalSocket& client);

    const QString socketPath_;
    UniqueDescriptor lock_;  // locked by the kernel, which forgets it when the process ends, however it ends
    bool isFirst_ = true;
    std::unique_ptr<QLocalServer> server_;
};

/// Where such files belong: the session's runtime folder, or else the folder for temporary files.
std::filesystem::path instanceFolder();
/// For the program of this user on this display; names that mean the same display give the same one.
QString instanceName(const QString& display);

}  // namespace lumivastor::app
