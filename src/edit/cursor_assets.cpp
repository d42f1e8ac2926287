// SPDX-License-Identifier: GPL-3.0-or-later
#include "edit/cursor_assets.h"

#include <cstdint>
#include <utility>

#include "base/log.h"
#include "base/recorder_error.h"
#include "imaging/png_file.h"
#include "model/recording_folder.h"

namespace lumivastor::edit {

namespace {

// Desktops scale cursors to at most 256 points; four times that leaves room for any scale factor.
constexpr imaging::PngLimits kCursorLimits{1024, 1024};
constexpr std::uint64_t kMaxTotalBytes = 256ull << 20;

}  // namespace

std::map<std::string, CursorAsset> loadCursorAssets(const std::filesystem::path& folder,
                                                    const std::vector<model::CursorImage>& images) {
    std::map<std::string, CursorAsset> assets;
    std::uint64_t total = 0;
    for (const model::CursorImage& image : images) {
        if (!image.visible || assets.contains(image.id)) continue;
        const auto file = model::fileInside(folder, image.file);
        if (!file) {
            Log::write("Studio", "Cursorbild fehlt: " + image.file);
            continue;
        }
        try {
            auto picture =
                std::make_shared<const imaging::BgraPremultipliedBuffer>(imaging::readPng(*file, kCursorLimits));
            total += picture->stride() * static_cast<std::uint64_t>(picture->height());
            if (total > kMaxTotalBytes) {
                Log::write("Studio", "Zu viele Cursorbilder; der Rest wird nicht gezeichnet");
                return assets;
            }
            assets.emplace(image.id, CursorAsset{std::move(picture), image});
        } catch (const RecorderError& error) {
            Log::write("Studio", "Cursorbild " + image.file + ": " + error.message());
        }
    }
    return assets;
}

}  // namespace lumivastor::edit
