// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/region_stream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <variant>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/opt.h>
}

namespace lumivastor {

namespace {

constexpr int kMb = 16;

// Where two pictures differ first, for messages.
std::string difference(const PlainPicture& a, const PlainPicture& b) {
    if (a.width != b.width || a.height != b.height) return "the size";
    for (int plane = 0; plane < 3; ++plane) {
        for (int y = 0; y < a.planeHeight(plane); ++y) {
            for (int x = 0; x < a.planeWidth(plane); ++x) {
                if (a.row(plane, y)[x] == b.row(plane, y)[x]) continue;
                return "plane " + std::to_string(plane) + " at " + std::to_string(x) + ", " + std::to_string(y);
            }
        }
    }
    return "nothing";
}

// 8.4.2.2: the sample that a whole luma vector points to; chroma lies between samples where the vector is odd.
std::uint8_t movedSample(const PlainPicture& from, int plane, int x, int y, const media::Displacement& vector) {
    if (plane == 0) return from.row(0, y + vector.y)[x + vector.x];
    const int eighthsX = 8 * x + 4 * vector.x;
    const int eighthsY = 8 * y + 4 * vector.y;
    const int fractionX = eighthsX & 7;
    const int fractionY = eighthsY & 7;
    const auto at = [&from, plane](int column, int row) -> int {
        return from.row(
            plane, std::clamp(row, 0, from.planeHeight(plane) - 1))[std::clamp(column, 0, from.planeWidth(plane) - 1)];
    };
    const int left = eighthsX >> 3;
    const int top = eighthsY >> 3;
    return static_cast<std::uint8_t>(
        ((8 - fractionX) * (8 - fractionY) * at(left, top) + fractionX * (8 - fractionY) * at(left + 1, top) +
         (8 - fractionX) * fractionY * at(left, top + 1) + fractionX * fractionY * at(left + 1, top + 1) + 32) >>
        6);
}

}  // namespace

struct TestEncoder::Codec {
    AVCodecContext* context = nullptr;
    AVPacket* packet = nullptr;
    AVFrame* frame = nullptr;

    ~Codec() {
        av_frame_free(&frame);
        av_packet_free(&packet);
        avcodec_free_context(&context);
    }
};

TestEncoder::TestEncoder(const TestEncoderOptions& options) : codec_(std::make_unique<Codec>()) {
    const AVCodec* const encoder = avcodec_find_encoder_by_name("libx264");
    codec_->context = avcodec_alloc_context3(encoder);
    codec_->packet = av_packet_alloc();
    codec_->frame = av_frame_alloc();
    AVCodecContext& context = *codec_->context;
    context.width = options.width;
    context.height = options.height;
    context.pix_fmt = AV_PIX_FMT_YUV420P;
    context.time_base = {1, 60};
    context.framerate = {60, 1};
    context.gop_size = 100000;
    context.max_b_frames = 0;
    context.refs = 1;
    context.slices = options.slices;
    context.thread_count = options.threads;
    context.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    std::string parameters = options.usesCabac ? "cabac=1" : "cabac=0";
    if (!options.parameters.empty()) parameters += ":" + options.parameters;
    for (const auto& [option, value] : {std::pair<const char*, std::string>{"preset", options.preset},
                                        {"tune", "zerolatency"},
                                        {"profile", "high"},
                                        {"weightp", "none"},
                                        {"forced-idr", "1"},
                                        {"crf", std::to_string(options.rateFactor)},
                                        {"x264-params", parameters}}) {
        if (av_opt_set(context.priv_data, option, value.c_str(), 0) < 0) throw std::runtime_error(option);
    }
    av_log_set_level(AV_LOG_ERROR);
    if (avcodec_open2(&context, encoder, nullptr) < 0) throw std::runtime_error("libx264 does not open");
    codec_->frame->format = AV_PIX_FMT_YUV420P;
    codec_->frame->width = options.width;
    codec_->frame->height = options.height;
    if (av_frame_get_buffer(codec_->frame, 0) < 0) throw std::bad_alloc();
}

TestEncoder::~TestEncoder() = default;

std::vector<std::uint8_t> TestEncoder::parameterSets() const {
    const AVCodecContext& context = *codec_->context;
    return {context.extradata, context.extradata + context.extradata_size};
}

std::vector<std::uint8_t> TestEncoder::encode(const PlainPicture& picture, bool asKey) {
    AVFrame& frame = *codec_->frame;
    if (av_frame_make_writable(&frame) < 0) throw std::bad_alloc();
    // The encoder's size is even; an odd picture goes on with its last column and row.
    for (int plane = 0; plane < 3; ++plane) {
        const int width = plane == 0 ? frame.width : frame.width / 2;
        const int height = plane == 0 ? frame.height : frame.height / 2;
        for (int y = 0; y < height; ++y) {
            const std::uint8_t* const from = picture.row(plane, std::min(y, picture.planeHeight(plane) - 1));
            std::uint8_t* const to = frame.data[plane] + static_cast<std::ptrdiff_t>(y) * frame.linesize[plane];
            for (int x = 0; x < width; ++x) to[x] = from[std::min(x, picture.planeWidth(plane) - 1)];
        }
    }
    frame.pts = pictures_++;
    frame.pict_type = asKey ? AV_PICTURE_TYPE_I : AV_PICTURE_TYPE_NONE;
    if (avcodec_send_frame(codec_->context, &frame) < 0 ||
        avcodec_receive_packet(codec_->context, codec_->packet) < 0) {
        throw std::runtime_error("libx264 does not encode");
    }
    std::vector<std::uint8_t> accessUnit(codec_->packet->data, codec_->packet->data + codec_->packet->size);
    av_packet_unref(codec_->packet);
    return accessUnit;
}

RegionStream::RegionStream(const TestEncoderOptions& options, int chromaQpIndexOffset)
    : encoder_(options), chromaQpIndexOffset_(chromaQpIndexOffset), encoderSets_(encoder_.parameterSets()) {
    auto made = media::StreamWeaver::make(encoderSets_, chromaQpIndexOffset);
    if (const auto* obstacle = std::get_if<media::Obstacle>(&made)) {
        throw std::runtime_error(std::string(obstacle->reason));
    }
    weaver_ = std::move(std::get<media::StreamWeaver>(made));
    EXPECT_EQ(weaver_->width(), options.width);
    EXPECT_EQ(weaver_->height(), options.height);
    useSourceSize(options.width, options.height);
    encoderDecoder_ = makeFfmpegDecoder(encoderSets_, 1, [this](const PlainPicture& picture) { base_ = picture; });
}

void RegionStream::useSourceSize(int width, int height) {
    coder_ = std::make_unique<media::RegionCoder>(width, height, chromaQpIndexOffset_);
}

void RegionStream::addEncoderPicture(const PlainPicture& source, bool asKey) {
    encoderUnits_.push_back(encoder_.encode(source, asKey || shown_.empty()));
    base_ = {};
    encoderDecoder_->decode(encoderUnits_.back());
    if (base_.samples.empty()) throw std::runtime_error("FFmpeg does not show the encoder's picture");
    auto woven = weaver_->encoderPicture(encoderUnits_.back());
    if (const auto* obstacle = std::get_if<media::Obstacle>(&woven)) {
        throw std::runtime_error(std::string(obstacle->reason));
    }
    if (asKey || shown_.empty()) keys_.push_back(shown_.size());
    coder_->forgetAll();
    accessUnits_.push_back(std::move(std::get<std::vector<std::uint8_t>>(woven)));
    shown_.push_back(base_);
}

bool RegionStream::addRegionPicture(const PlainPicture& source, const media::RegionPlan& plan,
                                    const media::RegionCoderSettings& settings) {
    auto region = coder_->code(source.view(), plan, settings);
    if (!region) return false;
    const PlainPicture& before = shown_.back();
    PlainPicture picture = before;
    const PlainPicture coded(coder_->reconstruction());
    for (std::size_t mb = 0; mb < plan.kinds.size(); ++mb) {
        const media::MacroblockKind kind = plan.kinds[mb];
        if (kind == media::MacroblockKind::skipped) continue;
        const int columns = coder_->widthInMbs();
        for (int plane = 0; plane < 3; ++plane) {
            const int size = plane == 0 ? kMb : kMb / 2;
            const int left = static_cast<int>(mb) % columns * size;
            const int top = static_cast<int>(mb) / columns * size;
            for (int y = top; y < std::min(top + size, picture.planeHeight(plane)); ++y) {
                for (int x = left; x < std::min(left + size, picture.planeWidth(plane)); ++x) {
                    std::uint8_t& sample = picture.row(plane, y)[x];
                    if (kind == media::MacroblockKind::base) {
                        sample = base_.row(plane, y)[x];
                    } else if (kind == media::MacroblockKind::coded) {
                        sample = coded.row(plane, y)[x];
                    } else {
                        sample = movedSample(before, plane, x, y, plan.displacements[mb]);
                    }
                }
            }
        }
    }
    accessUnits_.push_back(weaver_->regionPicture(*region));
    shown_.push_back(std::move(picture));
    lastRegion_ = std::move(*region);
    return true;
}

bool RegionStream::decodesEncoderAlone() const {
    std::size_t pictures = 0;
    const auto decoder = makeOpenH264Decoder(encoderSets_, [&pictures](const PlainPicture&) { ++pictures; });
    for (const auto& unit : encoderUnits_) decoder->decode(unit);
    decoder->finish();
    return decoder->complaints() == 0 && pictures == encoderUnits_.size();
}

bool RegionStream::check(std::size_t first, int threads) const {
    const auto decodeWith = [this, first](const char* name, auto make) {
        SCOPED_TRACE(name);
        std::size_t next = first;
        int different = 0;
        const auto decoder = make([this, &next, &different](const PlainPicture& picture) {
            if (next >= shown_.size() || !(picture == shown_[next])) {
                if (++different == 1) {
                    ADD_FAILURE() << "picture " << next << " of " << shown_.size() << " differs in "
                                  << (next < shown_.size() ? difference(picture, shown_[next]) : "its existence");
                }
            }
            ++next;
        });
        for (std::size_t i = first; i < accessUnits_.size(); ++i) decoder->decode(accessUnits_[i]);
        decoder->finish();
        EXPECT_EQ(next, shown_.size());
        EXPECT_EQ(different, 0);
        EXPECT_EQ(decoder->complaints(), 0);
    };
    decodeWith("FFmpeg", [this, threads](H264Decoder::Shown shown) {
        return makeFfmpegDecoder(parameterSets(), threads, std::move(shown));
    });
    if (!decodesEncoderAlone()) return false;
    decodeWith("openh264",
               [this](H264Decoder::Shown shown) { return makeOpenH264Decoder(parameterSets(), std::move(shown)); });
    return true;
}

}  // namespace lumivastor
