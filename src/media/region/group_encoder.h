// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "imaging/damage_area.h"
#include "imaging/picture_pool.h"
#include "media/reading/samples.h"
#include "media/region/rate_control.h"
#include "media/region/region_video_encoder.h"
#include "media/writing/video_encoder.h"

namespace lumivastor::media {

/// Some pictures of an H.264 stream that can be decoded without the others, as movies store them: units behind their
/// lengths of four bytes. The first picture is a key picture, and all are shown in their order.
struct CodedGroup {
    std::vector<std::uint8_t> bytes;   // of all pictures, one after the other
    std::vector<std::uint32_t> sizes;  // of each picture in `bytes`
    RateCarry carry;                   // for the group that follows

    bool operator==(const CodedGroup&) const = default;
};

/// Of the library behind the encoder: another one may make other bytes of the same pictures.
std::uint32_t encoderLibraryVersion();

/// Whether the sizes fill the bytes, and in each picture the lengths of its units do: then any other program's bytes
/// can be taken for a group without harm, though decoders may refuse them.
bool isWellFormed(const CodedGroup& group);

/// A picture of a group as a sample for a writer, with the duration of one picture; times in the movie.
StoredSample storedPicture(const CodedGroup& group, std::size_t picture, const MediaTime& time,
                           const MediaTime& duration);

/// Encodes a stream group by group with libx264 and region pictures. A group owes nothing to what was encoded before it
/// but what `RateCarry` says: with the same pictures, damage apart, and the same carry it has the same bytes. All
/// groups have the same parameter sets, so they may be taken from several streams. One thread at a time; all functions
/// throw `RecorderError`.
class GroupEncoder {
  public:
    /// The settings of an encoder that `regionEncoderMaker` would make. No group may have more pictures than their
    /// distance of key pictures.
    GroupEncoder(const VideoSettings& settings, const RegionVideoSettings& regionSettings);
    ~GroupEncoder();

    /// Why there can be no groups (see `RegionVideoEncoder`); empty if there can be.
    std::string_view obstacle() const { return obstacle_; }
    /// For the movie's header; the same for every group.
    const StoredFormat& format() const { return format_; }

    /// What the stream's identity depends on besides its pictures.
    const std::vector<std::uint8_t>& parameterSets() const { return parameterSets_; }

    /// Begins a group.
    void begin(const RateCarry& carry);
    /// The next picture of the group; see `PictureEncoder`.
    void encode(const std::shared_ptr<imaging::PlanarBuffer>& picture, const imaging::KnownDamage& damage);
    /// Shows the last picture of the group once more.
    void repeat();
    /// Ends the group, which has a picture.
    CodedGroup end();

  private:
    std::unique_ptr<RegionVideoEncoder> makeEncoder(const RateCarry& carry) const;
    void take(AVPacket& packet);

    const VideoSettings settings_;
    const RegionVideoSettings regionSettings_;
    std::string_view obstacle_;
    StoredFormat format_;
    std::vector<std::uint8_t> parameterSets_;
    std::unique_ptr<RegionVideoEncoder> encoder_;  // of the group
    bool isFresh_ = false;                         // it has no picture yet, and no carry
    CodedGroup group_;
    std::int64_t given_ = 0;  // pictures of the group that the encoder has got
};

}  // namespace lumivastor::media
