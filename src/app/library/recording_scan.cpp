// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/library/recording_scan.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <string>
#include <string_view>
#include <system_error>

#include "base/file_bytes.h"
#include "base/recorder_error.h"
#include "base/system_error_text.h"
#include "base/unique_descriptor.h"
#include "capture/journal/journal.h"
#include "capture/journal/journal_records.h"
#include "model/capture_info.h"

namespace lumivastor::app {

namespace fs = std::filesystem;

namespace {

constexpr const char* kMovie = "source.mov";
// A real document has one kilobyte, or a few with a long title. Many large ones would hold up the list.
constexpr std::uint64_t kMostDocumentBytes = 1U << 20;
// Films are looked for among so many files of a folder; a recording has a dozen.
constexpr std::size_t kMostFiles = 1000;
constexpr std::size_t kMostCounted = 100'000;
constexpr int kDeepest = 16;
constexpr std::uint64_t kBlock = 512;  // of st_blocks

bool isFile(const fs::path& path, struct stat& status) {
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

bool isFile(const fs::path& path) {
    struct stat status {};
    return isFile(path, status);
}

std::int64_t nanoseconds(const timespec& time) {
    constexpr std::int64_t kSecond = 1'000'000'000;
    return static_cast<std::int64_t>(time.tv_sec) * kSecond + time.tv_nsec;
}

// Seconds of a time like "2024-05-01T09:30:12Z".
std::optional<std::time_t> parsedTimestamp(const std::string& text) {
    std::tm time{};
    int length = 0;
    constexpr int kFields = 6;
    if (std::sscanf(text.c_str(), "%4d-%2d-%2dT%2d:%2d:%2dZ%n", &time.tm_year, &time.tm_mon, &time.tm_mday,
                    &time.tm_hour, &time.tm_min, &time.tm_sec, &length) != kFields ||
        static_cast<std::size_t>(length) != text.size()) {
        return std::nullopt;
    }
    const bool isPossible = time.tm_mon >= 1 && time.tm_mon <= 12 && time.tm_mday >= 1 && time.tm_mday <= 31 &&
                            time.tm_hour >= 0 && time.tm_hour < 24 && time.tm_min >= 0 && time.tm_min < 60 &&
                            time.tm_sec >= 0 && time.tm_sec <= 60 && time.tm_year >= 1970;
    if (!isPossible) return std::nullopt;
    time.tm_year -= 1900;
    time.tm_mon -= 1;
    return ::timegm(&time);
}

std::string sourceOf(const model::CaptureInfo& info) {
    const std::string kind = info.sourceKind.value_or("");
    if (kind == "display") return "Bildschirm";
    if (kind == "region") return "Ausschnitt";
    if (kind == "window") return info.windowTitle ? "Fenster „" + *info.windowTitle + "“" : "Fenster";
    return kind.empty() ? "" : "Gerät";
}

void readDocument(RecordingEntry& entry) {
    const fs::path path = model::CaptureInfo::fileURL(entry.folder);
    std::error_code error;
    const FileBytes bytes = readFile(path, kMostDocumentBytes, error);
    if (error == std::errc::no_such_file_or_directory) {
        entry.fault = "capture.json fehlt.";
    } else if (error) {
        entry.fault = "capture.json ist nicht lesbar: " + systemErrorText(error) + ".";
    }
    if (error) return;
    try {
        const model::CaptureInfo info = model::CaptureInfo::parse(bytes);
        entry.createdAt = parsedTimestamp(info.createdAt);
        if (std::isfinite(info.duration) && info.duration >= 0) entry.duration = info.duration;
        entry.source = sourceOf(info);
    } catch (const RecorderError& failure) {
        entry.fault = "capture.json ist nicht lesbar: " + failure.message();
    }
}

bool isFilm(const fs::path& name) {
    static constexpr std::array<std::string_view, 6> kEndings = {".mp4", ".mov", ".webm", ".mkv", ".webp", ".gif"};
    static constexpr std::array<std::string_view, 3> kOthers = {kMovie, "webcam.mov", "test-output.mov"};
    const std::string text = name.string();
    return !text.starts_with('.') &&
           std::find(kEndings.begin(), kEndings.end(), name.extension().string()) != kEndings.end() &&
           std::find(kOthers.begin(), kOthers.end(), text) == kOthers.end();
}

// A file that an export writes into, which it holds until it is done.
bool isHeldExport(const fs::path& path) {
    const std::string name = path.filename().string();
    if (!name.starts_with(".lumivastor-export-") || !name.ends_with(".part")) return false;
    const UniqueDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    return file.isOpen() && ::flock(file.get(), LOCK_SH | LOCK_NB) != 0;
}

void readFilms(RecordingEntry& entry) {
    std::error_code error;
    std::size_t count = 0;
    for (fs::directory_iterator file(entry.folder, error), end; !error && file != end; file.increment(error)) {
        if (++count > kMostFiles) break;
        struct stat status {};
        if (isFilm(file->path().filename())) {
            if (!isFile(file->path(), status)) continue;
            entry.renderedAt = std::max(entry.renderedAt.value_or(status.st_mtim.tv_sec), status.st_mtim.tv_sec);
        } else {
            entry.isBeingRendered = entry.isBeingRendered || isHeldExport(file->path());
        }
    }
}

// Without a document the folder's name says when it was begun, or else its movie.
std::optional<std::time_t> begun(const RecordingEntry& entry, const struct stat& status) {
    std::tm time{};
    constexpr int kFields = 6;
    const std::string name = entry.name();
    if (std::sscanf(name.c_str(), "%4d-%2d-%2d_%2d-%2d-%2d", &time.tm_year, &time.tm_mon, &time.tm_mday, &time.tm_hour,
                    &time.tm_min, &time.tm_sec) == kFields &&
        time.tm_year >= 1970 && time.tm_year < 10'000) {
        time.tm_year -= 1900;
        time.tm_mon -= 1;
        time.tm_isdst = -1;
        if (const std::time_t seconds = std::mktime(&time); seconds >= 0) return seconds;
    }
    return status.st_mtim.tv_sec;
}

}  // namespace

bool isInWork(const fs::path& folder) {
    const UniqueDescriptor journal(
        ::open((folder / capture::kJournalName).c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    return journal.isOpen() && ::flock(journal.get(), LOCK_SH | LOCK_NB) != 0;
}

std::optional<RecordingEntry> readRecording(const fs::path& folder) {
    struct stat status {};
    if (::stat(folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) return std::nullopt;
    RecordingEntry entry;
    entry.folder = folder;
    entry.stamp.folderTime = nanoseconds(status.st_mtim);
    struct stat movie {};
    entry.hasMovie = isFile(folder / kMovie, movie);
    if (entry.hasMovie) {
        entry.stamp.movieTime = nanoseconds(movie.st_mtim);
        entry.stamp.movieBytes = movie.st_size;
    }
    // A countdown has made its folder already, but there is nothing in it.
    if (!entry.hasMovie && !isFile(model::CaptureInfo::fileURL(folder))) return std::nullopt;
    if (capture::isUnfinishedRecording(folder)) {
        entry.state = isInWork(folder) ? RecordingState::inProgress : RecordingState::interrupted;
    } else {
        readDocument(entry);
        if (!entry.hasMovie) entry.fault = "source.mov fehlt.";
        if (!entry.fault.empty()) entry.state = RecordingState::damaged;
    }
    if (!entry.createdAt) entry.createdAt = begun(entry, entry.hasMovie ? movie : status);
    entry.isEdited = isFile(folder / "project.json");
    readFilms(entry);
    return entry;
}

FoundRecordings recordingsIn(const fs::path& place, const std::function<bool()>& isStopped) {
    FoundRecordings found;
    if (auto itself = readRecording(place)) {
        found.entries.push_back(std::move(*itself));
        return found;
    }
    std::error_code error;
    std::size_t count = 0;
    for (fs::directory_iterator entry(place, error), end; !error && entry != end; entry.increment(error)) {
        if (isStopped()) break;
        if (++count > kMostFolders) {
            found.isCut = true;
            break;
        }
        std::error_code unreadable;
        // Hidden folders are not the user's: a volume's trash, for example.
        if (entry->path().filename().string().starts_with('.') || !entry->is_directory(unreadable)) continue;
        if (auto recording = readRecording(entry->path())) found.entries.push_back(std::move(*recording));
    }
    return found;
}

std::optional<std::uint64_t> bytesOnDisk(const fs::path& folder, const std::function<bool()>& isStopped) {
    std::uint64_t bytes = 0;
    std::size_t count = 0;
    std::error_code error;
    using Options = fs::directory_options;
    fs::recursive_directory_iterator entry(folder, Options::skip_permission_denied, error);
    for (const fs::recursive_directory_iterator end; !error && entry != end; entry.increment(error)) {
        if (isStopped()) return std::nullopt;
        if (++count > kMostCounted) break;
        struct stat status {};
        if (::lstat(entry->path().c_str(), &status) == 0)
            bytes += static_cast<std::uint64_t>(status.st_blocks) * kBlock;
        if (entry.depth() >= kDeepest) entry.disable_recursion_pending();
    }
    return bytes;
}

}  // namespace lumivastor::app
