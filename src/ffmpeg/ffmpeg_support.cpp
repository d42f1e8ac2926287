// SPDX-License-Identifier: GPL-3.0-or-later
#include "ffmpeg/ffmpeg_support.h"

#include <system_error>

#include "base/formatted.h"
#include "base/precondition.h"
#include "base/recorder_error.h"
#include "base/system_error_text.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/log.h>
#include <libavutil/mem.h>
}

namespace lumivastor::ffmpeg {

std::string ffmpegErrorText(int error) {
    switch (error) {
        case AVERROR_INVALIDDATA:
            return "Die Daten sind beschädigt";
        case AVERROR_EOF:
            return "Die Datei endet vorzeitig";
        case AVERROR_DECODER_NOT_FOUND:
        case AVERROR_PATCHWELCOME:
            return "Das Format wird nicht unterstützt";
        case AVERROR_ENCODER_NOT_FOUND:
            return "Der Encoder fehlt auf diesem Rechner";
        default:
            break;
    }
    // System errors are small positive numbers behind the sign; FFmpeg's own are four characters packed into one.
    constexpr int kLargestSystemError = 4095;
    const int number = AVUNERROR(error);
    if (number > 0 && number <= kLargestSystemError) return systemErrorText({number, std::generic_category()});
    return formatted("Medienfehler %d", error);
}

int checked(int result, const char* what) {
    if (result < 0) throw RecorderError(std::string(what) + ": " + ffmpegErrorText(result) + ".");
    return result;
}

PacketHandle makePacket() {
    PacketHandle packet(av_packet_alloc());
    if (!packet) throw RecorderError("Der Arbeitsspeicher reicht nicht.");
    return packet;
}

FrameHandle makeFrame() {
    FrameHandle frame(av_frame_alloc());
    if (!frame) throw RecorderError("Der Arbeitsspeicher reicht nicht.");
    return frame;
}

FrameHandle referenceTo(const AVFrame& frame) {
    FrameHandle copy = makeFrame();
    checked(av_frame_ref(copy.get(), &frame), "Ein Bild konnte nicht gehalten werden");
    return copy;
}

PacketHandle referenceTo(const AVPacket& packet) {
    PacketHandle copy = makePacket();
    checked(av_packet_ref(copy.get(), &packet), "Ein Datenpaket konnte nicht gehalten werden");
    return copy;
}

void prepareFfmpeg() {
    static const bool prepared = [] {
        av_log_set_level(AV_LOG_QUIET);
        // The largest honest blocks are one decoded picture at the limits of `MovieFile` and the index of a day's
        // recording (24 bytes a sample, 5 million samples).
        constexpr std::size_t kLargestBlock = std::size_t{1} << 29;
        av_max_alloc(kLargestBlock);
        return true;
    }();
    static_cast<void>(prepared);
}

MediaTime mediaTime(std::int64_t ticks, int timeBaseNumerator, int timeBaseDenominator) {
    precondition(timeBaseNumerator > 0 && timeBaseDenominator > 0, "a stream has a clock");
    return {av_rescale(ticks, timeBaseNumerator, 1), timeBaseDenominator};
}

}  // namespace lumivastor::ffmpeg
