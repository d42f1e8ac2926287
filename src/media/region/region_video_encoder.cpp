// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/region/region_video_encoder.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "base/precondition.h"
#include "base/recorder_error.h"
#include "ffmpeg/ffmpeg_support.h"
#include "media/writing/codec_support.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace lumivastor::media {

namespace {

constexpr const char* kPictureRefused = "Ein Bild konnte nicht kodiert werden";
// Far below what frame numbers can tell apart, and far above the distance of key pictures.
constexpr int kMostSinceBase = 60000;

// Of what the rate control has saved, what one region picture may take.
constexpr double kSavedShare = 0.02;
// From one factor to the next, as far as nobody sees.
constexpr double kAlike = 2;

// Each picture leaves libx264 at once: its size decides on the next one, and without lookahead what is about to change
// is written as well as the rest.
VideoSettings forEncoder(VideoSettings settings, const RegionVideoSettings& regionSettings) {
    settings.lowLatency = true;
    settings.constantQuality = static_cast<int>(std::lround(regionSettings.rate.restFactor));
    settings.limitsQuality = false;
    settings.skipRepeatedPictures = false;
    settings.refersToLastOnly = true;
    settings.maxSeekSeconds = settings.keySecondsAfterChange = 0;  // decided here, of all pictures
    settings.make = {};
    return settings;
}

RateControlSettings rateOf(const VideoSettings& settings, RateControlSettings rate) {
    rate.bytesPerSecond = static_cast<double>(settings.averageBitRate) / 8;
    return rate;
}

imaging::YuvPicture viewOf(const imaging::PlanarBuffer& buffer) {
    const imaging::YuvDestination& planes = buffer.destination();
    imaging::YuvPicture picture;
    picture.width = planes.width;
    picture.height = planes.height;
    picture.luma = {planes.luma, planes.lumaStride};
    picture.cb = {planes.cb, planes.chromaStride};
    picture.cr = {planes.cr, planes.chromaStride};
    picture.encoding = planes.encoding;
    return picture;
}

[[noreturn]] void refuse(std::string_view reason) {
    throw RecorderError(std::string(kPictureRefused) + ": Der Encoder liefert einen unerwarteten Bildstrom (" +
                        std::string(reason) + ").");
}

}  // namespace

PictureEncoderMaker regionEncoderMaker(const RegionVideoSettings& settings) {
    return [settings](const VideoSettings& video) -> std::unique_ptr<PictureEncoder> {
        const bool isX264 = video.codec == VideoCodec::h264 && (video.encoder.empty() || video.encoder == "libx264");
        if (settings.isOn && isX264) {
            auto encoder = std::make_unique<RegionVideoEncoder>(video, settings);
            if (encoder->obstacle().empty()) return encoder;
        }
        return std::make_unique<VideoEncoder>(video);
    };
}

RegionVideoEncoder::RegionVideoEncoder(const VideoSettings& settings, const RegionVideoSettings& regionSettings)
    : settings_(settings),
      regionSettings_(regionSettings),
      encoder_(forEncoder(settings, regionSettings)),
      coder_(settings.width, settings.height, regionSettings.chromaQpIndexOffset),
      planner_(settings.width, settings.height, regionSettings.planner),
      policy_(regionSettings.policy),
      rate_(rateOf(settings, regionSettings.rate), regionSettings.carry),
      isInMotion_(regionSettings.carry.isInMotion),
      keys_(keyDistanceSettings(settings)) {
    const ffmpeg::CodecParametersHandle parameters = encoder_.parameters();
    auto made = StreamWeaver::make({parameters->extradata, static_cast<std::size_t>(parameters->extradata_size)},
                                   regionSettings.chromaQpIndexOffset);
    if (const auto* obstacle = std::get_if<Obstacle>(&made)) {
        obstacle_ = obstacle->reason;
    } else {
        weaver_ = std::move(std::get<StreamWeaver>(made));
        RegionPlannerSettings planner = regionSettings.planner;
        planner.scrollReach = std::min(planner.scrollReach, weaver_->maxVerticalDisplacement());
        planner_ = RegionPlanner(settings.width, settings.height, planner);
    }
}

ffmpeg::CodecParametersHandle RegionVideoEncoder::parameters() const {
    ffmpeg::CodecParametersHandle parameters = encoder_.parameters();
    if (weaver_) replaceParameterSets(*parameters, weaver_->parameterSets());
    return parameters;
}

void RegionVideoEncoder::encode(const std::shared_ptr<imaging::PlanarBuffer>& picture,
                                const imaging::KnownDamage& damage, std::int64_t ticks, const PacketConsumer& consume) {
    const imaging::YuvDestination& planes = picture->destination();
    precondition(planes.width == settings_.width && planes.height == settings_.height, "a picture of the input's size");
    add(picture, damage, ticks, consume);
}

void RegionVideoEncoder::repeat(std::int64_t ticks, const PacketConsumer& consume) {
    precondition(last_ != nullptr, "a picture to repeat");
    add(last_, imaging::DamageArea(), ticks, consume);
}

void RegionVideoEncoder::add(const std::shared_ptr<imaging::PlanarBuffer>& picture, const imaging::KnownDamage& damage,
                             std::int64_t ticks, const PacketConsumer& consume) {
    RegionPlanner::Changes changes;
    if (weaver_ && last_ != nullptr) {
        changes = planner_.look(viewOf(*picture), viewOf(*last_), damage, !policy_.keepsMotion());
    }
    Turn turn = Turn::encoderStartsOver;
    const int macroblocks = coder_.widthInMbs() * coder_.heightInMbs();
    const double seconds = last_ == nullptr ? 0 : static_cast<double>(ticks - lastTicks_) / settings_.timescale;
    lastTicks_ = ticks;
    rate_.advance(seconds);
    const auto urgency = rate_.isShort() ? KeyDistance::Urgency::mayWait : KeyDistance::Urgency::normal;
    bool isKey = keys_.isDue(ticks, changes.changed == 0, urgency);
    if (weaver_) {
        RegionPolicy::Picture facts;
        facts.isKeyDue = isKey;
        facts.mayBeOurs = sinceBase_ < kMostSinceBase;
        facts.isCoarse = planner_.isBlurred() ||
                         lastFactor_ > rate_.factorFor(RateControl::Kind::rest, settings_.frameRate) + kAlike;
        facts.macroblocks = macroblocks;
        facts.macroblocksChanged = changes.changed;
        facts.macroblocksToCode = changes.toCode;
        if (last_ != nullptr) facts.elapsed = seconds * settings_.frameRate;
        turn = policy_.next(facts);
    }
    if (turn == Turn::region) {
        if (auto region = codeRegion(picture)) {
            ++sinceBase_;
            last_ = picture;
            keys_.add(ticks, changes.changed, false);
            pending_.push_back({ticks, std::move(region)});
            giveRegions(consume);
            return;
        }
        turn = Turn::encoderMoves;
    }
    // Of a page that went on behind libx264's last picture, it finds next to nothing again. A key picture is no larger
    // then, and spares the one that would be due soon.
    const bool isAnother = turn == Turn::encoderMoves && sinceBase_ > 0 && 2 * changes.changed > macroblocks;
    isKey = isKey || (isAnother && keys_.isWorthIt());
    keys_.add(ticks, changes.changed, isKey);
    if (weaver_) planner_.encoderTook(turn != Turn::encoderRefines);
    giveToEncoder(picture, ticks, turn, isKey, consume);
}

std::optional<CodedRegion> RegionVideoEncoder::codeRegion(const std::shared_ptr<imaging::PlanarBuffer>& picture) {
    const imaging::YuvPicture source = viewOf(*picture);
    std::optional<imaging::YuvPicture> base;
    if (sinceBase_ > 0) base = viewOf(*base_);
    RegionCoderSettings coder = regionSettings_.coder;
    coder.maxBits = policy_.maxBits();
    if (coder.maxBits) {
        // While enough is saved, a scroll that shows more than its share for a while stays as sharp as it was.
        const auto ofSaved = static_cast<std::size_t>(std::max(0.0, 8 * kSavedShare * rate_.saved()));
        coder.maxBits = std::max(*coder.maxBits, ofSaved);
    }
    auto region = coder_.code(source, planner_.plan(source, base ? &*base : nullptr, coder.qp), coder);
    if (region) {
        policy_.wrote(region->bits.size());
        rate_.wrote(region->bits.size());
        count(*region);
    } else {
        policy_.gaveUp();
        ++counts_.tooLarge;
    }
    return region;
}

void RegionVideoEncoder::giveToEncoder(const std::shared_ptr<imaging::PlanarBuffer>& picture, std::int64_t ticks,
                                       Turn turn, bool isKey, const PacketConsumer& consume) {
    // A key picture that is due belongs to what is before it.
    if (turn != Turn::encoderStartsOver) isInMotion_ = turn == Turn::encoderMoves;
    const auto kind = isInMotion_ ? RateControl::Kind::motion : RateControl::Kind::rest;
    lastFactor_ = rate_.factorFor(kind, settings_.frameRate);
    if (!isInMotion_) rate_.endMotion();
    encoder_.setCoarseness(lastFactor_ - std::round(regionSettings_.rate.restFactor));
    coder_.forgetAll();
    sinceBase_ = 0;
    ++counts_.encoderPictures;
    if (weaver_) pending_.push_back({ticks, std::nullopt, lastFactor_, isInMotion_});
    if (isKey) encoder_.requestKey();
    last_ = base_ = picture;
    encoder_.encode(picture, std::nullopt, ticks, [this, &consume](AVPacket& packet) { weave(packet, consume); });
}

void RegionVideoEncoder::finish(const PacketConsumer& consume) {
    encoder_.finish([this, &consume](AVPacket& packet) { weave(packet, consume); });
}

void RegionVideoEncoder::weave(AVPacket& packet, const PacketConsumer& consume) {
    if (!weaver_) {
        consume(packet);
        return;
    }
    if (pending_.empty() || pending_.front().region || pending_.front().ticks != packet.pts) refuse("order");
    const auto woven = weaver_->encoderPicture({packet.data, static_cast<std::size_t>(packet.size)});
    if (const auto* obstacle = std::get_if<Obstacle>(&woven)) refuse(obstacle->reason);
    const auto& bytes = std::get<std::vector<std::uint8_t>>(woven);
    rate_.wrote(bytes.size());
    const Pending& written = pending_.front();
    const bool isKey = (packet.flags & AV_PKT_FLAG_KEY) != 0;
    keys_.wrote(bytes.size(), isKey);
    if (isKey) {
        rate_.learnKey(written.factor, bytes.size());
    } else if (written.isInMotion) {
        rate_.learnMotion(written.factor, bytes.size());
    } else {
        rate_.learnRest(written.factor, bytes.size());
    }
    pending_.pop_front();
    consume(*packetOf(bytes, packet, kPictureRefused));
    giveRegions(consume);
}

// Ours can be written as soon as everything before them has come out.
void RegionVideoEncoder::giveRegions(const PacketConsumer& consume) {
    for (; !pending_.empty() && pending_.front().region; pending_.pop_front()) {
        const Pending& front = pending_.front();
        const ffmpeg::PacketHandle times = ffmpeg::makePacket();
        times->pts = times->dts = front.ticks;
        times->duration = settings_.timescale / settings_.frameRate;
        const std::vector<std::uint8_t> bytes = weaver_->regionPicture(*front.region);
        keys_.wrote(bytes.size(), false);
        counts_.regionBytes += static_cast<std::int64_t>(bytes.size());
        consume(*packetOf(bytes, *times, kPictureRefused));
    }
}

void RegionVideoEncoder::count(const CodedRegion& region) {
    ++counts_.regionPictures;
    CodedRegion::Counts& total = counts_.macroblocks;
    total.intra4x4 += region.counts.intra4x4;
    total.intra16x16 += region.counts.intra16x16;
    total.inter += region.counts.inter;
    total.base += region.counts.base;
    total.moved += region.counts.moved;
    total.coarser += region.counts.coarser;
}

}  // namespace lumivastor::media
