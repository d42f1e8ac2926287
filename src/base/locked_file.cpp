// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/locked_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <memory>
#include <utility>

namespace lumivastor {

namespace {

namespace fs = std::filesystem;

// Whether this file has no writer any more.
bool isAbandoned(int file, pid_t maker) {
    if (::flock(file, LOCK_EX | LOCK_NB) == 0) return true;
    if (errno == EWOULDBLOCK || maker <= 0) return false;
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

}  // namespace

std::error_code makeLocked(const fs::path& path, UniqueDescriptor& file) {
    constexpr mode_t kOwnerOnly = S_IRUSR | S_IWUSR;
    constexpr int kFlags = O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW | O_NOCTTY;
    UniqueDescriptor made(::open(path.c_str(), kFlags, kOwnerOnly));
    if (!made.isOpen()) return {errno, std::generic_category()};
    // Between the making and the lock another program may take it for abandoned; then it is gone, or about to be.
    const auto taken = std::make_error_code(std::errc::file_exists);
    if (::flock(made.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) return taken;
    struct stat status {};
    if (::fstat(made.get(), &status) == 0 && status.st_nlink == 0) return taken;
    file = std::move(made);
    return {};
}

// By the system's own calls, because libstdc++'s iterator ends the program when memory is short.
void removeAbandoned(const fs::path& folder,
                     const std::function<std::optional<pid_t>(std::string_view name)>& makerOf) {
    const std::unique_ptr<DIR, CloseFolder> listing(::opendir(folder.c_str()));
    if (!listing) return;
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread reads from this handle
    while (const dirent* const each = ::readdir(listing.get())) {
        if (const auto maker = makerOf(each->d_name)) removeIfAbandoned(folder / each->d_name, *maker);
    }
}

}  // namespace lumivastor
