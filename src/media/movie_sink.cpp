#include "media/movie_sink.h"

#include <fcntl.h>

#include <cerrno>
#include <system_error>

#include "base/recorder_error.h"
#include "base/system_error_text.h"
#include "media/container_format.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace lumivastor {

bool MovieSink::canHold(MovieContainer container, const AVCodecParameters& parameters) {
    const AVOutputFormat* const format = av_guess_format(formatName(container), nullptr, nullptr);
    return format != nullptr && avformat_query_codec(format, parameters.codec_id, FF_COMPLIANCE_NORMAL) == 1;
}

UniqueDescriptor MovieSink::createFile(const std::filesystem::path& path) {
    constexpr int kFlags = O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW;
    // A film of somebody's screen is theirs alone.
    constexpr mode_t kOwnerOnly = 0600;
    UniqueDescriptor file(::open(path.c_str(), kFlags, kOwnerOnly));
    if (!file.isOpen()) {
        throw RecorderError(path.filename().string() + " konnte nicht angelegt werden: " +
                            systemErrorText({errno, std::generic_category()}) + ".");
    }
    return file;
}

}  // namespace lumivastor
