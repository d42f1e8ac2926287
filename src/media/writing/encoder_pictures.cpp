// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/writing/encoder_pictures.h"

#include <algorithm>
#include <string_view>

#include "base/recorder_error.h"
#include "ffmpeg/ffmpeg_support.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/hwcontext.h>
}

namespace lumivastor::media {

namespace {

constexpr const char* kPictureRefused = "Ein Bild konnte nicht an den Encoder übergeben werden";

int evenUp(int size) {
    return size + size % 2;
}

void tagColours(AVFrame& frame) {
    frame.colorspace = AVCOL_SPC_BT709;
    frame.color_primaries = AVCOL_PRI_BT709;
    frame.color_trc = AVCOL_TRC_BT709;
    frame.color_range = AVCOL_RANGE_MPEG;
}

void releasePicture(void* opaque, std::uint8_t*) {
    delete static_cast<std::shared_ptr<imaging::PlanarBuffer>*>(opaque);
}

ffmpeg::FrameHandle viewOf(const std::shared_ptr<imaging::PlanarBuffer>& picture) {
    const imaging::YuvDestination& planes = picture->destination();
    ffmpeg::FrameHandle frame = ffmpeg::makeFrame();
    frame->width = evenUp(planes.width);
    frame->height = evenUp(planes.height);
    frame->format = AV_PIX_FMT_YUV420P;
    frame->data[0] = planes.luma;
    frame->data[1] = planes.cb;
    frame->data[2] = planes.cr;
    frame->linesize[0] = static_cast<int>(planes.lumaStride);
    frame->linesize[1] = frame->linesize[2] = static_cast<int>(planes.chromaStride);
    // All three planes lie in one block, of which the library only needs to know that it is held.
    const auto height = static_cast<std::size_t>(frame->height);
    const std::size_t bytes =
        static_cast<std::size_t>(planes.lumaStride) * height + static_cast<std::size_t>(planes.chromaStride) * height;
    auto holder = std::make_unique<std::shared_ptr<imaging::PlanarBuffer>>(picture);
    frame->buf[0] = av_buffer_create(planes.luma, bytes, releasePicture, holder.get(), AV_BUFFER_FLAG_READONLY);
    if (frame->buf[0] == nullptr) throw RecorderError("Der Arbeitsspeicher reicht nicht.");
    static_cast<void>(holder.release());
    return frame;
}

// A copy with cb and cr interleaved in one plane.
ffmpeg::FrameHandle interleaved(const imaging::YuvDestination& planes) {
    ffmpeg::FrameHandle frame = ffmpeg::makeFrame();
    frame->width = evenUp(planes.width);
    frame->height = evenUp(planes.height);
    frame->format = AV_PIX_FMT_NV12;
    ffmpeg::checked(av_frame_get_buffer(frame.get(), 0), kPictureRefused);
    for (int y = 0; y < frame->height; ++y) {
        std::copy_n(planes.luma + y * planes.lumaStride, frame->width,
                    frame->data[0] + std::ptrdiff_t{y} * frame->linesize[0]);
    }
    for (int y = 0; y < frame->height / 2; ++y) {
        const std::uint8_t* const blue = planes.cb + y * planes.chromaStride;
        const std::uint8_t* const red = planes.cr + y * planes.chromaStride;
        std::uint8_t* const both = frame->data[1] + std::ptrdiff_t{y} * frame->linesize[1];
        for (int x = 0; x < frame->width / 2; ++x) {
            both[2 * x] = blue[x];
            both[2 * x + 1] = red[x];
        }
    }
    return frame;
}

// Owns a reference until the library has taken its own.
struct ReferenceDelete {
    void operator()(AVBufferRef* reference) const { av_buffer_unref(&reference); }
};
using ReferenceHandle = std::unique_ptr<AVBufferRef, ReferenceDelete>;

void useGraphicsMemory(AVCodecContext& codec, const char* what) {
    AVBufferRef* opened = nullptr;
    ffmpeg::checked(av_hwdevice_ctx_create(&opened, AV_HWDEVICE_TYPE_VAAPI, nullptr, nullptr, 0), what);
    const ReferenceHandle device(opened);
    ReferenceHandle frames(av_hwframe_ctx_alloc(device.get()));
    if (!frames) throw RecorderError("Der Arbeitsspeicher reicht nicht.");
    auto* const description = reinterpret_cast<AVHWFramesContext*>(frames->data);
    description->format = AV_PIX_FMT_VAAPI;
    description->sw_format = AV_PIX_FMT_NV12;
    description->width = codec.width;
    description->height = codec.height;
    ffmpeg::checked(av_hwframe_ctx_init(frames.get()), what);
    codec.pix_fmt = AV_PIX_FMT_VAAPI;
    codec.hw_frames_ctx = frames.release();  // the context frees it
}

}  // namespace

void preparePictureFormat(AVCodecContext& codec, const AVCodec& encoder, const char* what) {
    // By name: the lists of formats that encoders give are not the same thing in all of FFmpeg's versions.
    const std::string_view name = encoder.name;
    if (name.ends_with("_vaapi")) {
        useGraphicsMemory(codec, what);
    } else if (name.ends_with("_qsv")) {
        codec.pix_fmt = AV_PIX_FMT_NV12;
    } else {
        codec.pix_fmt = AV_PIX_FMT_YUV420P;
    }
}

ffmpeg::FrameHandle encoderPicture(const AVCodecContext& codec, const std::shared_ptr<imaging::PlanarBuffer>& picture) {
    ffmpeg::FrameHandle frame =
        codec.pix_fmt == AV_PIX_FMT_YUV420P ? viewOf(picture) : interleaved(picture->destination());
    if (codec.hw_frames_ctx != nullptr) {
        ffmpeg::FrameHandle uploaded = ffmpeg::makeFrame();
        ffmpeg::checked(av_hwframe_get_buffer(codec.hw_frames_ctx, uploaded.get(), 0), kPictureRefused);
        ffmpeg::checked(av_hwframe_transfer_data(uploaded.get(), frame.get(), 0), kPictureRefused);
        frame = std::move(uploaded);
    }
    tagColours(*frame);
    return frame;
}

}  // namespace lumivastor::media
