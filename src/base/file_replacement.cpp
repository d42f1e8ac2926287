// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/file_replacement.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <string>
#include <utility>

#include "base/formatted.h"
#include "base/locked_file.h"
#include "base/unique_descriptor.h"

namespace lumivastor {

namespace {

namespace fs = std::filesystem;

constexpr mode_t kPermissions = S_IRWXU | S_IRWXG | S_IRWXO;
constexpr std::string_view kEnding = ".tmp";
constexpr std::size_t kDigits = 16;
// Random names practically never collide; the limit only keeps the loop from running for ever.
constexpr int kTries = 16;

std::error_code systemError(int number) {
    return {number, std::generic_category()};
}

fs::path folderOf(const fs::path& path) {
    return path.has_parent_path() ? path.parent_path() : fs::path(".");
}

// ".project.json." before sixteen digits and ".tmp".
std::string beginningFor(const fs::path& path) {
    std::string beginning = ".";
    return beginning.append(path.filename().string()).append(".");
}

std::string randomDigits() {
    std::uint64_t number = 0;
    // The process's own number has to do where the system has no randomness yet; a name that is taken is tried again.
    if (::getrandom(&number, sizeof number, GRND_NONBLOCK) != sizeof number) {
        static std::atomic<std::uint64_t> calls = 0;
        number = static_cast<std::uint64_t>(::getpid()) << 32U | ++calls;
    }
    return formatted("%016llx", static_cast<unsigned long long>(number));
}

bool isLeftover(std::string_view name, std::string_view beginning) {
    if (name.size() != beginning.size() + kDigits + kEnding.size()) return false;
    if (!name.starts_with(beginning) || !name.ends_with(kEnding)) return false;
    const std::string_view digits = name.substr(beginning.size(), kDigits);
    return digits.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

// Files beside `path` that a crash has left.
void removeLeftovers(const fs::path& path) {
    const std::string beginning = beginningFor(path);
    removeAbandoned(folderOf(path), [&](std::string_view name) {
        return isLeftover(name, beginning) ? std::optional<pid_t>(0) : std::nullopt;
    });
}

// Some network file systems have nothing to wait for, and say so.
std::error_code synced(int file) {
    return ::fsync(file) != 0 && errno != EINVAL ? systemError(errno) : std::error_code();
}

}  // namespace

FileReplacement::FileReplacement(fs::path path, Durability durability)
    : path_(std::move(path)), durability_(durability) {}

FileReplacement::~FileReplacement() {
    discard();
}

void FileReplacement::write(std::string_view bytes) {
    if (!writer_ && !error_) open();
    if (writer_) writer_->write(bytes);
}

std::error_code FileReplacement::commit(const std::optional<fs::path>& keepOldAs) {
    if (!writer_ && !error_) open();
    if (!error_) error_ = complete();
    if (!error_) error_ = takePlace(keepOldAs);
    discard();
    return error_;
}

void FileReplacement::open() {
    examineOld();
    if (error_) return;
    removeLeftovers(path_);
    createBeside();
}

void FileReplacement::examineOld() {
    struct stat status {};
    if (::lstat(path_.c_str(), &status) != 0) {
        if (errno != ENOENT) error_ = systemError(errno);
        return;
    }
    if (S_ISLNK(status.st_mode)) return;
    if (S_ISDIR(status.st_mode)) {
        error_ = systemError(EISDIR);
    } else if (!S_ISREG(status.st_mode)) {
        error_ = systemError(ENOTSUP);
    } else if (::faccessat(AT_FDCWD, path_.c_str(), W_OK, AT_EACCESS) != 0) {
        error_ = systemError(errno);
    } else {
        old_ = Old{status.st_mode & kPermissions, status.st_uid, status.st_gid};
    }
}

void FileReplacement::createBeside() {
    for (int i = 0; i < kTries; ++i) {
        fs::path name = folderOf(path_) / (beginningFor(path_) + randomDigits() + std::string(kEnding));
        UniqueDescriptor file;
        error_ = makeLocked(name, file);
        if (error_ == std::errc::file_exists) continue;
        if (error_) return;
        beside_ = std::move(name);
        hold_ = UniqueDescriptor(::fcntl(file.get(), F_DUPFD_CLOEXEC, 0));
        if (!hold_.isOpen()) error_ = systemError(errno);
        writer_.emplace(std::move(file));
        return;
    }
}

// Everything is written, and on the disk if that is asked for.
std::error_code FileReplacement::complete() {
    if (old_) {
        // Only the superuser may give files away, and only then there is somebody else to give it to.
        static_cast<void>(::fchown(hold_.get(), old_->owner, old_->group) == 0);
        if (::fchmod(hold_.get(), old_->mode) != 0) return systemError(errno);
    }
    if (const std::error_code error = writer_->finish()) return error;
    return durability_ == Durability::now ? synced(hold_.get()) : std::error_code();
}

std::error_code FileReplacement::takePlace(const std::optional<fs::path>& keepOldAs) {
    struct stat status {};
    const bool keepsOld = keepOldAs && ::lstat(path_.c_str(), &status) == 0;
    const fs::path kept = keepsOld ? folderOf(path_) / *keepOldAs : fs::path();
    if (keepsOld && ::rename(path_.c_str(), kept.c_str()) != 0) return systemError(errno);
    if (::rename(beside_.c_str(), path_.c_str()) != 0) {
        const int number = errno;
        if (keepsOld) static_cast<void>(::rename(kept.c_str(), path_.c_str()));
        return systemError(number);
    }
    beside_.clear();
    return durability_ == Durability::now ? syncToDisk(folderOf(path_)) : std::error_code();
}

void FileReplacement::discard() {
    if (!beside_.empty()) static_cast<void>(::unlink(beside_.c_str()));
    beside_.clear();
    writer_.reset();
    hold_.reset();
}

std::error_code replaceFile(const fs::path& path, std::string_view bytes, Durability durability,
                            const std::optional<fs::path>& keepOldAs) {
    FileReplacement file(path, durability);
    file.write(bytes);
    return file.commit(keepOldAs);
}

std::error_code syncToDisk(const fs::path& path) {
    const UniqueDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY));
    return file.isOpen() ? synced(file.get()) : systemError(errno);
}

}  // namespace lumivastor
