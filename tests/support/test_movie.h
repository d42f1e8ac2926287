// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "imaging/pixel_buffer.h"
#include "imaging/yuv_picture.h"

namespace lumivastor {

/// One sound track of a test movie: silence, and a beep with each flash.
struct TestSound {
    int channels = 2;
    int sampleRate = 48000;
    double beepHertz = 1000;
    double amplitude = 0.5;   // of the beep, in every channel
    bool continuous = false;  // one tone from beginning to end instead of beeps
};

/// A synthetic movie: pictures that carry their number in a code that survives encoding, a grey that drifts so that no
/// two pictures are equal, and once a second a white flash for one picture, with a beep that begins with it. Made with
/// FFmpeg directly, so that readers are tested on files that our writer did not make.
struct TestMovieOptions {
    int width = 128;
    int height = 96;
    std::string videoEncoder = "libx264";  // or "libx265"; none: sound only
    int pictures = 60;
    int frameRate = 30;
    std::int32_t timescale = 600;
    /// The time of each picture, in ticks of the timescale, ascending; for variable frame rates. Empty: by frameRate.
    std::vector<std::int64_t> pictureTicks;
    int keyFrameInterval = 250;
    int slices = 0;             // of each H.264 picture; 0: the encoder's default
    int reorderedPictures = 0;  // B pictures in a row
    bool openGroups = false;    // key pictures that earlier pictures refer to
    std::vector<TestSound> sounds;
    double soundSeconds = 0;  // 0: as long as the pictures
    std::string container = "mov";
    bool fragmented = false;
    bool indexFirst = false;  // the index before the samples, as streaming wants it
    int bitRate = 800000;
    imaging::YuvEncoding encoding;  // the tag of the pictures; `paint` must match it
    /// Paints picture `index` instead of the pictures described above.
    std::function<void(int index, const imaging::YuvDestination& picture)> paint;
};

/// Writes the movie. Throws std::runtime_error, with FFmpeg's reason, when it cannot.
void makeTestMovie(const std::filesystem::path& path, const TestMovieOptions& options);

/// When picture `index` of such a movie is shown, and whether it flashes.
double testPictureSeconds(const TestMovieOptions& options, int index);
bool testPictureFlashes(const TestMovieOptions& options, int index);

/// Paints the numbered picture that test movies show.
void paintTestPicture(int index, bool flash, const imaging::YuvDestination& picture);

/// The number in a decoded picture, -1 when it shows none.
int testPictureNumber(const imaging::YuvPicture& picture);
int testPictureNumber(const imaging::BgraPremultipliedBuffer& picture);

/// Whether a decoded picture is a flash.
bool isTestFlash(const imaging::YuvPicture& picture);
bool isTestFlash(const imaging::BgraPremultipliedBuffer& picture);

/// The pictures of a whole movie file in presentation order, decoded by FFmpeg directly, to check our own reader.
/// Throws std::runtime_error for any error of the decoder.
struct DecodedTestPicture {
    double seconds;
    int width;
    int height;
    imaging::YuvPicture picture;
};
std::vector<DecodedTestPicture> decodeTestMovie(const std::filesystem::path& path);

}  // namespace lumivastor
