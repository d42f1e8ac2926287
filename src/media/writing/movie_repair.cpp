// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/writing/movie_repair.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <system_error>

#include "base/recorder_error.h"
#include "base/system_error_text.h"
#include "base/unique_descriptor.h"
#include "media/isobmff/fragments.h"
#include "media/reading/asset.h"

namespace lumivastor::media {

namespace {

[[noreturn]] void throwFor(const std::filesystem::path& path, const std::string& reason) {
    throw RecorderError(path.filename().string() + " konnte nicht wiederhergestellt werden: " + reason + ".");
}

[[noreturn]] void throwFor(const std::filesystem::path& path, std::error_code error) {
    throwFor(path, systemErrorText(error));
}

std::error_code lastError() {
    return {errno, std::generic_category()};
}

struct OpenMovie {
    UniqueDescriptor file;
    std::uint64_t size = 0;
    std::error_code notWritable;  // the reason why it could only be opened for reading
};

OpenMovie openForRepair(const std::filesystem::path& path) {
    OpenMovie movie;
    // Non-blocking, so that a pipe cannot hang this; and never through a symbolic link, which may lead anywhere.
    constexpr int kFlags = O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW;
    movie.file = UniqueDescriptor(::open(path.c_str(), O_RDWR | kFlags));
    if (!movie.file.isOpen() && (errno == EACCES || errno == EROFS)) {
        movie.notWritable = lastError();
        movie.file = UniqueDescriptor(::open(path.c_str(), O_RDONLY | kFlags));
    }
    if (!movie.file.isOpen()) throwFor(path, lastError());
    struct stat status {};
    if (::fstat(movie.file.get(), &status) != 0) throwFor(path, lastError());
    if (!S_ISREG(status.st_mode)) throwFor(path, std::make_error_code(std::errc::not_supported));
    movie.size = static_cast<std::uint64_t>(status.st_size);
    if (::flock(movie.file.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        throwFor(path, "Die Aufnahme läuft noch");
    }
    return movie;
}

MovieRepair wholeMovie(const std::filesystem::path& path) {
    const Asset asset(path);
    if (asset.isFragmented()) throwFor(path, "Die Datei stammt nicht von dieser Anwendung");
    MovieRepair result;
    result.wasWhole = true;
    result.seconds = asset.duration().seconds();
    for (const AssetTrack& track : asset.tracks(TrackKind::video)) result.videoFrames += track.sampleCount;
    return result;
}

bool isForWantOfRoom(std::error_code error) {
    return error == std::errc::no_space_on_device || error == std::errc::file_too_large ||
           error == std::error_code(EDQUOT, std::generic_category());
}

}  // namespace

MovieRepair repairMovie(const std::filesystem::path& path) {
    OpenMovie open = openForRepair(path);
    auto movie = scanFragments(open.file.get(), open.size);
    if (!movie) return wholeMovie(path);
    if (open.notWritable) throwFor(path, open.notWritable);
    for (;;) {
        const bool isEmpty = std::all_of(movie->tracks.begin(), movie->tracks.end(),
                                         [](const TrackIndex& track) { return track.isEmpty(); });
        if (isEmpty) throwFor(path, "Sie enthält noch kein vollständiges Stück der Aufnahme");
        const auto error = finishInPlace(open.file.get(), *movie);
        if (!error) break;
        if (!isForWantOfRoom(error) || movie->fragments < 2) throwFor(path, error);
        movie = scanFragments(open.file.get(), movie->lastFragmentOffset);
    }
    MovieRepair result;
    result.repaired = true;
    result.cutBytes = static_cast<std::int64_t>(open.size - movie->wholeEnd);
    for (const TrackIndex& track : movie->tracks) {
        if (track.isEmpty()) continue;
        result.seconds = std::max(result.seconds, track.endSeconds());
        if (track.header().isVideo) result.videoFrames += static_cast<std::int64_t>(track.sampleCount());
    }
    return result;
}

}  // namespace lumivastor::media
