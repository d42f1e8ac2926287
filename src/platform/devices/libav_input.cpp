// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/devices/libav_input.h"

#include <mutex>

#include "base/recorder_error.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavdevice/avdevice.h>
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
#include <libavutil/log.h>
}

namespace lumivastor::devices {
namespace {

[[noreturn]] void refuse(int error) {
    if (error == AVERROR(EBUSY)) throw RecorderError("Das Gerät wird schon von einem anderen Programm benutzt.");
    if (error == AVERROR(EACCES) || error == AVERROR(EPERM)) {
        throw RecorderError("Der Zugriff auf das Gerät ist nicht erlaubt.");
    }
    if (error == AVERROR(ENOENT) || error == AVERROR(ENODEV)) {
        throw RecorderError("Das Gerät ist nicht mehr angeschlossen.");
    }
    throw RecorderError("Das Gerät konnte nicht geöffnet werden.");
}

}  // namespace

LibavInput::LibavInput(const LibavSource& source) {
    static std::once_flag once;
    std::call_once(once, [] {
        av_log_set_level(AV_LOG_QUIET);
        avdevice_register_all();
    });
    const AVInputFormat* const format = av_find_input_format(source.format.c_str());
    if (format == nullptr) throw RecorderError("Das Gerät konnte nicht geöffnet werden.");
    AVFormatContext* input = avformat_alloc_context();
    if (input == nullptr) throw RecorderError("Der Arbeitsspeicher reicht nicht.");
    // Reading must not block on a silent camera, because stopping would have to wait for it.
    input->flags |= AVFMT_FLAG_NONBLOCK;
    AVDictionary* options = nullptr;
    for (const auto& [key, value] : source.options) av_dict_set(&options, key.c_str(), value.c_str(), 0);
    const int result = avformat_open_input(&input, source.url.c_str(), format, &options);
    av_dict_free(&options);
    if (result < 0) refuse(result);
    input_.reset(input);
    for (unsigned i = 0; i < input->nb_streams; ++i) {
        const AVMediaType type = input->streams[i]->codecpar->codec_type;
        if (type == AVMEDIA_TYPE_VIDEO && picture_.stream < 0) open(picture_, static_cast<int>(i));
        if (type == AVMEDIA_TYPE_AUDIO && sound_.stream < 0) open(sound_, static_cast<int>(i));
    }
    if (!hasPictures() && !hasSound()) throw RecorderError("Das Gerät liefert weder Bild noch Ton.");
    packet_.reset(av_packet_alloc());
    frame_.reset(av_frame_alloc());
    if (!packet_ || !frame_) throw RecorderError("Der Arbeitsspeicher reicht nicht.");
}

LibavInput::~LibavInput() = default;

void LibavInput::open(Track& track, int stream) {
    const AVCodecParameters* const parameters = input_->streams[stream]->codecpar;
    const AVCodec* const codec = avcodec_find_decoder(parameters->codec_id);
    if (codec == nullptr) throw RecorderError("Das Format des Geräts wird nicht unterstützt.");
    track.decoder.reset(avcodec_alloc_context3(codec));
    if (!track.decoder) throw RecorderError("Der Arbeitsspeicher reicht nicht.");
    // Pictures come out with the packet they came in with.
    track.decoder->thread_count = 1;
    if (avcodec_parameters_to_context(track.decoder.get(), parameters) < 0 ||
        avcodec_open2(track.decoder.get(), codec, nullptr) < 0) {
        throw RecorderError("Das Format des Geräts wird nicht unterstützt.");
    }
    track.stream = stream;
}

PixelSize LibavInput::size() const {
    if (!hasPictures()) return {};
    const AVCodecParameters* const parameters = input_->streams[picture_.stream]->codecpar;
    return {parameters->width, parameters->height};
}

LibavInput::Kind LibavInput::read() {
    const int result = av_read_frame(input_.get(), packet_.get());
    if (result == AVERROR(EAGAIN)) return Kind::nothingYet;
    if (result < 0) return Kind::end;
    const bool isPicture = packet_->stream_index == picture_.stream;
    const bool isSound = packet_->stream_index == sound_.stream;
    bool decoded = false;
    if (isPicture || isSound) {
        const AVRational base = input_->streams[packet_->stream_index]->time_base;
        stamp_.reset();
        if (packet_->pts != AV_NOPTS_VALUE) stamp_ = static_cast<double>(packet_->pts) * av_q2d(base);
        decoded = decode(isPicture ? picture_ : sound_);
    }
    av_packet_unref(packet_.get());
    if (!decoded) return Kind::nothingYet;
    return isPicture ? Kind::picture : Kind::sound;
}

bool LibavInput::decode(Track& track) {
    if (avcodec_send_packet(track.decoder.get(), packet_.get()) < 0) return false;
    av_frame_unref(frame_.get());
    return avcodec_receive_frame(track.decoder.get(), frame_.get()) >= 0;
}

}  // namespace lumivastor::devices
