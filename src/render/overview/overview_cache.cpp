// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/overview/overview_cache.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <unistd.h>
#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <system_error>
#include <utility>

#include "base/file_bytes.h"
#include "base/file_replacement.h"
#include "base/formatted.h"
#include "base/log.h"
#include "base/private_folder.h"
#include "base/recorder_error.h"
#include "base/stable_hash.h"
#include "base/system_error_text.h"
#include "base/unique_descriptor.h"
#include "imaging/png_file.h"
#include "render/overview/overview_file.h"

namespace lumivastor::render {

namespace fs = std::filesystem;

namespace {

constexpr const char* kExtension = ".overview";
constexpr const char* kPictureExtension = ".picture";
// Larger ones are none of ours.
constexpr std::uint64_t kLargestPictureFile = 1U << 20;
constexpr imaging::PngLimits kPictureLimits = {1024, 1024};
constexpr std::int64_t kIdentifyingBytes = 64 << 10;

}  // namespace

std::optional<std::uint64_t> movieIdentity(const fs::path& movie) {
    const UniqueDescriptor file(::open(movie.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    StableHash hash;
    const auto size = static_cast<std::int64_t>(status.st_size);
    hash.add(&size, sizeof size);
    std::array<char, kIdentifyingBytes> part{};
    for (const std::int64_t from : {std::int64_t{0}, std::max<std::int64_t>(size - kIdentifyingBytes, 0)}) {
        const ssize_t count = ::pread(file.get(), part.data(), part.size(), from);
        if (count < 0) return std::nullopt;
        hash.add(part.data(), static_cast<std::size_t>(count));
    }
    return hash.value();
}

std::vector<std::string> filesToDelete(std::vector<CachedFile> files, const CacheLimits& limits) {
    std::sort(files.begin(), files.end(), [](const CachedFile& a, const CachedFile& b) { return a.age < b.age; });
    std::vector<std::string> deleted;
    std::uint64_t kept = 0;
    bool isFull = false;
    for (const CachedFile& file : files) {
        // Once one does not fit, none that was used before it stays.
        isFull = isFull || file.bytes > limits.bytes - kept;
        if (isFull || file.age > limits.age) {
            deleted.push_back(file.name);
        } else {
            kept += file.bytes;
        }
    }
    return deleted;
}

OverviewCache::OverviewCache(fs::path folder, CacheLimits limits) : folder_(std::move(folder)), limits_(limits) {}

fs::path OverviewCache::fileOf(std::uint64_t movie) const {
    return folder_ / (formatted("%016llx", static_cast<unsigned long long>(movie)) + kExtension);
}

fs::path OverviewCache::pictureFileOf(std::uint64_t movie) const {
    return fileOf(movie).replace_extension(kPictureExtension);
}

std::optional<RecordingOverview> OverviewCache::load(std::uint64_t movie) const {
    if (folder_.empty()) return std::nullopt;
    const fs::path path = fileOf(movie);
    std::error_code error;
    const FileBytes bytes = readFile(path, kLargestOverviewFile, error);
    if (error) return std::nullopt;
    std::optional<RecordingOverview> overview = parseOverview(bytes.bytes(), movie);
    if (overview) fs::last_write_time(path, fs::file_time_type::clock::now(), error);
    return overview;
}

void OverviewCache::store(const RecordingOverview& overview, std::uint64_t movie) const {
    storeBytes(fileOf(movie), [&] { return overviewBytes(overview, movie); });
}

std::shared_ptr<const imaging::BgraPremultipliedBuffer> OverviewCache::loadPicture(std::uint64_t movie) const {
    if (folder_.empty()) return nullptr;
    const fs::path path = pictureFileOf(movie);
    std::error_code error;
    const FileBytes bytes = readFile(path, kLargestPictureFile, error);
    if (error) return nullptr;
    try {
        auto picture =
            std::make_shared<const imaging::BgraPremultipliedBuffer>(imaging::decodePng(bytes.bytes(), kPictureLimits));
        fs::last_write_time(path, fs::file_time_type::clock::now(), error);
        return picture;
    } catch (const RecorderError&) {
        return nullptr;
    }
}

void OverviewCache::storePicture(const imaging::BgraPremultipliedBuffer& picture, std::uint64_t movie) const {
    storeBytes(pictureFileOf(movie), [&] { return imaging::encodedPng(picture); });
}

void OverviewCache::storeBytes(const fs::path& path, const std::function<std::string()>& bytes) const {
    if (folder_.empty()) return;
    std::error_code error;
    try {
        makePrivateFolder(folder_, error);
        if (!error) error = replaceFile(path, bytes(), Durability::later);
    } catch (const RecorderError& failure) {
        Log::write("Editor", "Übersicht nicht gesichert: " + failure.message());
        return;
    }
    if (error) Log::write("Editor", "Übersicht nicht gesichert: " + systemErrorText(error));
    keepLimits();
}

void OverviewCache::keepLimits() const {
    keepWithinLimits(folder_, std::array<std::string, 2>{kExtension, kPictureExtension}, limits_);
}

void keepWithinLimits(const fs::path& folder, std::span<const std::string> extensions, const CacheLimits& limits) {
    std::error_code error;
    const auto now = fs::file_time_type::clock::now();
    std::vector<CachedFile> files;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        // Only what is ours, and never what a link leads to.
        std::error_code ignored;
        const bool isOurs = std::ranges::count(extensions, entry->path().extension().string()) > 0;
        if (!isOurs || !fs::is_regular_file(entry->symlink_status(ignored))) continue;
        const std::uint64_t bytes = entry->file_size(ignored);
        const auto time = ignored ? now : entry->last_write_time(ignored);
        if (ignored) continue;
        files.push_back({entry->path().filename().string(), bytes, std::chrono::duration<double>(now - time).count()});
    }
    for (const std::string& name : filesToDelete(std::move(files), limits)) fs::remove(folder / name, error);
}

}  // namespace lumivastor::render
