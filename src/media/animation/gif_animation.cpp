// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "base/formatted.h"
#include "base/precondition.h"
#include "base/recorder_error.h"
#include "ffmpeg/ffmpeg_handles.h"
#include "ffmpeg/ffmpeg_support.h"
#include "media/animation/animation_forms.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavformat/avformat.h>
#include <libavutil/opt.h>
}

namespace lumivastor::media {

namespace {

constexpr const char* kFailed = "Das GIF konnte nicht erzeugt werden";
// The clock of GIF files.
constexpr int kTicksPerSecond = 100;

struct GraphFree {
    void operator()(AVFilterGraph* graph) const { avfilter_graph_free(&graph); }
};
struct OutputFree {
    void operator()(AVFormatContext* context) const {
        if (context->pb != nullptr) {
            std::uint8_t* bytes = nullptr;
            avio_close_dyn_buf(context->pb, &bytes);
            av_free(bytes);
        }
        avformat_free_context(context);
    }
};

// One of FFmpeg's filter graphs, with inputs of 32-bit pictures.
class FilterGraph {
  public:
    /// `inputs` describes the sources, "[a]" and so on; `filters` ends in "[out]".
    explicit FilterGraph(const std::string& description) : graph_(avfilter_graph_alloc()) {
        if (!graph_) throw RecorderError("Der Arbeitsspeicher reicht nicht.");
        AVFilterInOut* inputs = nullptr;
        AVFilterInOut* outputs = nullptr;
        const int result = avfilter_graph_parse2(graph_.get(), description.c_str(), &inputs, &outputs);
        avfilter_inout_free(&inputs);
        avfilter_inout_free(&outputs);
        ffmpeg::checked(result, kFailed);
        ffmpeg::checked(avfilter_graph_config(graph_.get(), nullptr), kFailed);
    }

    static std::string source(const char* name, PixelSize size) {
        return formatted("buffer@%s=width=%d:height=%d:pix_fmt=bgra:time_base=1/%d", name, size.width, size.height,
                         kTicksPerSecond);
    }

    /// A null picture ends the input.
    void send(const char* input, AVFrame* picture) {
        ffmpeg::checked(av_buffersrc_add_frame(filter(input), picture), kFailed);
    }

    /// Null when more has to be sent first, or everything has come out.
    ffmpeg::FrameHandle receive() {
        ffmpeg::FrameHandle frame = ffmpeg::makeFrame();
        const int result = av_buffersink_get_frame(filter("buffersink@out"), frame.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return nullptr;
        ffmpeg::checked(result, kFailed);
        return frame;
    }

  private:
    AVFilterContext* filter(const char* name) {
        AVFilterContext* const found = avfilter_graph_get_filter(graph_.get(), name);
        precondition(found != nullptr, "a filter of the graph");
        return found;
    }

    std::unique_ptr<AVFilterGraph, GraphFree> graph_;
};

ffmpeg::FrameHandle frameOf(const imaging::BgraPremultipliedBuffer& picture, std::int64_t ticks) {
    ffmpeg::FrameHandle frame = ffmpeg::makeFrame();
    frame->width = picture.width();
    frame->height = picture.height();
    frame->format = AV_PIX_FMT_BGRA;
    frame->sample_aspect_ratio = {1, 1};
    ffmpeg::checked(av_frame_get_buffer(frame.get(), 0), kFailed);
    for (int y = 0; y < picture.height(); ++y) {
        std::uint8_t* const row = frame->data[0] + std::ptrdiff_t{y} * frame->linesize[0];
        std::copy_n(picture.row(y), static_cast<std::size_t>(picture.width()) * 4, row);
        // The palette's transparent colour is for what does not change from picture to picture.
        for (int x = 0; x < picture.width(); ++x) row[x * 4 + 3] = 255;
    }
    frame->pts = ticks;
    return frame;
}

// One palette for the whole file, so that a picture needs to hold only what differs from the last one.
class GifWriter final : public AnimatedPictureWriter {
  public:
    GifWriter(const std::filesystem::path& path, const std::string& shownName, PixelSize size)
        : AnimatedPictureWriter(path, shownName, size),
          palettes_(FilterGraph::source("in", size) + ",palettegen=stats_mode=full,buffersink@out") {}

    bool wantsSamples() const override { return true; }

  private:
    void sample(const imaging::BgraPremultipliedBuffer& picture) override {
        palettes_.send("buffer@in", frameOf(picture, samples_++).get());
    }

    void show(const imaging::BgraPremultipliedBuffer& picture, std::int64_t ticks) {
        pictures_->send("buffer@in", frameOf(picture, ticks).get());
        encodeWaiting();
    }

    void show(const imaging::BgraPremultipliedBuffer& picture, double seconds) override {
        if (!pictures_) open();
        // A browser shows no picture shorter than two ticks as long as it says.
        lastTicks_ = std::max<std::int64_t>(std::llround(seconds * kTicksPerSecond), lastTicks_ + 2);
        if (pictures() == 0) lastTicks_ = 0;
        show(picture, lastTicks_);
    }

    void end(double seconds) override {
        pictures_->send("buffer@in", nullptr);
        encodeWaiting();
        encode(nullptr);
        const std::int64_t last = std::max<std::int64_t>(std::llround(seconds * kTicksPerSecond) - lastTicks_, 2);
        ffmpeg::checked(av_opt_set_int(output_->priv_data, "final_delay", last, 0), kFailed);
        ffmpeg::checked(av_write_trailer(output_.get()), kFailed);
        std::uint8_t* bytes = nullptr;
        const int size = avio_close_dyn_buf(std::exchange(output_->pb, nullptr), &bytes);
        const std::unique_ptr<std::uint8_t, decltype(&av_free)> owner(bytes, av_free);
        if (size <= 0) throw RecorderError("Der Arbeitsspeicher reicht nicht.");
        write(bytes, static_cast<std::size_t>(size));
    }

    void open() {
        precondition(samples_ > 0, "colours are chosen by samples");
        palettes_.send("buffer@in", nullptr);
        const ffmpeg::FrameHandle palette = palettes_.receive();
        if (!palette) throw RecorderError(std::string(kFailed) + ".");
        // A pattern that stays where it is: unlike errors that spread, it repeats from picture to picture.
        pictures_.emplace(FilterGraph::source("in", size()) + "[in];" +
                          FilterGraph::source("palette", {palette->width, palette->height}) +
                          "[palette];[in][palette]paletteuse=dither=bayer:bayer_scale=5:diff_mode=rectangle,"
                          "buffersink@out");
        palette->pts = 0;
        pictures_->send("buffer@palette", palette.get());
        pictures_->send("buffer@palette", nullptr);
    }

    void encodeWaiting() {
        while (const ffmpeg::FrameHandle frame = pictures_->receive()) encode(frame.get());
    }

    void encode(AVFrame* frame) {
        if (!codec_) openFile();
        ffmpeg::checked(avcodec_send_frame(codec_.get(), frame), kFailed);
        const ffmpeg::PacketHandle packet = ffmpeg::makePacket();
        for (;;) {
            const int result = avcodec_receive_packet(codec_.get(), packet.get());
            if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return;
            ffmpeg::checked(result, kFailed);
            packet->stream_index = 0;
            av_packet_rescale_ts(packet.get(), {1, kTicksPerSecond}, output_->streams[0]->time_base);
            ffmpeg::checked(av_write_frame(output_.get(), packet.get()), kFailed);
            av_packet_unref(packet.get());
        }
    }

    void openFile() {
        const AVCodec* const encoder = avcodec_find_encoder(AV_CODEC_ID_GIF);
        if (encoder == nullptr) ffmpeg::checked(AVERROR_ENCODER_NOT_FOUND, kFailed);
        codec_.reset(avcodec_alloc_context3(encoder));
        AVFormatContext* output = nullptr;
        if (codec_) ffmpeg::checked(avformat_alloc_output_context2(&output, nullptr, "gif", nullptr), kFailed);
        output_.reset(output);
        AVStream* const stream = output_ ? avformat_new_stream(output_.get(), nullptr) : nullptr;
        if (stream == nullptr) throw RecorderError("Der Arbeitsspeicher reicht nicht.");
        codec_->width = size().width;
        codec_->height = size().height;
        codec_->pix_fmt = AV_PIX_FMT_PAL8;
        codec_->time_base = {1, kTicksPerSecond};
        ffmpeg::checked(avcodec_open2(codec_.get(), encoder, nullptr), kFailed);
        ffmpeg::checked(avcodec_parameters_from_context(stream->codecpar, codec_.get()), kFailed);
        stream->time_base = codec_->time_base;
        ffmpeg::checked(av_opt_set_int(output_->priv_data, "loop", 0, 0), kFailed);
        ffmpeg::checked(avio_open_dyn_buf(&output_->pb), kFailed);
        ffmpeg::checked(avformat_write_header(output_.get(), nullptr), kFailed);
    }

    FilterGraph palettes_;
    std::int64_t samples_ = 0;
    std::optional<FilterGraph> pictures_;
    std::int64_t lastTicks_ = -2;
    ffmpeg::CodecHandle codec_;
    std::unique_ptr<AVFormatContext, OutputFree> output_;
};

}  // namespace

std::unique_ptr<AnimatedPictureWriter> makeGifWriter(const std::filesystem::path& path, const std::string& shownName,
                                                     PixelSize size) {
    return std::make_unique<GifWriter>(path, shownName, size);
}

AnimationFacts readGif(const std::filesystem::path& path) {
    const std::string failed = path.filename().string() + " konnte nicht gelesen werden";
    ffmpeg::prepareFfmpeg();
    AVFormatContext* opened = nullptr;
    ffmpeg::checked(
        avformat_open_input(&opened, ("file:" + path.string()).c_str(), av_find_input_format("gif"), nullptr),
        failed.c_str());
    const ffmpeg::InputHandle input(opened);
    ffmpeg::CodecHandle codec(avcodec_alloc_context3(avcodec_find_decoder(AV_CODEC_ID_GIF)));
    if (!codec || input->nb_streams != 1) throw RecorderError(failed + ".");
    ffmpeg::checked(avcodec_open2(codec.get(), nullptr, nullptr), failed.c_str());
    const double tick = av_q2d(input->streams[0]->time_base);
    AnimationFacts facts;
    const ffmpeg::PacketHandle packet = ffmpeg::makePacket();
    const ffmpeg::FrameHandle frame = ffmpeg::makeFrame();
    for (;;) {
        const int read = av_read_frame(input.get(), packet.get());
        if (read == AVERROR_EOF) break;
        ffmpeg::checked(read, failed.c_str());
        facts.seconds += static_cast<double>(packet->duration) * tick;
        ffmpeg::checked(avcodec_send_packet(codec.get(), packet.get()), failed.c_str());
        av_packet_unref(packet.get());
        ffmpeg::checked(avcodec_receive_frame(codec.get(), frame.get()), failed.c_str());
        facts.size = {frame->width, frame->height};
        ++facts.pictures;
    }
    return facts;
}

}  // namespace lumivastor::media
