// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string_view>

#include "imaging/damage_area.h"
#include "imaging/picture_pool.h"
#include "media/region/rate_control.h"
#include "media/region/region_coder.h"
#include "media/region/region_pictures.h"
#include "media/region/region_planner.h"
#include "media/region/region_policy.h"
#include "media/region/stream_weaver.h"
#include "media/writing/video_encoder.h"

namespace lumivastor::media {

/// How pictures in which little changed are written.
struct RegionVideoSettings {
    /// Off: all pictures are the encoder's.
    bool isOn = regionPicturesAreOn();
    RegionCoderSettings coder;
    RegionPolicySettings policy;
    RegionPlannerSettings planner;
    /// Of all pictures. Its limit is the `averageBitRate` of the `VideoSettings`.
    RateControlSettings rate;
    /// From the group of pictures before, for an encoder that makes one group of several.
    RateCarry carry;
    int chromaQpIndexOffset = 0;
};

/// A maker for `VideoSettings::make`: `RegionVideoEncoder` for libx264, unless it is off or something about the stream
/// stands in the way, and `VideoEncoder` for all other encoders.
PictureEncoderMaker regionEncoderMaker(const RegionVideoSettings& settings);

/// Encodes pictures with libx264, except those in which little changed: they are region pictures, for a tenth of the
/// time. One thread at a time, as for each `PictureEncoder`.
class RegionVideoEncoder final : public PictureEncoder {
  public:
    /// `settings` are for libx264. Repeats need no rule of their own here: nothing changed in them.
    RegionVideoEncoder(const VideoSettings& settings, const RegionVideoSettings& regionSettings);

    ffmpeg::CodecParametersHandle parameters() const override;
    void encode(const std::shared_ptr<imaging::PlanarBuffer>& picture, const imaging::KnownDamage& damage,
                std::int64_t ticks, const PacketConsumer& consume) override;
    void repeat(std::int64_t ticks, const PacketConsumer& consume) override;
    void finish(const PacketConsumer& consume) override;

    /// Why there are no region pictures; empty if there can be.
    std::string_view obstacle() const { return obstacle_; }

    /// For the encoder of the next group of pictures; behind `finish`.
    RateCarry carry() const { return rate_.carry(isInMotion_); }

    struct Counts {
        int encoderPictures = 0;
        int regionPictures = 0;
        int tooLarge = 0;  // attempts; the encoder took those pictures
        std::int64_t regionBytes = 0;
        CodedRegion::Counts macroblocks;
    };
    const Counts& counts() const { return counts_; }

  private:
    /// What has not come out yet, in order: the encoder's, or ours, which wait for what is before them.
    struct Pending {
        std::int64_t ticks = 0;
        std::optional<CodedRegion> region;
        double factor = 0;  // the encoder's
        bool isInMotion = false;
    };

    void add(const std::shared_ptr<imaging::PlanarBuffer>& picture, const imaging::KnownDamage& damage,
             std::int64_t ticks, const PacketConsumer& consume);
    std::optional<CodedRegion> codeRegion(const std::shared_ptr<imaging::PlanarBuffer>& picture);
    void giveToEncoder(const std::shared_ptr<imaging::PlanarBuffer>& picture, std::int64_t ticks, Turn turn, bool isKey,
                       const PacketConsumer& consume);
    void weave(AVPacket& packet, const PacketConsumer& consume);
    void giveRegions(const PacketConsumer& consume);
    void count(const CodedRegion& region);

    VideoSettings settings_;
    RegionVideoSettings regionSettings_;
    VideoEncoder encoder_;
    std::optional<StreamWeaver> weaver_;  // nullopt: there is an obstacle
    std::string_view obstacle_;
    RegionCoder coder_;
    RegionPlanner planner_;
    RegionPolicy policy_;
    RateControl rate_;
    double lastFactor_ = 0;    // of the encoder's last picture
    bool isInMotion_ = false;  // that picture changed at large
    std::int64_t lastTicks_ = 0;
    std::shared_ptr<imaging::PlanarBuffer> last_;
    std::shared_ptr<imaging::PlanarBuffer> base_;  // the encoder's last
    int sinceBase_ = 0;                            // region pictures
    std::deque<Pending> pending_;
    KeyDistance keys_;
    Counts counts_;
};

}  // namespace lumivastor::media
