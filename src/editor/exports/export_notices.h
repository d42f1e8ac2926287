// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "editor/exports/export_queue.h"
#include "platform/notices/desktop_notifier.h"

namespace lumivastor::editor {

/// Tells the user that an export has ended while they look elsewhere: a notification of the desktop, from which the
/// film can be played and shown. Main thread.
class ExportNotices {
  public:
    struct Options {
        std::string bus{};  // the message bus; empty means the session's
        /// Whether to tell about this export.
        std::function<bool(const ExportEntry& entry)> isWanted{};
        std::function<void(const std::filesystem::path& film)> play{};    // the desktop's player unless set
        std::function<void(const std::filesystem::path& film)> reveal{};  // the file viewer unless set
    };

    /// Loop and queue outlive the notices.
    ExportNotices(MainLoop& loop, ExportQueue& queue, Options options);
    ~ExportNotices();

  private:
    void ended(const ExportEntry& entry);

    const Options options_;
    notices::DesktopNotifier notifier_;
    std::shared_ptr<void> observation_;
};

}  // namespace lumivastor::editor
