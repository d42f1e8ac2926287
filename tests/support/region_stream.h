// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "media/region/region_coder.h"
#include "media/region/stream_weaver.h"
#include "support/h264_decoders.h"

namespace lumivastor {

/// How the encoder of a test's stream is set.
struct TestEncoderOptions {
    int width = 64;  // even
    int height = 48;
    std::string preset = "superfast";
    double rateFactor = 20;
    bool usesCabac = true;
    int slices = 0;  // of each picture; 0: the encoder's default
    int threads = 1;
    std::string parameters;  // more of x264's own, joined by colons
};

/// libx264 as our exports and recordings set it, one picture in and one out.
class TestEncoder {
  public:
    explicit TestEncoder(const TestEncoderOptions& options);
    ~TestEncoder();
    TestEncoder(const TestEncoder&) = delete;
    TestEncoder& operator=(const TestEncoder&) = delete;

    std::vector<std::uint8_t> parameterSets() const;
    std::vector<std::uint8_t> encode(const PlainPicture& picture, bool asKey);

  private:
    struct Codec;
    std::unique_ptr<Codec> codec_;
    std::int64_t pictures_ = 0;
};

/// A stream of an encoder's and our own pictures, with what decoders have to show: the encoder's pictures as FFmpeg
/// decodes the encoder's stream alone, ours as the coder's reconstruction says.
class RegionStream {
  public:
    RegionStream(const TestEncoderOptions& options, int chromaQpIndexOffset);

    /// The size of the source's pictures, which may be one less than the encoder's in both directions.
    void useSourceSize(int width, int height);

    void addEncoderPicture(const PlainPicture& source, bool asKey);
    /// False: the coder gave up. What follows must be an encoder's picture.
    bool addRegionPicture(const PlainPicture& source, const media::RegionPlan& plan,
                          const media::RegionCoderSettings& settings);

    bool mayUseBase() const { return weaver_->regionPictures() > 0; }
    media::RegionCoder& coder() { return *coder_; }
    const media::CodedRegion& lastRegion() const { return lastRegion_; }
    const PlainPicture& shown() const { return shown_.back(); }
    const std::vector<PlainPicture>& allShown() const { return shown_; }
    const std::vector<std::vector<std::uint8_t>>& accessUnits() const { return accessUnits_; }
    const std::vector<std::size_t>& keys() const { return keys_; }
    const std::vector<std::uint8_t>& parameterSets() const { return weaver_->parameterSets(); }

    /// Decodes from picture `first`, a key picture, with both decoders, and expects what must be shown. Streams of
    /// which openh264 does not even decode the encoder's own pictures are decoded by FFmpeg alone; returns whether it
    /// was both.
    bool check(std::size_t first = 0, int threads = 1) const;

  private:
    bool decodesEncoderAlone() const;

    TestEncoder encoder_;
    int chromaQpIndexOffset_;
    std::optional<media::StreamWeaver> weaver_;
    std::unique_ptr<media::RegionCoder> coder_;
    std::unique_ptr<H264Decoder> encoderDecoder_;
    std::vector<std::uint8_t> encoderSets_;
    std::vector<std::vector<std::uint8_t>> encoderUnits_;
    PlainPicture base_;  // the encoder's last picture
    std::vector<PlainPicture> shown_;
    std::vector<std::vector<std::uint8_t>> accessUnits_;
    std::vector<std::size_t> keys_;
    media::CodedRegion lastRegion_;
};

}  // namespace lumivastor
