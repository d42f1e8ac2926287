// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "imaging/pixel_buffer.h"
#include "render/overview/recording_overview.h"

namespace lumivastor::render {

/// What identifies a movie whatever its name and folder are: a hash of its length and of its first and last 64 KiB,
/// where the header and the end of the index lie. So a recording that was moved or copied keeps its overview, and one
/// that was repaired or replaced does not. nullopt when the file cannot be read. Any thread.
std::optional<std::uint64_t> movieIdentity(const std::filesystem::path& movie);

struct CachedFile {
    std::string name;
    std::uint64_t bytes = 0;
    double age = 0;  // seconds since it was last used; negative if its time lies in the future
};

struct CacheLimits {
    std::uint64_t bytes = 256U << 20;
    double age = 90.0 * 24 * 3600;
};

/// The names of the files to delete: all beyond the age, then, of the others, those used longest ago until the rest
/// fits.
std::vector<std::string> filesToDelete(std::vector<CachedFile> files, const CacheLimits& limits);

/// Deletes the regular files with these extensions that `filesToDelete` names. A folder that cannot be listed stays as
/// it is. Any thread.
void keepWithinLimits(const std::filesystem::path& folder, std::span<const std::string> extensions,
                      const CacheLimits& limits);

/// The overviews of recordings in one folder, one file each, named after the movie's identity, and beside them the
/// pictures of a list of recordings. Deleting any of them costs only the time to make it again. Several programs may
/// use the folder at once. Failures are no errors: what cannot be read is not there, what cannot be written is made
/// again. Any thread.
class OverviewCache {
  public:
    /// `folder` is created when something is stored; if it is empty, nothing is.
    explicit OverviewCache(std::filesystem::path folder, CacheLimits limits = {});

    /// Marks the overview as used now.
    std::optional<RecordingOverview> load(std::uint64_t movie) const;
    /// A complete overview. Deletes what exceeds the limits.
    void store(const RecordingOverview& overview, std::uint64_t movie) const;

    /// The one picture that stands for the movie (movie_picture.h). Marks it as used now; null when there is none.
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> loadPicture(std::uint64_t movie) const;
    /// Deletes what exceeds the limits.
    void storePicture(const imaging::BgraPremultipliedBuffer& picture, std::uint64_t movie) const;

    std::filesystem::path fileOf(std::uint64_t movie) const;
    std::filesystem::path pictureFileOf(std::uint64_t movie) const;

  private:
    void storeBytes(const std::filesystem::path& path, const std::function<std::string()>& bytes) const;
    void keepLimits() const;

    const std::filesystem::path folder_;
    const CacheLimits limits_;
};

}  // namespace lumivastor::render
