// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/pending_movie.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "base/formatted.h"
#include "base/precondition.h"
#include "base/recorder_error.h"
#include "base/system_error_text.h"

namespace lumivastor::render {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kBeginning = ".lumivastor-export-";
constexpr std::string_view kEnding = ".part";
// Of one process in one folder; each name that is taken is an export at work, or what another user left.
constexpr int kMostNames = 1000;

fs::path folderOf(const fs::path& target) {
    return target.has_parent_path() ? target.parent_path() : fs::path(".");
}

[[noreturn]] void fail(const fs::path& target, const char* what, std::error_code error) {
    const fs::path name = target.has_filename() ? target.filename() : target;
    throw RecorderError(name.string() + " " + what + ": " + systemErrorText(error) + ".");
}

std::error_code lastError() {
    return {errno, std::generic_category()};
}

// Why a file cannot replace what is at `target`.
std::error_code obstacleAt(const fs::path& target) {
    struct stat status {};
    if (::lstat(target.c_str(), &status) != 0) return {};  // nothing there, or creating the file reports why
    // A link to a device is refused like the device itself.
    if (S_ISLNK(status.st_mode) && ::stat(target.c_str(), &status) != 0) return {};
    if (S_ISREG(status.st_mode)) return {};
    return std::make_error_code(S_ISDIR(status.st_mode) ? std::errc::is_a_directory : std::errc::not_supported);
}

// The process that a name of ours belongs to.
std::optional<pid_t> makerOf(std::string_view name) {
    if (!name.starts_with(kBeginning) || !name.ends_with(kEnding)) return std::nullopt;
    long maker = 0;
    int number = 0;
    int length = 0;
    const std::string middle(name.substr(kBeginning.size()));
    if (std::sscanf(middle.c_str(), "%9ld-%9d.part%n", &maker, &number, &length) != 2) return std::nullopt;
    if (static_cast<std::size_t>(length) != middle.size() || maker <= 0) return std::nullopt;
    return static_cast<pid_t>(maker);
}

// Whether no export writes this file any more. On file systems without locks, whether its process still runs.
bool isAbandoned(int file, pid_t maker) {
    if (::flock(file, LOCK_EX | LOCK_NB) == 0) return true;
    if (errno == EWOULDBLOCK) return false;
    return ::kill(maker, 0) != 0 && errno == ESRCH;
}

void removeIfAbandoned(const fs::path& path, pid_t maker) {
    const UniqueDescriptor file(::open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY));
    struct stat status {};
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0) return;
    if (!S_ISREG(status.st_mode) || status.st_uid != ::geteuid()) return;
    if (isAbandoned(file.get(), maker)) ::unlink(path.c_str());
}

struct CloseFolder {
    void operator()(DIR* folder) const { ::closedir(folder); }
};

// By the system's own calls, because libstdc++'s iterator ends the program when memory is short.
void removeAbandoned(const fs::path& path) {
    const std::unique_ptr<DIR, CloseFolder> folder(::opendir(path.c_str()));
    if (!folder) return;  // what cannot be listed cannot be tidied
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread reads from this handle
    while (const dirent* const each = ::readdir(folder.get())) {
        if (const auto maker = makerOf(each->d_name)) removeIfAbandoned(path / each->d_name, *maker);
    }
}

// Creates an empty, locked file of that name; none when the name is taken. Other errors are in `errno`.
std::optional<UniqueDescriptor> makeLocked(const fs::path& path) {
    constexpr mode_t kOwnerOnly = S_IRUSR | S_IWUSR;
    UniqueDescriptor file(::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, kOwnerOnly));
    if (!file.isOpen()) return errno == EEXIST ? std::nullopt : std::optional(std::move(file));
    // Between creation and lock another program may take it for abandoned and delete it.
    if (::flock(file.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) return std::nullopt;
    struct stat status {};
    if (::fstat(file.get(), &status) == 0 && status.st_nlink == 0) return std::nullopt;
    return file;
}

}  // namespace

PendingMovie::PendingMovie(fs::path target) : target_(std::move(target)), folder_(folderOf(target_)) {
    if (const std::error_code obstacle = obstacleAt(target_)) fail(target_, "kann nicht ersetzt werden", obstacle);
    removeAbandoned(folder_);
    for (int number = 0; number < kMostNames; ++number) {
        fs::path path =
            folder_ / formatted("%s%ld-%d%s", kBeginning.data(), static_cast<long>(::getpid()), number, kEnding.data());
        std::optional<UniqueDescriptor> made = makeLocked(path);
        if (!made) continue;
        if (!made->isOpen()) fail(target_, "konnte nicht angelegt werden", lastError());
        lock_ = std::move(*made);
        path_ = std::move(path);
        return;
    }
    fail(target_, "konnte nicht angelegt werden", std::make_error_code(std::errc::file_exists));
}

PendingMovie::~PendingMovie() {
    if (!isInPlace_) ::unlink(path_.c_str());
}

void PendingMovie::putInPlace() {
    precondition(!isInPlace_, "a film is put in its place once");
    struct stat old {};
    constexpr mode_t kPermissions = S_IRWXU | S_IRWXG | S_IRWXO;
    if (::lstat(target_.c_str(), &old) == 0 && S_ISREG(old.st_mode)) {
        // Where file systems have no permissions, there are none to keep.
        static_cast<void>(::fchmod(lock_.get(), old.st_mode & kPermissions));
    }
    if (::rename(path_.c_str(), target_.c_str()) != 0) fail(target_, "konnte nicht ersetzt werden", lastError());
    isInPlace_ = true;
    // A file system that cannot do this keeps the name as it keeps any other.
    const UniqueDescriptor folder(::open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.isOpen()) ::fsync(folder.get());
}

}  // namespace lumivastor::render
