// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/png_file.h"

#include <png.h>

#include <cstring>
#include <string>
#include <vector>

#include "base/file_bytes.h"
#include "base/file_writer.h"
#include "base/recorder_error.h"
#include "base/system_error_text.h"

namespace lumivastor::imaging {

namespace {

// No honest PNG within the pixel limits is larger: 16384 x 16384 x 4 bytes, uncompressed.
constexpr std::uint64_t kMaxFileBytes = std::uint64_t{1} << 30;

// libpng's one-call interface: errors come back as values, nothing jumps over our frames.
class PngImage {
  public:
    PngImage() {
        std::memset(&image_, 0, sizeof image_);
        image_.version = PNG_IMAGE_VERSION;
    }
    ~PngImage() { png_image_free(&image_); }
    PngImage(const PngImage&) = delete;
    PngImage& operator=(const PngImage&) = delete;

    png_image* operator->() { return &image_; }
    png_image* get() { return &image_; }
    bool failed() const { return PNG_IMAGE_FAILED(image_); }

  private:
    png_image image_;
};

void premultiplyRow(std::uint8_t* row, int width) {
    for (int x = 0; x < width; ++x, row += 4) {
        const unsigned alpha = row[3];
        for (int channel = 0; channel < 3; ++channel) {
            // Rounded to nearest: (v * a + 127) / 255.
            row[channel] = static_cast<std::uint8_t>((row[channel] * alpha + 127) / 255);
        }
    }
}

void unpremultipliedRow(const std::uint8_t* row, int width, std::uint8_t* rgba) {
    for (int x = 0; x < width; ++x, row += 4, rgba += 4) {
        const unsigned alpha = row[3];
        for (int channel = 0; channel < 3; ++channel) {
            const unsigned value = alpha == 0 ? 0 : (row[2 - channel] * 255u + alpha / 2) / alpha;
            rgba[channel] = static_cast<std::uint8_t>(value > 255 ? 255 : value);
        }
        rgba[3] = static_cast<std::uint8_t>(alpha);
    }
}

}  // namespace

BgraPremultipliedBuffer decodePng(std::span<const std::byte> bytes, const PngLimits& limits) {
    PngImage image;
    if (png_image_begin_read_from_memory(image.get(), bytes.data(), bytes.size()) == 0) {
        throw RecorderError("Das PNG-Bild ist beschädigt.");
    }
    if (image->width == 0 || image->height == 0 || image->width > static_cast<unsigned>(limits.maxWidth) ||
        image->height > static_cast<unsigned>(limits.maxHeight)) {
        throw RecorderError("Das PNG-Bild ist zu groß.");
    }
    image->format = PNG_FORMAT_BGRA;
    BgraPremultipliedBuffer picture(static_cast<int>(image->width), static_cast<int>(image->height));
    const auto stride = static_cast<png_int_32>(picture.stride());
    if (png_image_finish_read(image.get(), nullptr, picture.row(0), stride, nullptr) == 0 || image.failed()) {
        throw RecorderError("Das PNG-Bild ist beschädigt.");
    }
    for (int y = 0; y < picture.height(); ++y) premultiplyRow(picture.row(y), picture.width());
    return picture;
}

BgraPremultipliedBuffer readPng(const std::filesystem::path& path, const PngLimits& limits) {
    std::error_code error;
    const FileBytes bytes = readFile(path, kMaxFileBytes, error);
    if (error) {
        throw RecorderError("„" + path.filename().string() +
                            "“ konnte nicht gelesen werden: " + systemErrorText(error) + ".");
    }
    return decodePng(bytes.bytes(), limits);
}

std::string encodedPng(const BgraPremultipliedBuffer& picture) {
    PngImage image;
    image->width = static_cast<png_uint_32>(picture.width());
    image->height = static_cast<png_uint_32>(picture.height());
    image->format = PNG_FORMAT_RGBA;
    const auto rowBytes = static_cast<std::size_t>(picture.width()) * 4;
    std::vector<std::uint8_t> rgba(rowBytes * static_cast<std::size_t>(picture.height()));
    for (int y = 0; y < picture.height(); ++y) {
        unpremultipliedRow(picture.row(y), picture.width(), rgba.data() + static_cast<std::size_t>(y) * rowBytes);
    }
    png_alloc_size_t size = 0;
    std::string file;
    if (png_image_write_to_memory(image.get(), nullptr, &size, 0, rgba.data(), 0, nullptr) != 0) file.resize(size);
    if (file.empty() || png_image_write_to_memory(image.get(), file.data(), &size, 0, rgba.data(), 0, nullptr) == 0) {
        throw RecorderError("Das Bild konnte nicht als PNG verpackt werden.");
    }
    file.resize(size);
    return file;
}

void writePng(const std::filesystem::path& path, const BgraPremultipliedBuffer& picture) {
    FileWriter writer(path);
    writer.write(encodedPng(picture));
    if (const std::error_code error = writer.finish()) {
        throw RecorderError("„" + path.filename().string() +
                            "“ konnte nicht geschrieben werden: " + systemErrorText(error) + ".");
    }
}

}  // namespace lumivastor::imaging
