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

/// Ensures that a user runs this program only once on a display: a second start passes its request to the first one and
/// ends. Main thread.
class SingleInstance {
  public:
    /// The request of a later start: a folder to edit, a choice of folder, or only to show the main window.
    struct Request {
        std::optional<std::filesystem::path> folder;
        bool choosesFolder = false;

        bool operator==(const Request&) const = default;
    };

    /// `folder` must belong to the user alone; `name` identifies the program and the display.
    SingleInstance(const std::filesystem::path& folder, const QString& name);
    ~SingleInstance();
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;

    /// Whether this is the first instance; it then listens for requests of later ones. If the folder is not writable,
    /// every instance is the first.
    bool isFirst() const { return isFirst_; }
    std::function<void(const Request&)> onRequest;

    /// Passes a request to the first instance. False when it does not answer within a few seconds.
    bool handOver(const Request& request) const;

  private:
    void listen();
    void serve(QLocalSocket& client);

    const QString socketPath_;
    UniqueDescriptor lock_;  // locked through the kernel, which releases the lock whenever the process ends
    bool isFirst_ = true;
    std::unique_ptr<QLocalServer> server_;
};

/// The folder for lock and socket: the session's runtime folder, or else the folder for temporary files.
std::filesystem::path instanceFolder();
/// The name of this program on this display; different spellings of the same display give the same name.
QString instanceName(const QString& display);

}  // namespace lumivastor::app
