// SPDX-License-Identifier: GPL-3.0-or-later
#include "ffmpeg/picture_scaler.h"

#include <cerrno>
#include <string>

extern "C" {
#include <libavutil/error.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

namespace lumivastor::ffmpeg {

namespace {

const int* coefficients(const imaging::YuvEncoding& encoding) {
    return sws_getCoefficients(encoding.matrix == imaging::YuvMatrix::bt709 ? SWS_CS_ITU709 : SWS_CS_ITU601);
}

int rangeFlag(const imaging::YuvEncoding& encoding) {
    return encoding.range == imaging::YuvRange::full ? 1 : 0;
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

// The scaler assumes chroma samples centred between two columns unless they are set, and assumes nothing about
// directions in which there are as many of them as of luma.
void setChromaSite(SwsContext& context, const std::string& side, int format, const ChromaSite& site) {
    const AVPixFmtDescriptor* const description = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(format));
    if (description == nullptr || (description->flags & AV_PIX_FMT_FLAG_RGB) != 0) return;
    if (description->log2_chroma_w == 1) av_opt_set_int(&context, (side + "_h_chr_pos").c_str(), site.across, 0);
    if (description->log2_chroma_h == 1) av_opt_set_int(&context, (side + "_v_chr_pos").c_str(), site.down, 0);
}

int flagsFor(PictureScaler::Precision precision) {
    // Exact rounding and chroma samples at full resolution: flat colours must survive to the nearest value.
    constexpr int kExact = SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP;
    return precision == PictureScaler::Precision::exact ? kExact : SWS_BILINEAR;
}

}  // namespace

int PictureScaler::prepare(const Conversion& conversion) {
    if (scaler_ && conversion == conversion_) return 0;
    scaler_.reset(sws_alloc_context());
    if (!scaler_) return AVERROR(ENOMEM);
    const auto set = [this](const char* name, int value) { av_opt_set_int(scaler_.get(), name, value, 0); };
    set("srcw", conversion.width);
    set("srch", conversion.height);
    set("src_format", conversion.fromFormat);
    set("dstw", conversion.width);
    set("dsth", conversion.height);
    set("dst_format", conversion.toFormat);
    set("sws_flags", flagsFor(conversion.precision));
    if (conversion.chromaLocation) {
        setChromaSite(*scaler_, "src", conversion.fromFormat, chromaSite(*conversion.chromaLocation));
        setChromaSite(*scaler_, "dst", conversion.toFormat, {});
    }
    if (sws_isSupportedInput(static_cast<AVPixelFormat>(conversion.fromFormat)) == 0 ||
        sws_init_context(scaler_.get(), nullptr, nullptr) < 0) {
        scaler_.reset();
        return AVERROR(EINVAL);
    }
    constexpr int kOne = 1 << 16;  // contrast and saturation in the scaler's fixed point
    // RGB is full range on either side whatever the encoding says.
    const int fromRange = isRgb(conversion.fromFormat) ? 1 : rangeFlag(conversion.from);
    const int toRange = isRgb(conversion.toFormat) ? 1 : rangeFlag(conversion.to);
    sws_setColorspaceDetails(scaler_.get(), coefficients(conversion.from), fromRange, coefficients(conversion.to),
                             toRange, 0, kOne, kOne);
    conversion_ = conversion;
    return 0;
}

int PictureScaler::convert(const std::uint8_t* const* planes, const int* strides, const PicturePlanes& to) {
    return sws_scale(scaler_.get(), planes, strides, 0, conversion_.height, to.planes.data(), to.strides.data());
}

int formatWithoutRange(int format) {
    switch (format) {
        case AV_PIX_FMT_YUVJ420P:
            return AV_PIX_FMT_YUV420P;
        case AV_PIX_FMT_YUVJ422P:
            return AV_PIX_FMT_YUV422P;
        case AV_PIX_FMT_YUVJ444P:
            return AV_PIX_FMT_YUV444P;
        case AV_PIX_FMT_YUVJ440P:
            return AV_PIX_FMT_YUV440P;
        default:
            return format;
    }
}

bool isRgb(int format) {
    const AVPixFmtDescriptor* const description = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(format));
    return description != nullptr && (description->flags & AV_PIX_FMT_FLAG_RGB) != 0;
}

}  // namespace lumivastor::ffmpeg
