// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/writing/sample_description.h"

#include <memory>

#include "base/recorder_error.h"
#include "ffmpeg/ffmpeg_support.h"
#include "media/isobmff/movie_boxes.h"
#include "media/writing/container_format.h"

extern "C" {
#include <libavformat/avformat.h>
}

namespace lumivastor::media {

namespace {

constexpr const char* kNoHeader = "Der Film konnte nicht angelegt werden";

struct ContextDelete {
    void operator()(AVFormatContext* context) const { avformat_free_context(context); }
};

// The header that FFmpeg writes for a movie of these streams without samples.
std::vector<std::uint8_t> emptyMovie(std::span<const DescribedStream> streams) {
    AVFormatContext* made = nullptr;
    ffmpeg::checked(avformat_alloc_output_context2(&made, nullptr, formatName(MovieContainer::quickTime), nullptr),
                    kNoHeader);
    const std::unique_ptr<AVFormatContext, ContextDelete> movie(made);
    for (const DescribedStream& described : streams) {
        AVStream* const stream = avformat_new_stream(movie.get(), nullptr);
        if (stream == nullptr) throw RecorderError("Der Arbeitsspeicher reicht nicht.");
        describeStream(*stream, *described.parameters, described.timescale);
    }
    ffmpeg::checked(avio_open_dyn_buf(&movie->pb), kNoHeader);
    AVDictionary* settings = nullptr;
    av_dict_set(&settings, "movflags", "+empty_moov+write_colr", 0);
    const int result = avformat_write_header(movie.get(), &settings);
    av_dict_free(&settings);
    std::uint8_t* bytes = nullptr;
    const int size = avio_close_dyn_buf(movie->pb, &bytes);
    movie->pb = nullptr;
    std::vector<std::uint8_t> header;
    if (bytes != nullptr) header.assign(bytes, bytes + size);
    av_free(bytes);
    ffmpeg::checked(result, kNoHeader);
    return header;
}

}  // namespace

std::vector<std::vector<std::uint8_t>> sampleDescriptions(std::span<const DescribedStream> streams) {
    ffmpeg::prepareFfmpeg();
    const std::vector<std::uint8_t> movie = emptyMovie(streams);
    std::vector<std::vector<std::uint8_t>> descriptions;
    if (const auto header = findBox(movie, fourCC("moov"))) {
        BoxReader reader(header->content);
        while (const auto box = reader.next()) {
            if (box->kind != fourCC("trak")) continue;
            std::span<const std::uint8_t> inside = box->content;
            for (const std::uint32_t kind : {fourCC("mdia"), fourCC("minf"), fourCC("stbl")}) {
                const auto found = findBox(inside, kind);
                inside = found ? found->content : std::span<const std::uint8_t>{};
            }
            if (const auto found = findBox(inside, fourCC("stsd"))) {
                descriptions.emplace_back(found->whole.begin(), found->whole.end());
            }
        }
    }
    if (descriptions.size() != streams.size()) {
        throw RecorderError(std::string(kNoHeader) + ": Das Format wird nicht unterstützt.");
    }
    return descriptions;
}

}  // namespace lumivastor::media
