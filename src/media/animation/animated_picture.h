// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

#include "base/pixel_size.h"
#include "imaging/pixel_buffer.h"

// Animated pictures: WebP files, by libwebp, and GIF files, by FFmpeg. They loop without end.

namespace lumivastor::media {

enum class AnimationForm { webp, gif };

/// Makes one animated picture: first samples of it, then its pictures by ascending times, then `finish`. Pictures are
/// scaled to the file's size; one that looks like the last one lengthens it. One thread at a time. All functions throw
/// `RecorderError`.
class AnimatedPictureWriter {
  public:
    virtual ~AnimatedPictureWriter();
    AnimatedPictureWriter(const AnimatedPictureWriter&) = delete;
    AnimatedPictureWriter& operator=(const AnimatedPictureWriter&) = delete;

    /// Whether the colours of the file are chosen by samples. At least one is then needed before the first picture.
    virtual bool wantsSamples() const { return false; }
    void addSample(const imaging::BgraPremultipliedBuffer& picture);

    /// An opaque picture that is shown from `seconds` on. The first one is shown from 0 on.
    void add(const imaging::BgraPremultipliedBuffer& picture, double seconds);

    /// The last picture is shown until `seconds`. The file's bytes are on the disk afterwards.
    void finish(double seconds);

    /// The number of different pictures that were added.
    std::int64_t pictures() const { return pictures_; }

  protected:
    AnimatedPictureWriter(std::filesystem::path path, std::string shownName, PixelSize size);

    PixelSize size() const { return size_; }
    virtual void sample(const imaging::BgraPremultipliedBuffer& picture);
    /// A picture of the file's size.
    virtual void show(const imaging::BgraPremultipliedBuffer& picture, double seconds) = 0;
    /// Completes the file and gives its bytes to `write`.
    virtual void end(double seconds) = 0;
    void write(const void* bytes, std::size_t size);

  private:
    struct Scaler;

    const std::filesystem::path path_;
    const std::string shownName_;
    const PixelSize size_;
    const std::unique_ptr<Scaler> scaler_;
    imaging::BgraPremultipliedBuffer scaled_;
    imaging::BgraPremultipliedBuffer last_;
    std::int64_t pictures_ = 0;
};

/// Writes into the file at `path`, which it empties but does not replace. Errors call it `shownName`.
std::unique_ptr<AnimatedPictureWriter> makeAnimatedPicture(AnimationForm form, const std::filesystem::path& path,
                                                           const std::string& shownName, PixelSize size);

/// What an animated picture holds, from decoding all of it.
struct AnimationFacts {
    PixelSize size;
    std::int64_t pictures = 0;
    double seconds = 0;  // 0 for a single picture, which may have no duration
    int loops = 0;       // 0: without end
};

/// Throws `RecorderError` when the file cannot be decoded to its end.
AnimationFacts readAnimatedPicture(AnimationForm form, const std::filesystem::path& path);

}  // namespace lumivastor::media
