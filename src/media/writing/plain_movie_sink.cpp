// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/writing/plain_movie_sink.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "base/descriptor_io.h"
#include "base/precondition.h"
#include "base/recorder_error.h"
#include "base/system_error_text.h"
#include "base/unique_descriptor.h"
#include "ffmpeg/ffmpeg_support.h"
#include "media/isobmff/movie_boxes.h"
#include "media/writing/container_format.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace lumivastor::media {

namespace {

constexpr int kBufferBytes = 1 << 18;

// The clock of the movie's header and edit lists: fine enough that neither 48 kHz sound nor pictures timed in
// six-hundredths round.
constexpr int kMovieTimescale = 48000;

// The type of the data that FFmpeg passes for writing, which is const in newer versions.
#if LIBAVFORMAT_VERSION_MAJOR >= 61
using WrittenByte = const std::uint8_t;
#else
using WrittenByte = std::uint8_t;
#endif

// Whether the file's top-level boxes fill it to its last byte, with the index before the samples.
bool isWholeAndBeginsWithIndex(int file) {
    struct stat status {};
    if (::fstat(file, &status) != 0) return false;
    const auto size = static_cast<std::uint64_t>(status.st_size);
    bool hasIndex = false;
    std::uint64_t offset = 0;
    while (const auto box = fileBoxAt(file, offset, size)) {
        if (box->kind == fourCC("moov")) hasIndex = true;
        if (box->kind == fourCC("mdat") && !hasIndex) return false;
        offset = box->end();
    }
    return hasIndex && offset == size;
}

}  // namespace

struct PlainMovieSink::ByteTarget {
    UniqueDescriptor file;
    int error = 0;                  // the first system error met
    std::int64_t readPosition = 0;  // of what is read back; the file's own is that of writing

    static int write(void* opaque, WrittenByte* bytes, int size) {
        auto* const self = static_cast<ByteTarget*>(opaque);
        const std::error_code failure = writeAll(self->file.get(), bytes, static_cast<std::size_t>(size)).error;
        if (!failure) return size;
        if (self->error == 0) self->error = failure.value();
        return AVERROR(self->error);
    }

    static std::int64_t seek(void* opaque, std::int64_t offset, int whence) {
        const auto* self = static_cast<ByteTarget*>(opaque);
        if (whence == AVSEEK_SIZE) return AVERROR(ENOSYS);
        const off_t position = ::lseek(self->file.get(), offset, whence & ~AVSEEK_FORCE);
        return position < 0 ? AVERROR(errno) : position;
    }

    static int read(void* opaque, std::uint8_t* bytes, int size) {
        auto* const self = static_cast<ByteTarget*>(opaque);
        const auto [count, failure] = readAllAt(self->file.get(), static_cast<std::uint64_t>(self->readPosition), bytes,
                                                static_cast<std::size_t>(size));
        if (count == 0 && failure) {
            // FFmpeg treats this as the end of the file.
            if (self->error == 0) self->error = failure.value();
            return AVERROR(self->error);
        }
        self->readPosition += static_cast<std::int64_t>(count);
        return count == 0 ? AVERROR_EOF : static_cast<int>(count);
    }

    static std::int64_t seekToRead(void* opaque, std::int64_t offset, int whence) {
        if ((whence & ~AVSEEK_FORCE) != SEEK_SET) return AVERROR(ENOSYS);
        return static_cast<ByteTarget*>(opaque)->readPosition = offset;
    }

    // FFmpeg opens what it has written a second time, to move it.
    static int openToRead(AVFormatContext* context, AVIOContext** io, const char*, int flags, AVDictionary**) {
        if (flags != AVIO_FLAG_READ) return AVERROR(ENOSYS);
        auto* const self = static_cast<ByteTarget*>(context->opaque);
        self->readPosition = 0;
        auto* buffer = static_cast<std::uint8_t*>(av_malloc(kBufferBytes));
        *io = avio_alloc_context(buffer, kBufferBytes, 0, self, read, nullptr, seekToRead);
        if (*io != nullptr) return 0;
        av_free(buffer);
        return AVERROR(ENOMEM);
    }

    static int closeRead(AVFormatContext*, AVIOContext* io) {
        av_freep(&io->buffer);
        avio_context_free(&io);
        return 0;
    }
};

struct PlainMovieSink::Track {
    int timescale = 1;  // of the packets that come in
    bool isVideo = false;
    ffmpeg::PacketHandle heldBack;  // the last picture: its duration depends on the next one, or the end
    std::int64_t latestShown = 0;   // of all packets
};

PlainMovieSink::PlainMovieSink(const std::filesystem::path& path, MovieContainer container, std::string shownName)
    : container_(container), shownName_(std::move(shownName)), target_(std::make_unique<ByteTarget>()) {
    ffmpeg::prepareFfmpeg();
    target_->file = createFile(path, shownName_, Existing::emptied);
    ffmpeg::checked(avformat_alloc_output_context2(&context_, nullptr, formatName(container), nullptr),
                    "Der Film konnte nicht angelegt werden");
    auto* buffer = static_cast<std::uint8_t*>(av_malloc(kBufferBytes));
    io_ = avio_alloc_context(buffer, kBufferBytes, 1, target_.get(), nullptr, ByteTarget::write, ByteTarget::seek);
    if (io_ == nullptr) {
        close();
        throw RecorderError("Der Arbeitsspeicher reicht nicht.");
    }
    context_->pb = io_;
    context_->flags |= AVFMT_FLAG_CUSTOM_IO;
    context_->opaque = target_.get();
    context_->io_open = ByteTarget::openToRead;
    context_->io_close2 = ByteTarget::closeRead;
    // Times before zero stay: they are the encoder delay of sound, which the edit list removes.
    context_->avoid_negative_ts = 0;
}

PlainMovieSink::~PlainMovieSink() {
    close();
}

int PlainMovieSink::addStream(const AVCodecParameters& parameters, int timescale, int frameRate) {
    precondition(context_ != nullptr && !headerWritten_ && timescale > 0, "streams come before the header");
    AVStream* const stream = avformat_new_stream(context_, nullptr);
    if (stream == nullptr) throw RecorderError("Der Arbeitsspeicher reicht nicht.");
    describeStream(*stream, parameters, timescale);
    if (container_ == MovieContainer::webM && frameRate > 0)
        stream->avg_frame_rate = stream->r_frame_rate = {frameRate, 1};
    Track track;
    track.timescale = timescale;
    track.isVideo = parameters.codec_type == AVMEDIA_TYPE_VIDEO;
    if (track.isVideo) videoTimescale_ = timescale;
    tracks_.push_back(std::move(track));
    return stream->index;
}

// FFmpeg frees them with the context.
void PlainMovieSink::addChapter(double start, double end, const std::string& title) {
    precondition(context_ != nullptr && !headerWritten_ && start <= end, "chapters come before the header");
    const RecorderError noMemory("Der Arbeitsspeicher reicht nicht.");
    auto** const list =
        static_cast<AVChapter**>(av_realloc_array(context_->chapters, context_->nb_chapters + 1, sizeof(AVChapter*)));
    if (list == nullptr) throw RecorderError(noMemory);
    context_->chapters = list;
    auto* const chapter = static_cast<AVChapter*>(av_mallocz(sizeof(AVChapter)));
    if (chapter == nullptr) throw RecorderError(noMemory);
    list[context_->nb_chapters++] = chapter;
    chapter->id = context_->nb_chapters;
    chapter->time_base = {1, kMovieTimescale};
    chapter->start = std::llround(start * kMovieTimescale);
    chapter->end = std::llround(end * kMovieTimescale);
    if (av_dict_set(&chapter->metadata, "title", title.c_str(), 0) < 0) throw RecorderError(noMemory);
}

void PlainMovieSink::begin() {
    precondition(context_ != nullptr && !headerWritten_, "a movie begins once");
    AVDictionary* settings = nullptr;
    if (container_ != MovieContainer::webM) setUpIndex(settings);
    const int result = avformat_write_header(context_, &settings);
    av_dict_free(&settings);
    check(result);
    headerWritten_ = true;
}

void PlainMovieSink::setUpIndex(AVDictionary*& settings) const {
    av_dict_set_int(&settings, "movie_timescale", kMovieTimescale, 0);
    if (videoTimescale_ > 0) av_dict_set_int(&settings, "video_track_timescale", videoTimescale_, 0);
    // The length of the index is known only at the end. Then the samples move up by that much, in pieces of the index's
    // length: 2 s for 2 GB on a busy machine, with one index in memory. Reserving space at the beginning would save
    // that time. But its size would be a guess: one that is too small spoils an export of an hour, and a safe one (some
    // 40 bytes a sample) leaves a hole as long as the index before the samples, which every download contains.
    av_dict_set(&settings, "movflags", "+write_colr+faststart", 0);
}

void PlainMovieSink::write(int stream, AVPacket& packet) {
    const std::lock_guard hold(lock_);
    precondition(context_ != nullptr && headerWritten_, "packets come after the header");
    Track& track = tracks_.at(static_cast<std::size_t>(stream));
    packet.stream_index = stream;
    if (!track.isVideo) {
        if (!end_ || packet.pts < end_->rescaled(track.timescale).value) writeNow(packet);
        return;
    }
    if (track.heldBack) writeNow(*track.heldBack);
    if (!track.heldBack) track.heldBack = ffmpeg::makePacket();
    track.latestShown = std::max(track.latestShown, packet.pts);
    av_packet_move_ref(track.heldBack.get(), &packet);
}

void PlainMovieSink::writeNow(AVPacket& packet) {
    AVStream* const stream = context_->streams[packet.stream_index];
    const int timescale = tracks_.at(static_cast<std::size_t>(packet.stream_index)).timescale;
    av_packet_rescale_ts(&packet, AVRational{1, timescale}, stream->time_base);
    check(av_interleaved_write_frame(context_, &packet));
}

void PlainMovieSink::writeHeldBack() {
    const std::lock_guard hold(lock_);
    for (Track& track : tracks_) {
        if (!track.heldBack) continue;
        AVPacket& packet = *track.heldBack;
        // With reordered pictures, the last one decoded need not be the last one shown.
        if (end_ && packet.pts == track.latestShown) {
            packet.duration = std::max<std::int64_t>(end_->rescaled(track.timescale).value - packet.pts, 1);
        }
        writeNow(packet);
        track.heldBack = nullptr;
    }
}

void PlainMovieSink::endAt(const MediaTime& end) {
    const std::lock_guard hold(lock_);
    end_ = end;
}

void PlainMovieSink::finish() {
    writeHeldBack();
    check(av_write_trailer(context_));
    avio_flush(io_);
    check(0);
    if (container_ != MovieContainer::webM && !isWholeAndBeginsWithIndex(target_->file.get())) {
        throw RecorderError(shownName_ + " konnte nicht geschrieben werden: Die Datei ist unvollständig.");
    }
    if (::fsync(target_->file.get()) != 0 && errno != EINVAL && target_->error == 0) target_->error = errno;
    check(0);
    if (target_->file.reset() != 0) target_->error = errno;
    check(0);
    close();
}

void PlainMovieSink::close() {
    if (io_ != nullptr) av_freep(&io_->buffer);
    avio_context_free(&io_);
    avformat_free_context(context_);
    context_ = nullptr;
    target_->file.reset();
}

// The file's own error is more precise than FFmpeg's, and some calls of FFmpeg discard it.
void PlainMovieSink::check(int result) {
    if (target_->error == 0 && result >= 0) return;
    const std::string reason = target_->error != 0 ? systemErrorText({target_->error, std::generic_category()})
                                                   : ffmpeg::ffmpegErrorText(result);
    throw RecorderError(shownName_ + " konnte nicht geschrieben werden: " + reason + ".");
}

}  // namespace lumivastor::media
