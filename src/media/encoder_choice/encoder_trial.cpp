// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/encoder_choice/encoder_trial.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <random>
#include <span>
#include <vector>

#include "base/recorder_error.h"
#include "ffmpeg/ffmpeg_support.h"
#include "imaging/picture_pool.h"
#include "media/writing/h264_bitstream.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace lumivastor::media {

namespace {

using Clock = std::chrono::steady_clock;

// Enough pictures to warm up an encoder's threads and rate control, unless it is so slow that the result is clear
// earlier.
constexpr int kPictures = 48;
constexpr int kWarmUp = 4;
constexpr std::chrono::milliseconds kLongest{1200};
// Pictures that are kept to be decoded and compared.
constexpr int kCompared = 3;
// The largest mean error of decoded luma, of 255. On these pictures encoders with far too few bits were measured at 16,
// and a picture of the same page scrolled by one step at 60.
constexpr double kLargestMeanError = 30;
// The same for each of cb and cr. Encoders with far too few bits were measured at 2, planes that begin 16 rows off at 9
// and 15, swapped planes at 26 and 29.
constexpr double kLargestChromaError = 6;

// A moving screen: scrolling lines that look like text, in windows of different greys and colours.
class MovingScreen {
  public:
    MovingScreen(int width, int height)
        : width_(width),
          height_(height),
          pool_(width, height, {}),
          page_(static_cast<std::size_t>(width) * kPage),
          blue_(static_cast<std::size_t>(chromaWidth()) * kPage / 2),
          red_(blue_.size()) {
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
        colour();
    }

    std::shared_ptr<imaging::PlanarBuffer> picture(int number) {
        auto picture = pool_.makePlanar();
        if (!picture) throw RecorderError("Der Arbeitsspeicher reicht nicht.");
        const imaging::YuvDestination& planes = picture->destination();
        constexpr int kScroll = 6;
        for (int y = 0; y < height_; ++y) {
            std::memcpy(planes.luma + y * planes.lumaStride, row((y + number * kScroll) % kPage),
                        static_cast<std::size_t>(width_));
        }
        const auto bytes = static_cast<std::size_t>(chromaWidth());
        for (int y = 0; y < (height_ + 1) / 2; ++y) {
            const std::size_t from = static_cast<std::size_t>((y + number * kScroll / 2) % (kPage / 2)) * bytes;
            std::memcpy(planes.cb + y * planes.chromaStride, blue_.data() + from, bytes);
            std::memcpy(planes.cr + y * planes.chromaStride, red_.data() + from, bytes);
        }
        return picture;
    }

  private:
    static constexpr int kLine = 20;
    static constexpr int kPage = kLine * 60;

    int chromaWidth() const { return (width_ + 1) / 2; }

    // Fields of one colour each, large enough to survive a low bit rate.
    void colour() {
        constexpr int kField = 60;
        std::mt19937 random(2);
        const int columns = chromaWidth() / kField + 1;
        std::vector<std::uint8_t> blues(static_cast<std::size_t>(columns));
        std::vector<std::uint8_t> reds(blues.size());
        for (int y = 0; y < kPage / 2; ++y) {
            if (y % kField == 0) {
                std::generate(blues.begin(), blues.end(),
                              [&] { return static_cast<std::uint8_t>(random() % 2 == 0 ? 96 : 150); });
                std::generate(reds.begin(), reds.end(),
                              [&] { return static_cast<std::uint8_t>(random() % 2 == 0 ? 106 : 170); });
            }
            for (int x = 0; x < chromaWidth(); ++x) {
                const auto at =
                    static_cast<std::size_t>(y) * static_cast<std::size_t>(chromaWidth()) + static_cast<std::size_t>(x);
                const auto field = static_cast<std::size_t>(x / kField);
                blue_[at] = blues[field];
                red_[at] = reds[field];
            }
        }
    }

    std::uint8_t* row(int y) { return page_.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(width_); }

    int width_;
    int height_;
    imaging::PicturePool pool_;
    std::vector<std::uint8_t> page_;
    std::vector<std::uint8_t> blue_;
    std::vector<std::uint8_t> red_;
};

// The mean difference between the decoded plane and the input.
double meanError(const AVFrame& frame, int plane, const std::uint8_t* original, std::ptrdiff_t stride, int width,
                 int height) {
    double sum = 0;
    for (int y = 0; y < height; ++y) {
        const std::uint8_t* const decoded = frame.data[plane] + std::ptrdiff_t{y} * frame.linesize[plane];
        int row = 0;
        for (int x = 0; x < width; ++x) row += std::abs(decoded[x] - original[y * stride + x]);
        sum += row;
    }
    return sum / width / height;
}

bool shows(const AVFrame& frame, const imaging::YuvDestination& picture) {
    if (frame.format != AV_PIX_FMT_YUV420P || frame.width < picture.width || frame.height < picture.height)
        return false;
    const int width = (picture.width + 1) / 2;
    const int height = (picture.height + 1) / 2;
    return meanError(frame, 0, picture.luma, picture.lumaStride, picture.width, picture.height) <= kLargestMeanError &&
           meanError(frame, 1, picture.cb, picture.chromaStride, width, height) <= kLargestChromaError &&
           meanError(frame, 2, picture.cr, picture.chromaStride, width, height) <= kLargestChromaError;
}

// Whether the packets decode to these pictures.
bool decodesTo(const AVCodecParameters& parameters, const std::vector<ffmpeg::PacketHandle>& packets,
               const std::vector<std::shared_ptr<imaging::PlanarBuffer>>& pictures) {
    const AVCodec* const decoder = avcodec_find_decoder(parameters.codec_id);
    ffmpeg::CodecHandle codec(avcodec_alloc_context3(decoder));
    if (!codec || avcodec_parameters_to_context(codec.get(), &parameters) < 0) return false;
    if (avcodec_open2(codec.get(), decoder, nullptr) < 0) return false;
    const ffmpeg::FrameHandle frame = ffmpeg::makeFrame();
    std::size_t compared = 0;
    for (std::size_t i = 0; i <= packets.size(); ++i) {
        // nullptr at the end: gets what the decoder still holds.
        if (avcodec_send_packet(codec.get(), i < packets.size() ? packets[i].get() : nullptr) < 0) return false;
        while (avcodec_receive_frame(codec.get(), frame.get()) >= 0) {
            if (compared == pictures.size()) return false;
            if (!shows(*frame, pictures[compared++]->destination())) return false;
        }
    }
    return compared == pictures.size();
}

// Whether the stream is as the settings require, by the parameter sets in its header and, if it has some, in the stream
// itself.
bool isAsWanted(const VideoSettings& settings, const AVCodecParameters& parameters,
                const std::vector<ffmpeg::PacketHandle>& packets) {
    if (!settings.highProfile || settings.codec != VideoCodec::h264) return true;
    const auto bytes = [](const std::uint8_t* data, int size) {
        return std::span<const std::uint8_t>(data, static_cast<std::size_t>(size));
    };
    if (profileOf(bytes(parameters.extradata, parameters.extradata_size)) != kH264High) return false;
    return std::all_of(packets.begin(), packets.end(), [&](const ffmpeg::PacketHandle& packet) {
        const auto units = unitsOf(bytes(packet->data, packet->size));
        return std::all_of(units.begin(), units.end(), [](const auto unit) {
            return unitKind(unit) != H264Unit::sequenceParameters || (unit.size() > 1 && unit[1] == kH264High);
        });
    });
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
    candidate.applyTo(settings);
    return settings;
}

EncoderTrial attempt(const VideoSettings& settings) {
    const std::unique_ptr<PictureEncoder> encoder = makePictureEncoder(settings);
    const ffmpeg::CodecParametersHandle parameters = encoder->parameters();
    // A movie cannot begin without the parameter sets.
    if (parameters->extradata_size <= 0) return {};
    MovingScreen screen(settings.width, settings.height);
    std::vector<std::shared_ptr<imaging::PlanarBuffer>> pictures;
    std::vector<ffmpeg::PacketHandle> packets;
    const int ticks = std::max(1, settings.timescale / settings.frameRate);
    int given = 0;
    const PacketConsumer consume = [&](AVPacket& packet) {
        ++given;
        if (packets.size() < kCompared) packets.push_back(ffmpeg::referenceTo(packet));
    };
    Clock::duration encoding{};
    int timed = 0;
    for (int i = 0; i < kPictures && (encoding < kLongest || i <= kWarmUp); ++i) {
        const auto picture = screen.picture(i);
        if (i < kCompared) pictures.push_back(picture);
        const auto begin = Clock::now();
        encoder->encode(picture, std::nullopt, i * ticks, consume);
        if (i < kWarmUp) continue;
        encoding += Clock::now() - begin;
        ++timed;
    }
    encoder->finish(consume);
    if (given < timed + kWarmUp || !isAsWanted(settings, *parameters, packets)) return {};
    if (!decodesTo(*parameters, packets, pictures)) return {};
    return {true, timed / std::max(std::chrono::duration<double>(encoding).count(), 1e-6)};
}

}  // namespace

void EncoderCandidate::applyTo(VideoSettings& settings) const {
    settings.codec = codec;
    settings.encoder = encoder;
    if (!isHardware()) settings.preset = preset;
}

EncoderTrial tryEncoder(const VideoSettings& settings) {
    try {
        ffmpeg::prepareFfmpeg();
        return attempt(settings);
    } catch (const std::exception&) {
        // Also a shortage of memory: an encoder that lacks memory does not work.
        return {};
    }
}

EncoderTrial tryEncoder(const EncoderCandidate& candidate, const EncodingJob& job) {
    return tryEncoder(settingsOf(candidate, job));
}

}  // namespace lumivastor::media
