// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "imaging/pixel_buffer.h"
#include "model/pointer_track.h"

namespace lumivastor::edit {

/// A recorded cursor shape with its decoded picture.
struct CursorAsset {
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> picture;
    model::CursorImage image;
};

/// Loads the pictures of a recording's cursor shapes, by id. A shape that is not visible, lies outside the folder,
/// cannot be decoded or is larger than any cursor is left out and not drawn. All pictures together take at most 256 MB;
/// further ones are left out, too. Any thread.
std::map<std::string, CursorAsset> loadCursorAssets(const std::filesystem::path& folder,
                                                    const std::vector<model::CursorImage>& images);

}  // namespace lumivastor::edit
