// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/reuse/kept_groups.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "base/descriptor_io.h"
#include "base/log.h"
#include "base/private_folder.h"
#include "base/system_error_text.h"

namespace lumivastor::render {

namespace {

constexpr std::string_view kGroupsHeader = "lumivastor-groups 1\n";
// A record's line is about 200 bytes long.
constexpr std::size_t kLongestLine = 512;
// So much stays free for the film and for others.
constexpr std::uint64_t kFreeBytes = 1U << 30;
constexpr std::uint64_t kLargestFile = 4ULL << 30;

std::uint64_t lengthOf(int file) {
    struct stat status {};
    return ::fstat(file, &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

std::uint64_t sizesBytes(const GroupRecord& record) {
    return std::uint64_t{record.pictures} * sizeof(std::uint32_t);
}

bool isSameFile(int file, const std::filesystem::path& path) {
    struct stat opened {};
    struct stat named {};
    return ::fstat(file, &opened) == 0 && ::stat(path.c_str(), &named) == 0 && opened.st_dev == named.st_dev &&
           opened.st_ino == named.st_ino;
}

}  // namespace

KeptGroups::KeptGroups(std::filesystem::path file) : path_(std::move(file)) {
    if (path_.empty()) return;
    file_ = UniqueDescriptor(::open(path_.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (!file_.isOpen()) return;
    struct stat status {};
    if (::fstat(file_.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        file_.reset();
        return;
    }
    readRecords();
}

void KeptGroups::readRecords() {
    const std::uint64_t size = lengthOf(file_.get());
    std::array<char, kLongestLine> bytes{};
    Transfer read = readAllAt(file_.get(), 0, bytes.data(), kGroupsHeader.size());
    if (read.error || std::string_view(bytes.data(), read.count) != kGroupsHeader) return;
    for (end_ = kGroupsHeader.size(); end_ < size;) {
        read = readAllAt(file_.get(), end_, bytes.data(), bytes.size());
        if (read.error) return;
        const std::string_view text(bytes.data(), read.count);
        const std::size_t line = text.find('\n');
        if (line == std::string_view::npos) return;
        const auto record = parseRecord(text.substr(0, line));
        if (!record) return;
        const std::uint64_t offset = end_ + line + 1;
        const std::uint64_t length = sizesBytes(*record) + record->bytes;
        if (length > size - offset) return;
        places_.push_back({*record, offset});
        end_ = offset + length;
    }
}

std::optional<media::CodedGroup> KeptGroups::read(const Place& place) const {
    media::CodedGroup group;
    group.carry = place.record.end;
    group.sizes.resize(place.record.pictures);
    group.bytes.resize(place.record.bytes);
    const std::size_t sizes = sizesBytes(place.record);
    const Transfer first = readAllAt(file_.get(), place.offset, group.sizes.data(), sizes);
    const Transfer second = readAllAt(file_.get(), place.offset + sizes, group.bytes.data(), group.bytes.size());
    const bool isRead = first.count == sizes && second.count == group.bytes.size();
    if (!isRead || checksumOf(group) != place.record.checksum || !media::isWellFormed(group)) return std::nullopt;
    return group;
}

bool KeptGroups::openForKeeping() {
    if (isLocked_) return true;
    if (hasFailed_ || path_.empty()) return false;
    hasFailed_ = true;  // until it has not
    std::error_code error;
    makePrivateFolder(path_.parent_path(), error);
    if (error) return false;
    if (!file_.isOpen()) {
        file_ = UniqueDescriptor(::open(path_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600));
        if (!file_.isOpen()) return false;
    }
    // Another program may keep groups, or have put the file away meanwhile.
    if (::flock(file_.get(), LOCK_EX | LOCK_NB) != 0 || !isSameFile(file_.get(), path_)) return false;
    places_.clear();
    end_ = 0;
    readRecords();
    // Most of them are of edits long gone, and nobody could keep anything more.
    if (end_ >= kLargestFile) {
        places_.clear();
        end_ = 0;
    }
    if (end_ == 0) {
        if (::ftruncate(file_.get(), 0) != 0 ||
            writeAllAt(file_.get(), 0, kGroupsHeader.data(), kGroupsHeader.size()).error) {
            return false;
        }
        end_ = kGroupsHeader.size();
    }
    // Half a group of a program that was ended.
    if (::ftruncate(file_.get(), static_cast<off_t>(end_)) != 0) return false;
    hasFailed_ = false;
    return isLocked_ = true;
}

bool KeptGroups::mayKeep() {
    if (!openForKeeping()) return false;
    struct statvfs room {};
    if (::fstatvfs(file_.get(), &room) != 0) return false;
    return static_cast<std::uint64_t>(room.f_bavail) * room.f_frsize >= kFreeBytes && end_ < kLargestFile;
}

void KeptGroups::keep(const GroupKey& key, const media::CodedGroup& group) {
    if (!mayKeep()) return;
    const GroupRecord record = recordOf(key, group);
    const std::string line = lineOf(record) + '\n';
    const std::uint64_t offset = end_ + line.size();
    const std::size_t sizes = sizesBytes(record);
    // The line comes last: a file without it ends before the group.
    std::error_code error = writeAllAt(file_.get(), offset, group.sizes.data(), sizes).error;
    if (!error) error = writeAllAt(file_.get(), offset + sizes, group.bytes.data(), group.bytes.size()).error;
    if (!error) error = writeAllAt(file_.get(), end_, line.data(), line.size()).error;
    if (error) {
        hasFailed_ = true;
        isLocked_ = false;
        static_cast<void>(::ftruncate(file_.get(), static_cast<off_t>(end_)));
        Log::write("Studio", "Fertige Teile werden nicht aufgehoben: " + systemErrorText(error));
        return;
    }
    places_.push_back({record, offset});
    end_ = offset + sizes + group.bytes.size();
}

void KeptGroups::clear() {
    if (!file_.isOpen() || !openForKeeping()) return;
    if (::ftruncate(file_.get(), static_cast<off_t>(kGroupsHeader.size())) != 0) return;
    end_ = kGroupsHeader.size();
    places_.clear();
}

}  // namespace lumivastor::render
