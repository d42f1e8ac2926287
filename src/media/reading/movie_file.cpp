// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/reading/movie_file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <limits>
#include <string>
#include <system_error>

#include "base/descriptor_io.h"
#include "base/precondition.h"
#include "base/recorder_error.h"
#include "base/system_error_text.h"
#include "base/unique_descriptor.h"
#include "ffmpeg/ffmpeg_support.h"
#include "media/isobmff/track_numbers.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace lumivastor::media {

namespace {

// The size of one read; large enough that a key picture takes few system calls.
constexpr int kReadBytes = 1 << 16;

std::string unreadable(const std::filesystem::path& path, const std::string& reason) {
    return path.filename().string() + " konnte nicht gelesen werden: " + reason + ".";
}

[[noreturn]] void throwUnreadable(const std::filesystem::path& path, std::error_code error) {
    throw RecorderError(unreadable(path, systemErrorText(error)));
}

// FFmpeg requests other files when a movie names them. They are never opened.
int refuseToOpen(AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**) {
    return AVERROR(EACCES);
}

}  // namespace

// FFmpeg's view of the open file.
struct MovieFile::ByteSource {
    UniqueDescriptor file;
    std::filesystem::path path;
    std::int64_t size = 0;

    static int read(void* opaque, std::uint8_t* buffer, int size) {
        const auto* self = static_cast<ByteSource*>(opaque);
        const auto [count, failure] = readAll(self->file.get(), buffer, static_cast<std::size_t>(size));
        if (count > 0) return static_cast<int>(count);
        return failure ? AVERROR(failure.value()) : AVERROR_EOF;
    }

    static std::int64_t seek(void* opaque, std::int64_t offset, int whence) {
        const auto* self = static_cast<ByteSource*>(opaque);
        if (whence == AVSEEK_SIZE) return self->size;
        const off_t position = ::lseek(self->file.get(), offset, whence & ~AVSEEK_FORCE);
        return position < 0 ? AVERROR(errno) : position;
    }

    // Whether a fragment is among the top-level boxes. Fragments follow the header directly, so the first few boxes
    // suffice; a finished movie has only a handful in total.
    bool hasFragments() const {
        constexpr int kBoxesToLookAt = 16;
        std::int64_t offset = 0;
        for (int box = 0; box < kBoxesToLookAt; ++box) {
            std::array<std::uint8_t, 16> header{};
            const ssize_t count = ::pread(file.get(), header.data(), header.size(), offset);
            if (count < 8) return false;
            if (std::memcmp(&header[4], "moof", 4) == 0) return true;
            const auto bigEndian = [&](std::size_t from, std::size_t bytes) {
                std::uint64_t value = 0;
                for (std::size_t i = 0; i < bytes; ++i) value = value << 8 | header[from + i];
                return value;
            };
            std::uint64_t length = bigEndian(0, 4);
            if (length == 1 && count == 16) length = bigEndian(8, 8);
            if (length < 8 || length > static_cast<std::uint64_t>(size - offset)) return false;
            offset += static_cast<std::int64_t>(length);
        }
        return false;
    }
};

MovieFile::MovieFile(const std::filesystem::path& path) : source_(std::make_unique<ByteSource>()) {
    ffmpeg::prepareFfmpeg();
    source_->path = path;
    // Non-blocking, so that opening a pipe without a writer cannot hang before the pipe is refused.
    source_->file = UniqueDescriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!source_->file.isOpen()) throwUnreadable(path, {errno, std::generic_category()});
    struct stat status {};
    if (::fstat(source_->file.get(), &status) != 0) throwUnreadable(path, {errno, std::generic_category()});
    if (S_ISDIR(status.st_mode)) throwUnreadable(path, std::make_error_code(std::errc::is_a_directory));
    if (!S_ISREG(status.st_mode)) throwUnreadable(path, std::make_error_code(std::errc::not_supported));
    source_->size = status.st_size;
    if (!tracksAreNumbered(source_->file.get(), static_cast<std::uint64_t>(status.st_size))) {
        throw RecorderError(unreadable(path, "Eine Spur hat keine Nummer"));
    }
    fragmented_ = source_->hasFragments();

    try {
        auto* buffer = static_cast<std::uint8_t*>(av_malloc(kReadBytes));
        io_ = avio_alloc_context(buffer, kReadBytes, 0, source_.get(), ByteSource::read, nullptr, ByteSource::seek);
        context_ = avformat_alloc_context();
        if (io_ == nullptr || context_ == nullptr) {
            throwUnreadable(path, std::make_error_code(std::errc::not_enough_memory));
        }
        context_->pb = io_;
        context_->flags |= AVFMT_FLAG_CUSTOM_IO;
        context_->io_open = refuseToOpen;
        context_->max_streams = kMaxTracks;
        // Frees the context itself when it fails.
        const int result = avformat_open_input(&context_, "", av_find_input_format("mov"), nullptr);
        if (result < 0) throw RecorderError(unreadable(path, ffmpeg::ffmpegErrorText(result)));
        if (fragmented_) walkFragments();
    } catch (...) {
        close();
        throw;
    }
}

MovieFile::~MovieFile() {
    close();
}

void MovieFile::close() {
    avformat_close_input(&context_);
    if (io_ != nullptr) av_freep(&io_->buffer);
    avio_context_free(&io_);
}

// Fragments are indexed only when their headers are read. With every stream discarded, reading to the end visits all
// headers and no sample.
void MovieFile::walkFragments() {
    for (unsigned i = 0; i < context_->nb_streams; ++i) context_->streams[i]->discard = AVDISCARD_ALL;
    const ffmpeg::PacketHandle packet = ffmpeg::makePacket();
    while (av_read_frame(context_, packet.get()) >= 0) av_packet_unref(packet.get());
    for (unsigned i = 0; i < context_->nb_streams; ++i) context_->streams[i]->discard = AVDISCARD_DEFAULT;
    if (context_->nb_streams > 0) seek(0, std::numeric_limits<std::int64_t>::min());
}

AVStream* MovieFile::stream(int index) {
    return index >= 0 && index < static_cast<int>(context_->nb_streams) ? context_->streams[index] : nullptr;
}

void MovieFile::selectOnly(int index) {
    for (unsigned i = 0; i < context_->nb_streams; ++i) {
        context_->streams[i]->discard = static_cast<int>(i) == index ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    }
}

bool MovieFile::readPacket(AVPacket& packet) {
    for (;;) {
        const int result = av_read_frame(context_, &packet);
        if (result == AVERROR_EOF) {
            // The end of the file, or of the part of it that was ever written?
            for (unsigned i = 0; i < context_->nb_streams; ++i) {
                AVStream* const stream = context_->streams[i];
                if (stream->discard == AVDISCARD_ALL) continue;
                const int count = avformat_index_get_entries_count(stream);
                const AVIndexEntry* last = count > 0 ? avformat_index_get_entry(stream, count - 1) : nullptr;
                if (last != nullptr && last->pos + last->size > source_->size) {
                    throw RecorderError(unreadable(source_->path, ffmpeg::ffmpegErrorText(AVERROR_EOF)));
                }
            }
            return false;
        }
        if (result < 0) throw RecorderError(unreadable(source_->path, ffmpeg::ffmpegErrorText(result)));
        AVStream* const stream = context_->streams[packet.stream_index];
        if (stream->discard == AVDISCARD_ALL) {  // read ahead before it was deselected
            av_packet_unref(&packet);
            continue;
        }
        if ((packet.flags & AV_PKT_FLAG_CORRUPT) != 0) {
            av_packet_unref(&packet);
            throw RecorderError(unreadable(source_->path, ffmpeg::ffmpegErrorText(AVERROR_EOF)));
        }
        return true;
    }
}

void MovieFile::seek(int index, std::int64_t decodeTime) {
    AVStream* const movieStream = stream(index);
    precondition(movieStream != nullptr, "a stream of this file");
    const int count = avformat_index_get_entries_count(movieStream);
    if (count == 0) return;
    const std::int64_t first = avformat_index_get_entry(movieStream, 0)->timestamp;
    if (av_seek_frame(context_, index, std::max(decodeTime, first), AVSEEK_FLAG_BACKWARD) >= 0) return;
    ffmpeg::checked(av_seek_frame(context_, index, first, AVSEEK_FLAG_ANY), "Im Film konnte nicht gesprungen werden");
}

std::int64_t MovieFile::keyTimeBefore(int index, std::int64_t decodeTime) {
    AVStream* const movieStream = stream(index);
    precondition(movieStream != nullptr, "a stream of this file");
    const int entry = av_index_search_timestamp(movieStream, decodeTime, AVSEEK_FLAG_BACKWARD);
    if (entry < 0) return std::numeric_limits<std::int64_t>::min();
    return avformat_index_get_entry(movieStream, entry)->timestamp;
}

std::optional<std::int64_t> MovieFile::keyTimeAfter(int index, std::int64_t decodeTime) {
    AVStream* const movieStream = stream(index);
    precondition(movieStream != nullptr, "a stream of this file");
    const int entry = av_index_search_timestamp(movieStream, decodeTime + 1, 0);
    if (entry < 0) return std::nullopt;
    const std::int64_t found = avformat_index_get_entry(movieStream, entry)->timestamp;
    // If there is none behind, the search may return the last one before.
    return found > decodeTime ? std::optional(found) : std::nullopt;
}

MediaTime MovieFile::indexEnd(int index) {
    AVStream* const movieStream = stream(index);
    precondition(movieStream != nullptr, "a stream of this file");
    const AVRational base = movieStream->time_base;
    const int count = avformat_index_get_entries_count(movieStream);
    if (count == 0) return ffmpeg::mediaTime(0, base.num, base.den);
    const std::int64_t last = avformat_index_get_entry(movieStream, count - 1)->timestamp;
    if (count == 1) return ffmpeg::mediaTime(last, base.num, base.den);
    // The index has no durations: the last sample is assumed to be as long as the one before.
    const std::int64_t before = avformat_index_get_entry(movieStream, count - 2)->timestamp;
    return ffmpeg::mediaTime(last + (last - before), base.num, base.den);
}

}  // namespace lumivastor::media
