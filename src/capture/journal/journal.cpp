// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/journal/journal.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <system_error>

#include "base/log.h"
#include "base/system_error_text.h"
#include "base/thread_name.h"
#include "capture/journal/journal_records.h"
#include "model/recording_folder.h"

namespace lumivastor::capture {

namespace {

constexpr std::chrono::milliseconds kFlushInterval{250};
// A minute of constant pointer movement. A disk that is full for longer ends the recording anyway.
constexpr std::size_t kMaxWaiting = 4u << 20;

// The number of bytes written, and the error if it is not all of them.
std::size_t writeAll(int file, const std::string& bytes, int& error) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t count = ::write(file, bytes.data() + done, bytes.size() - done);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) {
            error = count < 0 ? errno : EIO;
            break;
        }
        done += static_cast<std::size_t>(count);
    }
    return done;
}

}  // namespace

Journal::Journal(const std::filesystem::path& folder)
    : path_(folder / kJournalName),
      waiting_(journalLine::header()),
      file_(::open(path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC | O_NOFOLLOW, 0600)) {
    if (!file_.isOpen()) {
        Log::write("Capture",
                   "Journal konnte nicht angelegt werden: " + systemErrorText({errno, std::generic_category()}));
    }
    // The lock tells other processes that the recording still runs. It ends with this process in any case.
    if (file_.isOpen()) ::flock(file_.get(), LOCK_EX | LOCK_NB);
    thread_ = std::thread([this] { run(); });
}

Journal::~Journal() {
    end();
}

void Journal::append(const std::string& line) {
    {
        const std::lock_guard hold(lock_);
        if (waiting_.size() + line.size() > kMaxWaiting) return;
        waiting_ += line;
        if (waiting_.size() != line.size()) return;  // the thread is awake already
    }
    wake_.notify_one();
}

void Journal::remove() {
    end();
    file_.reset();
    std::error_code ignored;  // the next recovery deletes a journal that stays behind
    std::filesystem::remove(path_, ignored);
}

void Journal::end() {
    {
        const std::lock_guard hold(lock_);
        ending_ = true;
    }
    wake_.notify_one();
    if (thread_.joinable()) thread_.join();
}

void Journal::run() {
    nameThisThread("journal.disk");
    std::unique_lock hold(lock_);
    for (;;) {
        wake_.wait(hold, [this] { return ending_ || !waiting_.empty(); });
        // Lines are gathered for a moment, because writing each alone would cost more than recording the pointer.
        wake_.wait_for(hold, kFlushInterval, [this] { return ending_; });
        write(hold);
        if (ending_) return;
    }
}

// Called and left with the lock held.
void Journal::write(std::unique_lock<std::mutex>& hold) {
    if (!file_.isOpen()) {
        waiting_.clear();
        return;
    }
    std::string lines;
    lines.swap(waiting_);
    hold.unlock();
    int error = 0;
    const std::size_t done = writeAll(file_.get(), lines, error);
    if (done == lines.size()) {
        length_ += done;
        hasFailed_ = false;
        hold.lock();
        return;
    }
    // A torn line would spoil the next one: truncate to the last whole line and retry later.
    if (::ftruncate(file_.get(), static_cast<off_t>(length_)) != 0) length_ += done;
    if (!hasFailed_) {
        hasFailed_ = true;
        Log::write("Capture",
                   "Journal konnte nicht geschrieben werden: " + systemErrorText({error, std::generic_category()}));
    }
    hold.lock();
    if (lines.size() + waiting_.size() <= kMaxWaiting) waiting_.insert(0, lines);
}

bool isUnfinishedRecording(const std::filesystem::path& folder) {
    return model::fileInside(folder, kJournalName).has_value() && model::fileInside(folder, "source.mov").has_value();
}

}  // namespace lumivastor::capture
