// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <vector>

#include "base/unique_descriptor.h"
#include "render/reuse/group_record.h"

namespace lumivastor::render {

/// A file of coded groups that are in no film yet, of an export that was cancelled or cut off, or made ahead. It only
/// grows; whatever ended with half a group ends with the whole one before it. Several programs may read it, one at a
/// time adds to it. What fails is not kept: no function throws for that. One thread at a time.
class KeptGroups {
  public:
    /// Opens the file, or makes it when the first group is kept.
    explicit KeptGroups(std::filesystem::path file);

    struct Place {
        GroupRecord record;
        std::uint64_t offset = 0;  // of the sizes, and behind them the bytes
    };
    /// What the file had when it was opened, and what was kept since.
    const std::vector<Place>& places() const { return places_; }

    /// nullopt when the file no longer has it.
    std::optional<media::CodedGroup> read(const Place& place) const;

    /// Whether groups can be kept: no other program does so, and the disk has room. Asked again for each group.
    bool mayKeep();
    void keep(const GroupKey& key, const media::CodedGroup& group);

    /// Forgets all of them, unless another program adds to the file.
    void clear();

  private:
    bool openForKeeping();
    void readRecords();

    const std::filesystem::path path_;
    UniqueDescriptor file_;
    bool isLocked_ = false;
    bool hasFailed_ = false;
    std::uint64_t end_ = 0;  // of the last whole group
    std::vector<Place> places_;
};

}  // namespace lumivastor::render
