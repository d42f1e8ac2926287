// SPDX-License-Identifier: GPL-3.0-or-later
#include "ffmpeg/picture_conversion.h"

#include <algorithm>
#include <cerrno>
#include <string>
#include <utility>

#include "base/recorder_error.h"
#include "ffmpeg/colour_tags.h"
#include "ffmpeg/ffmpeg_support.h"

extern "C" {
#include <libavutil/error.h>
#include <libavutil/frame.h>
#include <libavutil/pixfmt.h>
}

namespace lumivastor::ffmpeg {

namespace {

constexpr const char* kUnconvertible = "Ein Bild konnte nicht umgewandelt werden";

imaging::YuvEncoding encodingOf(const AVFrame& frame) {
    imaging::YuvEncoding encoding = encodingFromTags(frame.colorspace, frame.color_range, frame.width, frame.height);
    if (formatWithoutRange(frame.format) != frame.format) encoding.range = imaging::YuvRange::full;
    return encoding;
}

}  // namespace

void PictureConverter::convert(const AVFrame& frame, int toFormat, const imaging::YuvEncoding& to,
                               const PicturePlanes& planes) {
    const int error = scaler_.prepare({frame.width, frame.height, formatWithoutRange(frame.format), toFormat,
                                       encodingOf(frame), to, frame.chroma_location, PictureScaler::Precision::exact});
    if (error == AVERROR(ENOMEM)) throw RecorderError("Der Arbeitsspeicher reicht nicht.");
    if (error < 0) throw RecorderError(std::string(kUnconvertible) + ": Das Format wird nicht unterstützt.");
    checked(scaler_.convert(frame.data, frame.linesize, planes), kUnconvertible);
}

imaging::YuvPicture PictureConverter::planar(const AVFrame& frame) {
    imaging::YuvPicture picture;
    picture.width = frame.width;
    picture.height = frame.height;
    picture.encoding = encodingOf(frame);
    FrameHandle held;
    if (formatWithoutRange(frame.format) == AV_PIX_FMT_YUV420P) {
        held = referenceTo(frame);
    } else {
        if (isRgb(frame.format)) picture.encoding = {};
        held = makeFrame();
        held->width = frame.width;
        held->height = frame.height;
        held->format = AV_PIX_FMT_YUV420P;
        checked(av_frame_get_buffer(held.get(), 0), kUnconvertible);
        PicturePlanes planes;
        std::copy_n(held->data, planes.planes.size(), planes.planes.begin());
        std::copy_n(held->linesize, planes.strides.size(), planes.strides.begin());
        convert(frame, AV_PIX_FMT_YUV420P, picture.encoding, planes);
    }
    picture.luma = {held->data[0], held->linesize[0]};
    picture.cb = {held->data[1], held->linesize[1]};
    picture.cr = {held->data[2], held->linesize[2]};
    picture.owner = std::shared_ptr<const AVFrame>(held.release(), FfmpegDelete{});
    return picture;
}

std::shared_ptr<const imaging::BgraPremultipliedBuffer> PictureConverter::bgra(const AVFrame& frame) {
    auto picture = std::make_shared<imaging::BgraPremultipliedBuffer>(frame.width, frame.height);
    convert(frame, AV_PIX_FMT_BGRA, encodingOf(frame),
            {{picture->row(0), nullptr, nullptr, nullptr}, {static_cast<int>(picture->stride()), 0, 0, 0}});
    return picture;
}

}  // namespace lumivastor::ffmpeg
