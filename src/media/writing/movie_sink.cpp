// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/writing/movie_sink.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "base/recorder_error.h"
#include "base/system_error_text.h"
#include "media/writing/container_format.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace lumivastor::media {

bool MovieSink::canHold(MovieContainer container, const AVCodecParameters& parameters) {
    const AVOutputFormat* const format = av_guess_format(formatName(container), nullptr, nullptr);
    return format != nullptr && avformat_query_codec(format, parameters.codec_id, FF_COMPLIANCE_NORMAL) == 1;
}

UniqueDescriptor MovieSink::createFile(const std::filesystem::path& path, const std::string& shownName,
                                       Existing existing) {
    const auto refuse = [&shownName](int number) {
        throw RecorderError(
            shownName + " konnte nicht angelegt werden: " + systemErrorText({number, std::generic_category()}) + ".");
    };
    struct stat found {};
    bool exists = ::lstat(path.c_str(), &found) == 0;
    const bool isFile = exists && S_ISREG(found.st_mode);
    // Emptying a file of that name would also empty the target of a link.
    const bool isLink = exists && (S_ISLNK(found.st_mode) || (isFile && found.st_nlink > 1));
    if (isLink || (isFile && existing == Existing::removed)) {
        if (::unlink(path.c_str()) != 0 && errno != ENOENT) refuse(errno);
        exists = false;
    }
    // Pipes and devices are opened unchanged; opening a directory fails.
    const int flags = O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | (!exists ? O_EXCL : isFile ? O_TRUNC : 0);
    // A film of a user's screen is private to that user.
    constexpr mode_t kOwnerOnly = 0600;
    UniqueDescriptor file(::open(path.c_str(), flags, kOwnerOnly));
    if (!file.isOpen()) refuse(errno);
    return file;
}

}  // namespace lumivastor::media
