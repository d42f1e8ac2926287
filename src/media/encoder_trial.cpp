#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "base/recorder_error.h"
#include "media/encoder_choice.h"
#include "media/ffmpeg_support.h"
#include "media/picture_pool.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace lumivastor {

namespace {

using Clock = std::chrono::steady_clock;

// Enough pictures for an encoder's threads and rate control to run in, unless it is so slow that the answer is clear
// before.
constexpr int kPictures = 48;
constexpr int kWarmUp = 4;
constexpr std::chrono::milliseconds kLongest{1200};
// Pictures that are kept to be decoded and compared.
constexpr int kCompared = 3;
// How far decoded luma may be from what went in, on average, of 255. On these pictures encoders that are starved of
// bits were seen to come to 16, and a picture of the same page scrolled by one step to 60.
constexpr double kLargestMeanError = 30;

// A screen in motion: lines of something like text in windows of different greys, which scroll.
class MovingScreen {
  public:
    MovingScreen(int width, int height)
        : width_(width), height_(height), pool_(width, height, {}), page_(static_cast<std::size_t>(width) * kPage) {
        std::mt19937 random(1);
        for (int line = 0; line < kPage / kLine; ++line) {
            const auto paper = static_cast<std::uint8_t>(random() % 3 == 0 ? 40 + random() % 40 : 200 + random() % 30);
            const auto ink = static_cast<std::uint8_t>(paper > 128 ? 30 : 220);
            for (int y = 0; y < kLine; ++y) std::fill_n(row(line * kLine + y), width, paper);
            for (int x = 8; x + 8 < width; x += 7) {
                if (random() % 6 == 0) continue;  // between words
                for (int y = 4; y < kLine - 4; ++y) {
                    const auto strokes = random();
                    for (int i = 0; i < 5; ++i) {
                        if ((strokes >> i & 1U) != 0) row(line * kLine + y)[x + i] = ink;
                    }
                }
            }
        }
    }

    std::shared_ptr<PlanarBuffer> picture(int number) {
        auto picture = pool_.makePlanar();
        if (!picture) throw RecorderError("Der Arbeitsspeicher reicht nicht.");
        const YuvDestination& planes = picture->destination();
        constexpr int kScroll = 6;
        for (int y = 0; y < height_; ++y) {
            std::memcpy(planes.luma + y * planes.lumaStride, row((y + number * kScroll) % kPage),
                        static_cast<std::size_t>(width_));
        }
        const auto rows = static_cast<std::size_t>((height_ + 1) / 2);
        const std::size_t bytes = static_cast<std::size_t>(planes.chromaStride) * rows;
        std::memset(planes.blueDifference, 120, bytes);
        std::memset(planes.redDifference, 132, bytes);
        return picture;
    }

  private:
    static constexpr int kLine = 20;
    static constexpr int kPage = kLine * 60;

    std::uint8_t* row(int y) { return page_.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(width_); }

    int width_;
    int height_;
    PicturePool pool_;
    std::vector<std::uint8_t> page_;
};

// The mean distance of two pictures' luma.
double meanError(const AVFrame& frame, const YuvDestination& picture) {
    double sum = 0;
    for (int y = 0; y < picture.height; ++y) {
        const std::uint8_t* const decoded = frame.data[0] + std::ptrdiff_t{y} * frame.linesize[0];
        const std::uint8_t* const original = picture.luma + y * picture.lumaStride;
        int row = 0;
        for (int x = 0; x < picture.width; ++x) row += std::abs(decoded[x] - original[x]);
        sum += row;
    }
    return sum / picture.width / picture.height;
}

// Whether the packets decode to these pictures.
bool decodesTo(const AVCodecParameters& parameters, const std::vector<PacketHandle>& packets,
               const std::vector<std::shared_ptr<PlanarBuffer>>& pictures) {
    const AVCodec* const decoder = avcodec_find_decoder(parameters.codec_id);
    CodecHandle codec(avcodec_alloc_context3(decoder));
    if (!codec || avcodec_parameters_to_context(codec.get(), &parameters) < 0) return false;
    if (avcodec_open2(codec.get(), decoder, nullptr) < 0) return false;
    const FrameHandle frame = makeFrame();
    std::size_t compared = 0;
    for (std::size_t i = 0; i <= packets.size(); ++i) {
        // Nothing at the end: what the decoder still holds.
        if (avcodec_send_packet(codec.get(), i < packets.size() ? packets[i].get() : nullptr) < 0) return false;
        while (avcodec_receive_frame(codec.get(), frame.get()) >= 0) {
            if (compared == pictures.size()) return false;
            const YuvDestination& planes = pictures[compared++]->destination();
            if (frame->format != AV_PIX_FMT_YUV420P || frame->width < planes.width || frame->height < planes.height) {
                return false;
            }
            if (meanError(*frame, planes) > kLargestMeanError) return false;
        }
    }
    return compared == pictures.size();
}

VideoSettings settingsOf(const EncoderCandidate& candidate, const EncodingJob& job) {
    VideoSettings settings;
    settings.width = job.width;
    settings.height = job.height;
    settings.frameRate = job.frameRate;
    settings.averageBitRate = job.averageBitRate;
    settings.maxKeyFrameInterval = 2 * job.frameRate;
    settings.timescale = job.frameRate;
    settings.lowLatency = true;
    settings.codec = candidate.codec;
    settings.encoder = candidate.encoder;
    if (!candidate.preset.empty()) settings.preset = candidate.preset;
    return settings;
}

EncoderTrial attempt(const EncoderCandidate& candidate, const EncodingJob& job) {
    VideoEncoder encoder(settingsOf(candidate, job));
    const CodecParametersHandle parameters = encoder.parameters();
    // Without its parameter sets beforehand no movie can be begun.
    if (parameters->extradata_size <= 0) return {};
    MovingScreen screen(job.width, job.height);
    std::vector<std::shared_ptr<PlanarBuffer>> pictures;
    std::vector<PacketHandle> packets;
    int given = 0;
    const PacketConsumer consume = [&](AVPacket& packet) {
        ++given;
        if (packets.size() < kCompared) packets.push_back(referenceTo(packet));
    };
    Clock::duration encoding{};
    int timed = 0;
    for (int i = 0; i < kPictures && (encoding < kLongest || i <= kWarmUp); ++i) {
        const auto picture = screen.picture(i);
        if (i < kCompared) pictures.push_back(picture);
        const auto begin = Clock::now();
        encoder.encode(picture, i, consume);
        if (i < kWarmUp) continue;
        encoding += Clock::now() - begin;
        ++timed;
    }
    encoder.finish(consume);
    if (given < timed + kWarmUp || !decodesTo(*parameters, packets, pictures)) return {};
    return {true, timed / std::max(std::chrono::duration<double>(encoding).count(), 1e-6)};
}

}  // namespace

EncoderTrial tryEncoder(const EncoderCandidate& candidate, const EncodingJob& job) {
    try {
        prepareFfmpeg();
        return attempt(candidate, job);
    } catch (const RecorderError&) {
        return {};
    }
}

}  // namespace lumivastor
