// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/library/trash.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <system_error>

#include "app/library/exclusive_rename.h"
#include "base/descriptor_io.h"
#include "base/formatted.h"
#include "base/private_folder.h"
#include "base/recorder_error.h"
#include "base/system_error_text.h"
#include "base/unique_descriptor.h"
#include "capture/recordings_root.h"

namespace lumivastor::app {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kEnding = ".trashinfo";
constexpr std::size_t kLongestName = 255;  // bytes, of a file
// For the number behind a name that is taken.
constexpr std::size_t kNumberRoom = 8;
constexpr int kMostNames = 10'000;

[[noreturn]] void fail(std::error_code error) {
    throw std::system_error(error);
}

std::error_code lastError() {
    return {errno, std::generic_category()};
}

void makeFolder(const fs::path& path) {
    std::error_code error;
    makePrivateFolder(path, error);
    if (error) fail(error);
}

// As much of the name as leaves room for a number and the ending; whole letters.
std::string shortened(const std::string& name) {
    std::size_t length = std::min(name.size(), kLongestName - kEnding.size() - kNumberRoom);
    while (length > 0 && length < name.size() && (static_cast<unsigned char>(name[length]) & 0xC0U) == 0x80) --length;
    return name.substr(0, length);
}

// The device that a folder's own entries are on.
std::optional<dev_t> deviceOf(const fs::path& folder) {
    struct stat status {};
    if (::stat(folder.c_str(), &status) != 0) return std::nullopt;
    return status.st_dev;
}

fs::path existing(fs::path path) {
    std::error_code ignored;
    while (path.has_relative_path() && !fs::exists(path, ignored)) path = path.parent_path();
    return path;
}

fs::path topOf(fs::path folder, dev_t device) {
    while (folder.has_relative_path() && deviceOf(folder.parent_path()) == device) folder = folder.parent_path();
    return folder;
}

bool isOwnFolder(const fs::path& path, uid_t user) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == user;
}

// Writes the information under a name that nothing in the trash has. Returns the name.
std::string reserveName(const fs::path& trash, const std::string& wanted, const std::string& information) {
    for (int i = 1; i <= kMostNames; ++i) {
        std::string name = i == 1 ? wanted : wanted + formatted(".%d", i);
        const fs::path path = trash / "info" / (name + std::string(kEnding));
        const UniqueDescriptor file(
            ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR));
        if (!file.isOpen()) {
            if (errno == EEXIST) continue;
            fail(lastError());
        }
        struct stat status {};
        std::error_code error;
        if (::lstat((trash / "files" / name).c_str(), &status) == 0) {
            error = std::make_error_code(std::errc::file_exists);
        } else if (error = writeAll(file.get(), information.data(), information.size()).error; !error) {
            return name;
        }
        ::unlink(path.c_str());
        if (error != std::errc::file_exists) fail(error);
    }
    fail(std::make_error_code(std::errc::file_exists));
}

}  // namespace

fs::path homeTrash() {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): the environment does not change
    const char* const data = std::getenv("XDG_DATA_HOME");
    if (data != nullptr && data[0] == '/') return fs::path(data) / "Trash";
    // The root of recordings is "Movies/LumiVastor" in the home folder.
    return capture::recordingsRoot().parent_path().parent_path() / ".local" / "share" / "Trash";
}

std::string trashPath(std::string_view path) {
    constexpr std::string_view kPlain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/";
    std::string encoded;
    for (const char each : path) {
        if (kPlain.find(each) != std::string_view::npos) {
            encoded.push_back(each);
        } else {
            encoded += formatted("%%%02X", static_cast<unsigned>(static_cast<unsigned char>(each)));
        }
    }
    return encoded;
}

std::string trashInfo(std::string_view path, std::time_t deleted) {
    std::tm local{};
    localtime_r(&deleted, &local);
    return "[Trash Info]\nPath=" + trashPath(path) +
           formatted("\nDeletionDate=%04d-%02d-%02dT%02d:%02d:%02d\n", local.tm_year + 1900, local.tm_mon + 1,
                     local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
}

std::optional<fs::path> volumeTrash(const fs::path& top, uid_t user) {
    std::error_code error;
    const std::string number = std::to_string(user);
    struct stat status {};
    const fs::path shared = top / ".Trash";
    // Without the sticky bit, or behind a link, others could take what is in it.
    if (::lstat(shared.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && (status.st_mode & S_ISVTX) != 0) {
        makePrivateFolder(shared / number, error);
        if (isOwnFolder(shared / number, user)) return shared / number;
    }
    const fs::path own = top / (".Trash-" + number);
    makePrivateFolder(own, error);
    if (isOwnFolder(own, user)) return own;
    return std::nullopt;
}

fs::path moveIntoTrash(const fs::path& item, const fs::path& trash, const std::string& recordedPath, std::time_t now) {
    makeFolder(trash);
    makeFolder(trash / "files");
    makeFolder(trash / "info");
    const std::string wanted = shortened(item.filename().string());
    const std::string name = reserveName(trash, wanted, trashInfo(recordedPath, now));
    fs::path place = trash / "files" / name;
    if (const std::error_code error = renameExclusively(item, place)) {
        ::unlink((trash / "info" / (name + std::string(kEnding))).c_str());
        fail(error);
    }
    return place;
}

void moveToTrash(const fs::path& folder, const fs::path& homeTrash, std::time_t now) {
    const auto refuse = [&](const std::string& reason) {
        throw RecorderError("„" + folder.filename().string() +
                            "“ lässt sich nicht in den Papierkorb verschieben: " + reason);
    };
    std::error_code error;
    const fs::path parent = fs::canonical(folder.parent_path(), error);
    if (error) refuse(systemErrorText(error) + ".");
    const fs::path item = parent / folder.filename();
    const auto device = deviceOf(parent);
    try {
        if (device == deviceOf(existing(homeTrash))) {
            try {
                moveIntoTrash(item, homeTrash, item.string(), now);
                return;
            } catch (const std::system_error& failure) {
                // One device may still be mounted twice.
                if (failure.code() != std::errc::cross_device_link) throw;
            }
        }
        const fs::path top = topOf(parent, device.value_or(0));
        const auto trash = volumeTrash(top, ::getuid());
        if (!trash) refuse("Auf diesem Datenträger gibt es keinen.");
        // Relative to the top, so that the volume may be mounted elsewhere.
        moveIntoTrash(item, *trash, item.lexically_relative(top).string(), now);
    } catch (const std::system_error& failure) {
        refuse(systemErrorText(failure.code()) + ".");
    }
}

}  // namespace lumivastor::app
