// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/pending_movie.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "base/formatted.h"
#include "base/locked_file.h"
#include "base/precondition.h"
#include "base/recorder_error.h"
#include "base/system_error_text.h"

namespace lumivastor::render {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kBeginning = ".lumivastor-export-";
constexpr std::string_view kEnding = ".part";
// Of one process in one folder; each name that is taken is an export at work, or what another user left.
constexpr int kMaximumNames = 1000;

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

}  // namespace

PendingMovie::PendingMovie(fs::path target) : target_(std::move(target)), folder_(folderOf(target_)) {
    if (const std::error_code obstacle = obstacleAt(target_)) fail(target_, "kann nicht ersetzt werden", obstacle);
    removeAbandoned(folder_, makerOf);
    for (int number = 0; number < kMaximumNames; ++number) {
        fs::path path =
            folder_ / formatted("%s%ld-%d%s", kBeginning.data(), static_cast<long>(::getpid()), number, kEnding.data());
        const std::error_code error = makeLocked(path, lock_);
        if (error == std::errc::file_exists) continue;
        if (error) fail(target_, "konnte nicht angelegt werden", error);
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
