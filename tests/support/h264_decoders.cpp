// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/h264_decoders.h"

#include <wels/codec_api.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <stdexcept>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/log.h>
}

namespace lumivastor {

namespace {

// FFmpeg's log has no owner to ask; tests decode one stream at a time.
std::atomic<int> ffmpegComplaints = 0;

void countComplaint(void* /*context*/, int level, const char* /*format*/, va_list /*values*/) {
    if (level <= AV_LOG_WARNING) ++ffmpegComplaints;
}

// Counts what FFmpeg logs while it exists.
class ComplaintCounter {
  public:
    ComplaintCounter() {
        ffmpegComplaints = 0;
        av_log_set_callback(countComplaint);
    }
    ~ComplaintCounter() { av_log_set_callback(av_log_default_callback); }
    ComplaintCounter(const ComplaintCounter&) = delete;
    ComplaintCounter& operator=(const ComplaintCounter&) = delete;
};

class FfmpegDecoder final : public H264Decoder {
  public:
    FfmpegDecoder(std::span<const std::uint8_t> parameterSets, int threads, Shown shown) : shown_(std::move(shown)) {
        codec_ = avcodec_alloc_context3(avcodec_find_decoder(AV_CODEC_ID_H264));
        packet_ = av_packet_alloc();
        frame_ = av_frame_alloc();
        codec_->extradata = static_cast<std::uint8_t*>(av_mallocz(parameterSets.size() + AV_INPUT_BUFFER_PADDING_SIZE));
        std::copy(parameterSets.begin(), parameterSets.end(), codec_->extradata);
        codec_->extradata_size = static_cast<int>(parameterSets.size());
        codec_->thread_count = threads;
        codec_->err_recognition = AV_EF_EXPLODE | AV_EF_CRCCHECK | AV_EF_BITSTREAM | AV_EF_BUFFER | AV_EF_COMPLIANT;
        if (avcodec_open2(codec_, nullptr, nullptr) < 0) throw std::runtime_error("FFmpeg's decoder does not open");
    }
    ~FfmpegDecoder() override {
        av_frame_free(&frame_);
        av_packet_free(&packet_);
        avcodec_free_context(&codec_);
    }
    FfmpegDecoder(const FfmpegDecoder&) = delete;
    FfmpegDecoder& operator=(const FfmpegDecoder&) = delete;

    void decode(std::span<const std::uint8_t> accessUnit) override {
        const ComplaintCounter counter;
        if (av_new_packet(packet_, static_cast<int>(accessUnit.size())) < 0) throw std::bad_alloc();
        std::copy(accessUnit.begin(), accessUnit.end(), packet_->data);
        if (avcodec_send_packet(codec_, packet_) < 0) ++errors_;
        av_packet_unref(packet_);
        take();
    }
    void finish() override {
        const ComplaintCounter counter;
        if (avcodec_send_packet(codec_, nullptr) < 0) ++errors_;
        take();
    }
    int complaints() const override { return errors_; }

  private:
    void take() {
        while (avcodec_receive_frame(codec_, frame_) == 0) {
            if (frame_->decode_error_flags != 0 || (frame_->flags & AV_FRAME_FLAG_CORRUPT) != 0) ++errors_;
            imaging::YuvPicture picture;
            picture.width = frame_->width;
            picture.height = frame_->height;
            picture.luma = {frame_->data[0], frame_->linesize[0]};
            picture.cb = {frame_->data[1], frame_->linesize[1]};
            picture.cr = {frame_->data[2], frame_->linesize[2]};
            shown_(PlainPicture(picture));
        }
        errors_ += ffmpegComplaints.exchange(0);
    }

    Shown shown_;
    AVCodecContext* codec_ = nullptr;
    AVPacket* packet_ = nullptr;
    AVFrame* frame_ = nullptr;
    int errors_ = 0;
};

class OpenH264Decoder final : public H264Decoder {
  public:
    OpenH264Decoder(std::span<const std::uint8_t> parameterSets, Shown shown)
        : shown_(std::move(shown)), waiting_(parameterSets.begin(), parameterSets.end()) {
        if (WelsCreateDecoder(&decoder_) != 0) throw std::runtime_error("openh264 does not open");
        int level = WELS_LOG_QUIET;
        decoder_->SetOption(DECODER_OPTION_TRACE_LEVEL, &level);
        SDecodingParam parameters{};
        parameters.sVideoProperty.eVideoBsType = VIDEO_BITSTREAM_AVC;
        parameters.eEcActiveIdc = ERROR_CON_DISABLE;
        if (decoder_->Initialize(&parameters) != 0) throw std::runtime_error("openh264 does not begin");
    }
    ~OpenH264Decoder() override {
        decoder_->Uninitialize();
        WelsDestroyDecoder(decoder_);
    }
    OpenH264Decoder(const OpenH264Decoder&) = delete;
    OpenH264Decoder& operator=(const OpenH264Decoder&) = delete;

    void decode(std::span<const std::uint8_t> accessUnit) override {
        waiting_.insert(waiting_.end(), accessUnit.begin(), accessUnit.end());
        std::array<std::uint8_t*, 3> planes{};
        SBufferInfo info{};
        if (decoder_->DecodeFrameNoDelay(waiting_.data(), static_cast<int>(waiting_.size()), planes.data(), &info) !=
            0) {
            ++errors_;
        }
        waiting_.clear();
        give(planes, info);
    }
    void finish() override {
        for (int left = 0;
             decoder_->GetOption(DECODER_OPTION_NUM_OF_FRAMES_REMAINING_IN_BUFFER, &left) == 0 && left > 0;) {
            std::array<std::uint8_t*, 3> planes{};
            SBufferInfo info{};
            decoder_->FlushFrame(planes.data(), &info);
            if (info.iBufferStatus != 1) break;
            give(planes, info);
        }
    }
    int complaints() const override { return errors_; }

  private:
    void give(const std::array<std::uint8_t*, 3>& planes, const SBufferInfo& info) {
        if (info.iBufferStatus != 1) return;
        const SSysMEMBuffer& buffer = info.UsrData.sSystemBuffer;
        imaging::YuvPicture picture;
        picture.width = buffer.iWidth;
        picture.height = buffer.iHeight;
        picture.luma = {planes[0], buffer.iStride[0]};
        picture.cb = {planes[1], buffer.iStride[1]};
        picture.cr = {planes[2], buffer.iStride[1]};
        shown_(PlainPicture(picture));
    }

    Shown shown_;
    std::vector<std::uint8_t> waiting_;
    ISVCDecoder* decoder_ = nullptr;
    int errors_ = 0;
};

}  // namespace

PlainPicture::PlainPicture(int pictureWidth, int pictureHeight) : width(pictureWidth), height(pictureHeight) {
    const std::size_t chroma = static_cast<std::size_t>(planeWidth(1)) * static_cast<std::size_t>(planeHeight(1));
    samples.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) + 2 * chroma);
}

PlainPicture::PlainPicture(const imaging::YuvPicture& picture) : PlainPicture(picture.width, picture.height) {
    const std::array<imaging::YuvPlane, 3> planes{picture.luma, picture.cb, picture.cr};
    for (int plane = 0; plane < 3; ++plane) {
        const imaging::YuvPlane& from = planes[static_cast<std::size_t>(plane)];
        for (int y = 0; y < planeHeight(plane); ++y) {
            std::copy_n(from.samples + y * from.stride, planeWidth(plane), row(plane, y));
        }
    }
}

const std::uint8_t* PlainPicture::row(int plane, int y) const {
    const std::size_t luma = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    const std::size_t chroma = static_cast<std::size_t>(planeWidth(1)) * static_cast<std::size_t>(planeHeight(1));
    const std::size_t begin = plane == 0 ? 0 : luma + static_cast<std::size_t>(plane - 1) * chroma;
    return samples.data() + begin + static_cast<std::size_t>(y) * static_cast<std::size_t>(planeWidth(plane));
}

std::uint8_t* PlainPicture::row(int plane, int y) {
    return const_cast<std::uint8_t*>(std::as_const(*this).row(plane, y));
}

imaging::YuvPicture PlainPicture::view() const {
    imaging::YuvPicture picture;
    picture.width = width;
    picture.height = height;
    picture.luma = {row(0, 0), width};
    picture.cb = {row(1, 0), planeWidth(1)};
    picture.cr = {row(2, 0), planeWidth(1)};
    return picture;
}

std::unique_ptr<H264Decoder> makeFfmpegDecoder(std::span<const std::uint8_t> parameterSets, int threads,
                                               H264Decoder::Shown shown) {
    return std::make_unique<FfmpegDecoder>(parameterSets, threads, std::move(shown));
}

std::unique_ptr<H264Decoder> makeOpenH264Decoder(std::span<const std::uint8_t> parameterSets,
                                                 H264Decoder::Shown shown) {
    return std::make_unique<OpenH264Decoder>(parameterSets, std::move(shown));
}

}  // namespace lumivastor
