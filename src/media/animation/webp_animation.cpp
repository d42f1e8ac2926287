// SPDX-License-Identifier: GPL-3.0-or-later
#include <webp/demux.h>
#include <webp/encode.h>
#include <webp/mux.h>

#include <cmath>
#include <memory>
#include <string>
#include <system_error>

#include "base/file_bytes.h"
#include "base/recorder_error.h"
#include "base/system_error_text.h"
#include "media/animation/animation_forms.h"

namespace lumivastor::media {

namespace {

struct WebPFree {
    void operator()(WebPAnimEncoder* encoder) const { WebPAnimEncoderDelete(encoder); }
    void operator()(WebPAnimDecoder* decoder) const { WebPAnimDecoderDelete(decoder); }
};

// Measured in docs/decisions/0017-forms-of-films.md.
constexpr float kQuality = 85;
constexpr int kMethod = 2;

int milliseconds(double seconds) {
    return static_cast<int>(std::lround(seconds * 1000));
}

class WebPWriter final : public AnimatedPictureWriter {
  public:
    WebPWriter(const std::filesystem::path& path, const std::string& shownName, PixelSize size)
        : AnimatedPictureWriter(path, shownName, size) {
        WebPAnimEncoderOptions options;
        if (WebPAnimEncoderOptionsInit(&options) == 0 || WebPConfigInit(&config_) == 0) {
            throw RecorderError("Der WebP-Encoder konnte nicht geöffnet werden.");
        }
        options.anim_params.loop_count = 0;
        // No key pictures: a browser plays from the beginning.
        options.kmin = 0;
        options.kmax = 0;
        config_.lossless = 0;
        config_.quality = kQuality;
        config_.method = kMethod;
        config_.use_sharp_yuv = 1;  // coloured text keeps its edges
        config_.thread_level = 1;
        encoder_.reset(WebPAnimEncoderNew(size.width, size.height, &options));
        if (!encoder_) throw RecorderError("Der Arbeitsspeicher reicht nicht.");
    }

  private:
    void show(const imaging::BgraPremultipliedBuffer& picture, double seconds) override {
        WebPPicture frame;
        if (WebPPictureInit(&frame) == 0) throw RecorderError("Der WebP-Encoder konnte nicht geöffnet werden.");
        const std::unique_ptr<WebPPicture, decltype(&WebPPictureFree)> owner(&frame, WebPPictureFree);
        frame.use_argb = 1;
        frame.width = picture.width();
        frame.height = picture.height();
        if (WebPPictureImportBGRX(&frame, picture.row(0), static_cast<int>(picture.stride())) == 0) {
            throw RecorderError("Der Arbeitsspeicher reicht nicht.");
        }
        check(WebPAnimEncoderAdd(encoder_.get(), &frame, milliseconds(seconds), &config_));
    }

    void end(double seconds) override {
        check(WebPAnimEncoderAdd(encoder_.get(), nullptr, milliseconds(seconds), nullptr));
        WebPData data;
        WebPDataInit(&data);
        check(WebPAnimEncoderAssemble(encoder_.get(), &data));
        const std::unique_ptr<WebPData, decltype(&WebPDataClear)> owner(&data, WebPDataClear);
        write(data.bytes, data.size);
    }

    void check(int result) {
        if (result != 0) return;
        const char* const reason = WebPAnimEncoderGetError(encoder_.get());
        throw RecorderError(std::string("Ein Bild konnte nicht kodiert werden: ") + (reason != nullptr ? reason : "?") +
                            ".");
    }

    WebPConfig config_{};
    std::unique_ptr<WebPAnimEncoder, WebPFree> encoder_;
};

}  // namespace

std::unique_ptr<AnimatedPictureWriter> makeWebPWriter(const std::filesystem::path& path, const std::string& shownName,
                                                      PixelSize size) {
    return std::make_unique<WebPWriter>(path, shownName, size);
}

AnimationFacts readWebP(const std::filesystem::path& path) {
    constexpr std::uint64_t kLargest = 1ULL << 30;
    std::error_code error;
    const FileBytes file = readFile(path, kLargest, error);
    if (error) {
        throw RecorderError(path.filename().string() + " konnte nicht gelesen werden: " + systemErrorText(error) + ".");
    }
    const WebPData data{reinterpret_cast<const std::uint8_t*>(file.data()), file.size()};
    const std::unique_ptr<WebPAnimDecoder, WebPFree> decoder(WebPAnimDecoderNew(&data, nullptr));
    WebPAnimInfo info;
    if (!decoder || WebPAnimDecoderGetInfo(decoder.get(), &info) == 0) {
        throw RecorderError(path.filename().string() + " konnte nicht gelesen werden.");
    }
    AnimationFacts facts;
    facts.size = {static_cast<int>(info.canvas_width), static_cast<int>(info.canvas_height)};
    facts.loops = static_cast<int>(info.loop_count);
    while (WebPAnimDecoderHasMoreFrames(decoder.get()) != 0) {
        std::uint8_t* pixels = nullptr;
        int end = 0;
        if (WebPAnimDecoderGetNext(decoder.get(), &pixels, &end) == 0) {
            throw RecorderError(path.filename().string() + " konnte nicht gelesen werden.");
        }
        ++facts.pictures;
        facts.seconds = end / 1000.0;
    }
    return facts;
}

}  // namespace lumivastor::media
