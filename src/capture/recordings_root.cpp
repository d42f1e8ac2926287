// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recordings_root.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <system_error>

#include "base/formatted.h"
#include "base/private_folder.h"
#include "base/recorder_error.h"
#include "base/system_error_text.h"

namespace lumivastor::capture {

namespace {

std::string environmentVariable(const char* name) {
    const char* value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): the environment does not change
    return value == nullptr ? "" : value;
}

std::filesystem::path homeFolder() {
    if (const std::string home = environmentVariable("HOME"); !home.empty()) return home;
    // NOLINTNEXTLINE(concurrency-mt-unsafe): the user data base does not change
    if (const passwd* user = getpwuid(getuid()); user != nullptr && user->pw_dir != nullptr) return user->pw_dir;
    return "/";
}

std::filesystem::path cacheFolder() {
    const std::string cache = environmentVariable("XDG_CACHE_HOME");
    return (cache.starts_with('/') ? std::filesystem::path(cache) : homeFolder() / ".cache") / "lumivastor";
}

}  // namespace

std::filesystem::path recordingsRoot() {
    return homeFolder() / "Movies" / "LumiVastor";
}

std::filesystem::path encoderMemoryFile() {
    const std::filesystem::path folder = cacheFolder();
    std::error_code ignored;  // without the folder nothing is remembered
    std::filesystem::create_directories(folder, ignored);
    return folder / "encoders.txt";
}

std::filesystem::path overviewCacheFolder() {
    return cacheFolder() / "overview";
}

std::filesystem::path filmCacheFolder() {
    return cacheFolder() / "films";
}

void createRecordingFolder(const std::filesystem::path& folder) {
    std::error_code error;
    makePrivateFolder(folder, error);
    if (error) {
        throw RecorderError("Der Aufnahmeordner kann nicht angelegt werden: " + systemErrorText(error) + ".");
    }
}

std::filesystem::path makeRecordingFolder(const std::filesystem::path& root, std::time_t time) {
    std::tm local{};
    localtime_r(&time, &local);
    const std::string name = formatted("%04d-%02d-%02d_%02d-%02d-%02d", local.tm_year + 1900, local.tm_mon + 1,
                                       local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
    std::error_code error;
    makePrivateFolder(root, error);
    for (int i = 1; !error; ++i) {
        std::filesystem::path folder = root / (i == 1 ? name : name + formatted("-%d", i));
        // False when the folder exists, also when another program has just created it.
        if (makePrivateFolder(folder, error)) return folder;
    }
    throw RecorderError("Der Ordner für Aufnahmen „" + root.string() +
                        "“ kann nicht angelegt werden: " + systemErrorText(error) + ".");
}

}  // namespace lumivastor::capture
