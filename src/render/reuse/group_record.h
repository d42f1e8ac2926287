// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "imaging/content_hash.h"
#include "media/region/group_encoder.h"

namespace lumivastor::render {

/// What a group of pictures is made of: everything that its bytes depend on.
struct GroupKey {
    imaging::ContentHash content;  // recipes, source pictures, encoder, program
    media::RateCarry start;        // from the group before

    bool operator==(const GroupKey&) const = default;
};

/// A coded group that lies in a file.
struct GroupRecord {
    GroupKey key;
    media::RateCarry end;  // for the group that follows
    std::uint32_t pictures = 0;
    std::uint64_t bytes = 0;
    imaging::ContentHash checksum;  // of sizes and bytes

    bool operator==(const GroupRecord&) const = default;
};

/// More than that are none of ours.
inline constexpr std::uint32_t kMostGroupPictures = 1200;
inline constexpr std::uint64_t kLargestGroup = 256U << 20;

GroupRecord recordOf(const GroupKey& key, const media::CodedGroup& group);

/// Of the sizes of a group's pictures and their bytes.
imaging::ContentHash checksumOf(const media::CodedGroup& group);

/// One line of text without its end, and what it says; nullopt for anything else.
std::string lineOf(const GroupRecord& record);
std::optional<GroupRecord> parseRecord(std::string_view line);

}  // namespace lumivastor::render
