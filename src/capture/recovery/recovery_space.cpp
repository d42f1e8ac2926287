// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recovery/recovery_space.h"

#include <fcntl.h>

#include <string>
#include <system_error>

#include "base/unique_descriptor.h"
#include "capture/journal/journal_records.h"
#include "media/isobmff/fragments.h"

namespace lumivastor::capture {

namespace {

// An index has times, sizes and places of all samples, at most so many bytes for each.
constexpr std::uint64_t kSampleBytes = 24;
// A line of the journal becomes a few lines of indented text.
constexpr std::uint64_t kJournalFactor = 4;
// For headers, and because file systems count in blocks.
constexpr std::uint64_t kMargin = 256 * 1024;

std::uint64_t indexBytes(const std::filesystem::path& movie) {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(movie, error);
    const UniqueDescriptor file(::open(movie.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW));
    if (error || !file.isOpen()) return 0;
    const auto found = media::scanFragments(file.get(), size);
    if (!found) return 0;
    std::uint64_t samples = 0;
    for (const media::TrackIndex& track : found->tracks) samples += track.sampleCount();
    return samples * kSampleBytes;
}

std::string megabytes(std::uint64_t bytes) {
    constexpr std::uint64_t kMegabyte = 1'000'000;
    return std::to_string((bytes + kMegabyte - 1) / kMegabyte) + " MB";
}

}  // namespace

std::uint64_t recoverySpace(const std::filesystem::path& folder) {
    std::error_code error;
    const std::uintmax_t journal = std::filesystem::file_size(folder / kJournalName, error);
    return indexBytes(folder / "source.mov") + indexBytes(folder / "webcam.mov") +
           (error ? 0 : journal * kJournalFactor) + kMargin;
}

std::optional<RecorderError> lackOfRecoverySpace(const std::filesystem::path& folder,
                                                 const std::optional<FreeSpace>& space) {
    if (!space) return std::nullopt;
    const std::uint64_t need = recoverySpace(folder);
    if (space->available >= need) return std::nullopt;
    return RecorderError("Zum Abschließen fehlen auf dem Datenträger noch " + megabytes(need - space->available) + ".");
}

}  // namespace lumivastor::capture
