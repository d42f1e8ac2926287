// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/animation/animated_picture.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

#include "base/descriptor_io.h"
#include "base/precondition.h"
#include "base/recorder_error.h"
#include "base/system_error_text.h"
#include "base/unique_descriptor.h"
#include "ffmpeg/ffmpeg_handles.h"
#include "ffmpeg/ffmpeg_support.h"
#include "media/animation/animation_forms.h"

extern "C" {
#include <libswscale/swscale.h>
}

namespace lumivastor::media {

namespace {

bool looksLike(const imaging::BgraPremultipliedBuffer& a, const imaging::BgraPremultipliedBuffer& b) {
    if (a.width() != b.width() || a.height() != b.height()) return false;
    for (int y = 0; y < a.height(); ++y) {
        if (std::memcmp(a.row(y), b.row(y), static_cast<std::size_t>(a.width()) * 4) != 0) return false;
    }
    return true;
}

}  // namespace

// Each pixel of the smaller picture is the mean of those that it covers: text stays readable, and thin lines do not
// come and go while the picture moves.
struct AnimatedPictureWriter::Scaler {
    ffmpeg::ScalerHandle scaler;
    int width = 0;
    int height = 0;

    void scale(const imaging::BgraPremultipliedBuffer& from, imaging::BgraPremultipliedBuffer& to) {
        if (!scaler || width != from.width() || height != from.height()) {
            width = from.width();
            height = from.height();
            scaler.reset(sws_getContext(width, height, AV_PIX_FMT_BGR0, to.width(), to.height(), AV_PIX_FMT_BGR0,
                                        SWS_AREA | SWS_ACCURATE_RND, nullptr, nullptr, nullptr));
            if (!scaler) throw RecorderError("Der Arbeitsspeicher reicht nicht.");
        }
        const std::uint8_t* const planes[] = {from.row(0)};
        const int strides[] = {static_cast<int>(from.stride())};
        std::uint8_t* const targets[] = {to.row(0)};
        const int targetStrides[] = {static_cast<int>(to.stride())};
        ffmpeg::checked(sws_scale(scaler.get(), planes, strides, 0, height, targets, targetStrides),
                        "Ein Bild konnte nicht verkleinert werden");
    }
};

AnimatedPictureWriter::AnimatedPictureWriter(std::filesystem::path path, std::string shownName, PixelSize size)
    : path_(std::move(path)),
      shownName_(std::move(shownName)),
      size_(size),
      scaler_(std::make_unique<Scaler>()),
      scaled_(size.width, size.height),
      last_(size.width, size.height) {
    ffmpeg::prepareFfmpeg();
}

AnimatedPictureWriter::~AnimatedPictureWriter() = default;

void AnimatedPictureWriter::addSample(const imaging::BgraPremultipliedBuffer& picture) {
    scaler_->scale(picture, scaled_);
    sample(scaled_);
}

void AnimatedPictureWriter::sample(const imaging::BgraPremultipliedBuffer&) {}

void AnimatedPictureWriter::add(const imaging::BgraPremultipliedBuffer& picture, double seconds) {
    scaler_->scale(picture, scaled_);
    if (pictures_ > 0 && looksLike(scaled_, last_)) return;
    show(scaled_, pictures_ == 0 ? 0 : seconds);
    std::swap(scaled_, last_);
    ++pictures_;
}

void AnimatedPictureWriter::finish(double seconds) {
    precondition(pictures_ > 0, "an animated picture shows something");
    end(seconds);
}

void AnimatedPictureWriter::write(const void* bytes, std::size_t size) {
    const auto fail = [this](std::error_code error) {
        throw RecorderError(shownName_ + " konnte nicht geschrieben werden: " + systemErrorText(error) + ".");
    };
    UniqueDescriptor file(::open(path_.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC));
    if (!file.isOpen()) fail({errno, std::generic_category()});
    if (const Transfer done = writeAll(file.get(), bytes, size); done.error) fail(done.error);
    if (::fsync(file.get()) != 0 && errno != EINVAL) fail({errno, std::generic_category()});
}

std::unique_ptr<AnimatedPictureWriter> makeAnimatedPicture(AnimationForm form, const std::filesystem::path& path,
                                                           const std::string& shownName, PixelSize size) {
    return form == AnimationForm::gif ? makeGifWriter(path, shownName, size) : makeWebPWriter(path, shownName, size);
}

AnimationFacts readAnimatedPicture(AnimationForm form, const std::filesystem::path& path) {
    return form == AnimationForm::gif ? readGif(path) : readWebP(path);
}

}  // namespace lumivastor::media
