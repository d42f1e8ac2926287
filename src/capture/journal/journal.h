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

/// Appends lines to the journal of a running recording on its own thread ("journal.disk"), so that no recorder waits
/// for the disk. A line reaches the operating system within a quarter of a second. Failures never reach a recorder:
/// lines that cannot be written wait for room on the disk, in a bounded buffer, and are dropped when it is full. Any
/// thread, unless a function says otherwise.
class Journal {
  public:
    /// Creates the folder's journal, replacing an old one, and locks it.
    explicit Journal(const std::filesystem::path& folder);
    /// Writes the waiting lines. The file stays.
    ~Journal();
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;

    /// `line` is a whole line of journal_records.h.
    void append(const std::string& line);

    /// Ends the thread and deletes the file. Call it when the recording's documents are written; one thread, once.
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

/// Whether this folder holds a recording that was begun and not completed. Any thread.
bool isUnfinishedRecording(const std::filesystem::path& folder);

}  // namespace lumivastor::capture
