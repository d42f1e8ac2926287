// SPDX-License-Identifier: GPL-3.0-or-later
#include "ffmpeg/picture_conversion.h"

#include <array>
#include <string>
#include <utility>

#include "base/recorder_error.h"
#include "ffmpeg/colour_tags.h"
#include "ffmpeg/ffmpeg_support.h"

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

namespace lumivastor::ffmpeg {

namespace {

constexpr const char* kUnconvertible = "Ein Bild konnte nicht umgewandelt werden";

const int* coefficients(const imaging::YuvEncoding& encoding) {
    return sws_getCoefficients(encoding.matrix == imaging::YuvMatrix::bt709 ? SWS_CS_ITU709 : SWS_CS_ITU601);
}

int rangeFlag(const imaging::YuvEncoding& encoding) {
    return encoding.range == imaging::YuvRange::full ? 1 : 0;
}

// The full-range formats have names of their own, which the scaler warns about; range is passed separately.
int plainFormat(int format) {
    switch (format) {
        case AV_PIX_FMT_YUVJ420P:
            return AV_PIX_FMT_YUV420P;
        case AV_PIX_FMT_YUVJ422P:
            return AV_PIX_FMT_YUV422P;
        case AV_PIX_FMT_YUVJ444P:
            return AV_PIX_FMT_YUV444P;
        default:
            return format;
    }
}

bool isRgb(int format) {
    const AVPixFmtDescriptor* const description = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(format));
    return description != nullptr && (description->flags & AV_PIX_FMT_FLAG_RGB) != 0;
}

// Where chroma samples sit between two columns and two rows, in 256ths of the way from one to the other.
struct ChromaSite {
    int across = 0;
    int down = 128;
};

ChromaSite chromaSite(int location) {
    switch (location) {
        case AVCHROMA_LOC_CENTER:
            return {128, 128};
        case AVCHROMA_LOC_TOPLEFT:
            return {0, 0};
        case AVCHROMA_LOC_TOP:
            return {128, 0};
        case AVCHROMA_LOC_BOTTOMLEFT:
            return {0, 256};
        case AVCHROMA_LOC_BOTTOM:
            return {128, 256};
        default:
            return {};
    }
}

// The scaler takes chroma samples for centred between two columns unless it is told, and takes nothing about directions
// in which there are as many of them as of luma.
void setChromaSite(SwsContext& context, const std::string& side, int format, const ChromaSite& site) {
    const AVPixFmtDescriptor* const description = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(format));
    if (description == nullptr || (description->flags & AV_PIX_FMT_FLAG_RGB) != 0) return;
    if (description->log2_chroma_w == 1) av_opt_set_int(&context, (side + "_h_chr_pos").c_str(), site.across, 0);
    if (description->log2_chroma_h == 1) av_opt_set_int(&context, (side + "_v_chr_pos").c_str(), site.down, 0);
}

imaging::YuvEncoding encodingOf(const AVFrame& frame) {
    imaging::YuvEncoding encoding = encodingFromTags(frame.colorspace, frame.color_range, frame.width, frame.height);
    if (plainFormat(frame.format) != frame.format) encoding.range = imaging::YuvRange::full;
    return encoding;
}

}  // namespace

SwsContext& PictureConverter::scaler(const Shape& shape) {
    if (scaler_ && shape == shape_) return *scaler_;
    // Exact rounding and chroma samples at full resolution: flat colours must survive to the nearest value.
    constexpr int kFlags = SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP;
    scaler_.reset(sws_alloc_context());
    if (!scaler_) throw RecorderError("Der Arbeitsspeicher reicht nicht.");
    const auto tell = [&](const char* name, int value) { av_opt_set_int(scaler_.get(), name, value, 0); };
    tell("srcw", shape.width);
    tell("srch", shape.height);
    tell("src_format", shape.fromFormat);
    tell("dstw", shape.width);
    tell("dsth", shape.height);
    tell("dst_format", shape.toFormat);
    tell("sws_flags", kFlags);
    setChromaSite(*scaler_, "src", shape.fromFormat, chromaSite(shape.fromSite));
    setChromaSite(*scaler_, "dst", shape.toFormat, {});
    if (sws_init_context(scaler_.get(), nullptr, nullptr) < 0) {
        scaler_.reset();
        throw RecorderError(std::string(kUnconvertible) + ": Das Format wird nicht unterstützt.");
    }
    constexpr int kOne = 1 << 16;  // contrast and saturation in the scaler's fixed point
    // RGB is full range on either side whatever the encoding says.
    const int fromRange = isRgb(shape.fromFormat) ? 1 : rangeFlag(shape.from);
    const int toRange = isRgb(shape.toFormat) ? 1 : rangeFlag(shape.to);
    sws_setColorspaceDetails(scaler_.get(), coefficients(shape.from), fromRange, coefficients(shape.to), toRange, 0,
                             kOne, kOne);
    shape_ = shape;
    return *scaler_;
}

imaging::YuvPicture PictureConverter::planar(const AVFrame& frame) {
    imaging::YuvPicture picture;
    picture.width = frame.width;
    picture.height = frame.height;
    picture.encoding = encodingOf(frame);
    FrameHandle held;
    if (plainFormat(frame.format) == AV_PIX_FMT_YUV420P) {
        held = referenceTo(frame);
    } else {
        if (isRgb(frame.format)) picture.encoding = {};
        held = makeFrame();
        held->width = frame.width;
        held->height = frame.height;
        held->format = AV_PIX_FMT_YUV420P;
        checked(av_frame_get_buffer(held.get(), 0), kUnconvertible);
        SwsContext& context = scaler({frame.width, frame.height, plainFormat(frame.format), AV_PIX_FMT_YUV420P,
                                      frame.chroma_location, encodingOf(frame), picture.encoding});
        checked(sws_scale(&context, frame.data, frame.linesize, 0, frame.height, held->data, held->linesize),
                kUnconvertible);
    }
    picture.luma = {held->data[0], held->linesize[0]};
    picture.cb = {held->data[1], held->linesize[1]};
    picture.cr = {held->data[2], held->linesize[2]};
    picture.owner = std::shared_ptr<const AVFrame>(held.release(), FfmpegDelete{});
    return picture;
}

std::shared_ptr<const imaging::BgraPremultipliedBuffer> PictureConverter::bgra(const AVFrame& frame) {
    auto picture = std::make_shared<imaging::BgraPremultipliedBuffer>(frame.width, frame.height);
    const imaging::YuvEncoding encoding = encodingOf(frame);
    SwsContext& context = scaler({frame.width, frame.height, plainFormat(frame.format), AV_PIX_FMT_BGRA,
                                  frame.chroma_location, encoding, encoding});
    const std::array<std::uint8_t*, 4> planes{picture->row(0), nullptr, nullptr, nullptr};
    const std::array<int, 4> strides{static_cast<int>(picture->stride()), 0, 0, 0};
    checked(sws_scale(&context, frame.data, frame.linesize, 0, frame.height, planes.data(), strides.data()),
            kUnconvertible);
    return picture;
}

}  // namespace lumivastor::ffmpeg
