// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <string>
#include <thread>

#include "base/unique_descriptor.h"

namespace lumivastor::capture {

/// Appends lines to the journal of a running recording, on a thread of its own ("journal.disk"), so that nobody
/// who records waits for the disk. A line is with the operating system within a quarter of a second. Failure never
/// reaches a recorder: what cannot be written waits within a bound for room on the disk, and is left out beyond it.
/// Any thread, unless a function says otherwise.
class Journal {
  public:
    /// Creates the folder's journal, replacing an old one, and holds a lock on it.
    explicit Journal(const std::filesystem::path& folder);
    /// Writes what waits; the file stays.
    ~Journal();
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;

    /// A whole line of journal_records.h.
    void append(const std::string& line);

    /// The recording's documents are written: ends the thread and deletes the file. One thread, once.
    void remove();

  private:
    void run();
    void write(std::unique_lock<std::mutex>& hold);
    void end();

    const std::filesystem::path path_;
    std::mutex lock_;
    std::condition_variable wake_;
    std::string waiting_;       // guarded by lock_
    bool ending_ = false;       // guarded by lock_
    UniqueDescriptor file_;     // the thread's
    std::uint64_t length_ = 0;  // the thread's: whole lines in the file
    bool hasFailed_ = false;    // the thread's
    std::thread thread_;        // last: it uses everything above
};

/// Whether a recording in this folder was begun and not completed.
bool isUnfinishedRecording(const std::filesystem::path& folder);

}  // namespace lumivastor::capture
