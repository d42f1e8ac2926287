#include "media/movie_sink.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "base/precondition.h"
#include "base/recorder_error.h"
#include "base/system_error_text.h"
#include "base/unique_descriptor.h"
#include "media/ffmpeg_support.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace lumivastor {

namespace {

constexpr int kWriteBytes = 1 << 18;

// The clock of the movie's header and edit lists: fine enough that neither 48 kHz sound nor pictures timed in
// six-hundredths round.
constexpr int kMovieTimescale = 48000;

const char* formatName(MovieContainer container) {
    return container == MovieContainer::mp4 ? "mp4" : "mov";
}

}  // namespace

struct MovieSink::ByteTarget {
    UniqueDescriptor file;
    int error = 0;                // the first system error met while writing
    std::vector<int> timescales;  // of each stream's packets
    bool headerWritten = false;

#if LIBAVFORMAT_VERSION_MAJOR >= 61
    static int write(void* opaque, const std::uint8_t* bytes, int size){
#else
    static int write(void* opaque, std::uint8_t* bytes, int size) {
#endif
        auto* const self = static_cast<ByteTarget*>(opaque);
    int done = 0;
    while (done < size) {
        const ssize_t count = ::write(self->file.get(), bytes + done, static_cast<std::size_t>(size - done));
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) {
            if (self->error == 0) self->error = count < 0 ? errno : EIO;
            return AVERROR(self->error);
        }
        done += static_cast<int>(count);
    }
    return size;
}

static std::int64_t
seek(void* opaque, std::int64_t offset, int whence) {
    const auto* self = static_cast<ByteTarget*>(opaque);
    if (whence == AVSEEK_SIZE) return AVERROR(ENOSYS);
    const off_t position = ::lseek(self->file.get(), offset, whence & ~AVSEEK_FORCE);
    return position < 0 ? AVERROR(errno) : position;
}
};  // namespace lumivastor

MovieSink::MovieSink(std::filesystem::path path, MovieContainer container)
    : path_(std::move(path)), target_(std::make_unique<ByteTarget>()) {
    prepareFfmpeg();
    constexpr int kFlags = O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW;
    constexpr mode_t kAllMayReadAndWrite = 0666;  // less what the user's mask takes away
    target_->file = UniqueDescriptor(::open(path_.c_str(), kFlags, kAllMayReadAndWrite));
    if (!target_->file.isOpen()) {
        throw RecorderError(path_.filename().string() + " konnte nicht angelegt werden: " +
                            systemErrorText({errno, std::generic_category()}) + ".");
    }
    checked(avformat_alloc_output_context2(&context_, nullptr, formatName(container), nullptr),
            "Der Film konnte nicht angelegt werden");
    auto* buffer = static_cast<std::uint8_t*>(av_malloc(kWriteBytes));
    io_ = avio_alloc_context(buffer, kWriteBytes, 1, target_.get(), nullptr, ByteTarget::write, ByteTarget::seek);
    if (io_ == nullptr) {
        close();
        throw RecorderError("Der Arbeitsspeicher reicht nicht.");
    }
    context_->pb = io_;
    context_->flags |= AVFMT_FLAG_CUSTOM_IO;
    // Times before zero stay: they are the lead-in of sound, which the edit list takes away again.
    context_->avoid_negative_ts = 0;
}

MovieSink::~MovieSink() {
    close();
}

bool MovieSink::canHold(MovieContainer container, const AVCodecParameters& parameters) {
    const AVOutputFormat* const format = av_guess_format(formatName(container), nullptr, nullptr);
    return format != nullptr && avformat_query_codec(format, parameters.codec_id, FF_COMPLIANCE_NORMAL) == 1;
}

int MovieSink::addStream(const AVCodecParameters& parameters, int timescale) {
    precondition(context_ != nullptr && !target_->headerWritten && timescale > 0, "streams come before the header");
    AVStream* const stream = avformat_new_stream(context_, nullptr);
    if (stream == nullptr) throw RecorderError("Der Arbeitsspeicher reicht nicht.");
    const std::uint32_t hvc1 = MKTAG('h', 'v', 'c', '1');
    checked(avcodec_parameters_copy(stream->codecpar, &parameters), "Eine Spur konnte nicht angelegt werden");
    // The tag is the container's to choose, but HEVC keeps its parameter sets out of the samples.
    stream->codecpar->codec_tag = parameters.codec_id == AV_CODEC_ID_HEVC ? hvc1 : 0;
    stream->time_base = {1, timescale};
    target_->timescales.push_back(timescale);
    if (parameters.codec_type == AVMEDIA_TYPE_VIDEO) videoTimescale_ = timescale;
    return stream->index;
}

void MovieSink::begin() {
    precondition(context_ != nullptr && !target_->headerWritten, "a movie begins once");
    AVDictionary* settings = nullptr;
    av_dict_set_int(&settings, "movie_timescale", kMovieTimescale, 0);
    if (videoTimescale_ > 0) av_dict_set_int(&settings, "video_track_timescale", videoTimescale_, 0);
    av_dict_set(&settings, "movflags", "+write_colr", 0);
    const int result = avformat_write_header(context_, &settings);
    av_dict_free(&settings);
    check(result);
    target_->headerWritten = true;
}

void MovieSink::write(int stream, AVPacket& packet) {
    const std::scoped_lock guard(lock_);
    precondition(context_ != nullptr && target_->headerWritten, "packets come after the header");
    const auto position = static_cast<std::size_t>(stream);
    packet.stream_index = stream;
    av_packet_rescale_ts(&packet, AVRational{1, target_->timescales.at(position)},
                         context_->streams[position]->time_base);
    check(av_interleaved_write_frame(context_, &packet));
}

void MovieSink::finish() {
    check(av_write_trailer(context_));
    avio_flush(io_);
    check(0);
    if (::fsync(target_->file.get()) != 0 && errno != EINVAL && target_->error == 0) target_->error = errno;
    check(0);
    if (target_->file.reset() != 0) target_->error = errno;
    check(0);
    close();
}

void MovieSink::close() {
    if (io_ != nullptr) av_freep(&io_->buffer);
    avio_context_free(&io_);
    avformat_free_context(context_);
    context_ = nullptr;
    target_->file.reset();
}

// The file's own error says more than what FFmpeg makes of it, and some of its calls swallow it.
void MovieSink::check(int result) {
    if (target_->error == 0 && result >= 0) return;
    const std::string reason =
        target_->error != 0 ? systemErrorText({target_->error, std::generic_category()}) : ffmpegErrorText(result);
    throw RecorderError(path_.filename().string() + " konnte nicht geschrieben werden: " + reason + ".");
}

}  // namespace lumivastor
