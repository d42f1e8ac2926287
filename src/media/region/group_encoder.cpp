// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/region/group_encoder.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <utility>

#include "base/precondition.h"
#include "base/recorder_error.h"
#include "ffmpeg/ffmpeg_support.h"
#include "media/writing/codec_support.h"
#include "media/writing/h264_bitstream.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace lumivastor::media {

namespace {

constexpr const char* kGroupRefused = "Ein Bild konnte nicht kodiert werden";
constexpr std::size_t kLengthBytes = 4;
constexpr std::uint8_t kStartCode[kLengthBytes] = {0, 0, 0, 1};

std::size_t lengthAt(const std::uint8_t* bytes) {
    return std::size_t{bytes[0]} << 24 | std::size_t{bytes[1]} << 16 | std::size_t{bytes[2]} << 8 | bytes[3];
}

void appendWithLength(std::vector<std::uint8_t>& bytes, std::span<const std::uint8_t> unit) {
    for (int shift = 24; shift >= 0; shift -= 8) bytes.push_back(static_cast<std::uint8_t>(unit.size() >> shift));
    bytes.insert(bytes.end(), unit.begin(), unit.end());
}

bool unitsFill(std::span<const std::uint8_t> picture) {
    while (!picture.empty()) {
        if (picture.size() < kLengthBytes) return false;
        const std::size_t length = lengthAt(picture.data());
        if (length == 0 || length > picture.size() - kLengthBytes) return false;
        picture = picture.subspan(kLengthBytes + length);
    }
    return true;
}

}  // namespace

std::uint32_t encoderLibraryVersion() {
    return avcodec_version();
}

bool isWellFormed(const CodedGroup& group) {
    std::span<const std::uint8_t> rest(group.bytes);
    for (const std::uint32_t size : group.sizes) {
        if (size == 0 || size > rest.size() || !unitsFill(rest.first(size))) return false;
        rest = rest.subspan(size);
    }
    return !group.sizes.empty() && rest.empty();
}

StoredSample storedPicture(const CodedGroup& group, std::size_t picture, const MediaTime& time,
                           const MediaTime& duration) {
    std::size_t at = 0;
    for (std::size_t i = 0; i < picture; ++i) at += group.sizes[i];
    const std::uint32_t size = group.sizes[picture];
    ffmpeg::PacketHandle packet = ffmpeg::makePacket();
    ffmpeg::checked(av_new_packet(packet.get(), static_cast<int>(size)), kGroupRefused);
    std::memcpy(packet->data, group.bytes.data() + at, size);
    StoredSample sample;
    sample.presentationTime = sample.decodeTime = time;
    sample.duration = duration;
    // Writers take start codes, which are as long.
    for (std::size_t unit = 0; unit < size;) {
        const std::size_t length = lengthAt(packet->data + unit);
        std::memcpy(packet->data + unit, kStartCode, kLengthBytes);
        // libx264 makes key pictures of its own where all of a picture changes.
        sample.isKey = sample.isKey || unitKind({packet->data + unit + kLengthBytes, length}) == H264Unit::refreshSlice;
        unit += kLengthBytes + length;
    }
    if (sample.isKey) packet->flags |= AV_PKT_FLAG_KEY;
    sample.packet = std::shared_ptr<const AVPacket>(packet.release(), ffmpeg::FfmpegDelete{});
    return sample;
}

GroupEncoder::GroupEncoder(const VideoSettings& settings, const RegionVideoSettings& regionSettings)
    : settings_(settings), regionSettings_(regionSettings) {
    encoder_ = makeEncoder({});
    isFresh_ = true;
    obstacle_ = encoder_->obstacle();
    ffmpeg::CodecParametersHandle parameters = encoder_->parameters();
    parameterSets_.assign(parameters->extradata, parameters->extradata + parameters->extradata_size);
    format_ = {std::shared_ptr<const AVCodecParameters>(parameters.release(), ffmpeg::FfmpegDelete{}),
               settings.timescale};
}

GroupEncoder::~GroupEncoder() = default;

std::unique_ptr<RegionVideoEncoder> GroupEncoder::makeEncoder(const RateCarry& carry) const {
    RegionVideoSettings regions = regionSettings_;
    regions.carry = carry;
    return std::make_unique<RegionVideoEncoder>(settings_, regions);
}

void GroupEncoder::begin(const RateCarry& carry) {
    precondition(group_.sizes.empty() && given_ == 0, "one group at a time");
    if (!std::exchange(isFresh_, false) || carry != RateCarry{}) {
        // The old one first: two of them would take twice the memory.
        encoder_.reset();
        encoder_ = makeEncoder(carry);
    }
}

void GroupEncoder::encode(const std::shared_ptr<imaging::PlanarBuffer>& picture, const imaging::KnownDamage& damage) {
    const std::int64_t tick = given_++ * settings_.timescale / settings_.frameRate;
    encoder_->encode(picture, damage, tick, [this](AVPacket& packet) { take(packet); });
}

void GroupEncoder::repeat() {
    const std::int64_t tick = given_++ * settings_.timescale / settings_.frameRate;
    encoder_->repeat(tick, [this](AVPacket& packet) { take(packet); });
}

void GroupEncoder::take(AVPacket& packet) {
    if (group_.sizes.empty() && (packet.flags & AV_PKT_FLAG_KEY) == 0) {
        throw RecorderError(std::string(kGroupRefused) + ": Der Encoder beginnt ohne Schlüsselbild.");
    }
    const std::size_t before = group_.bytes.size();
    for (const auto unit : unitsOf({packet.data, static_cast<std::size_t>(packet.size)})) {
        if (!unit.empty()) appendWithLength(group_.bytes, unit);
    }
    group_.sizes.push_back(static_cast<std::uint32_t>(group_.bytes.size() - before));
}

CodedGroup GroupEncoder::end() {
    encoder_->finish([this](AVPacket& packet) { take(packet); });
    if (static_cast<std::int64_t>(group_.sizes.size()) != given_ || given_ == 0) {
        throw RecorderError(std::string(kGroupRefused) + ": Der Encoder liefert nicht alle Bilder.");
    }
    const ffmpeg::CodecParametersHandle parameters = encoder_->parameters();
    if (!std::ranges::equal(parameterSets_,
                            std::span(parameters->extradata, static_cast<std::size_t>(parameters->extradata_size)))) {
        throw RecorderError(std::string(kGroupRefused) + ": Der Encoder ändert seine Einstellungen.");
    }
    group_.carry = encoder_->carry();
    given_ = 0;
    return std::exchange(group_, {});
}

}  // namespace lumivastor::media
