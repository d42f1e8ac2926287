// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <map>
#include <memory>

#include "imaging/content_hash.h"
#include "imaging/picture.h"

namespace lumivastor::imaging {

/// Tells recipes apart by what they show, beyond one run of the program: two recipes with one identity paint equal
/// pixels. Buffers and backgrounds count by their content, decoded pictures by `YuvPicture::source`. Remembers the
/// buffers that it has met, and holds them. One thread at a time.
class RecipeIdentity {
  public:
    RecipeIdentity();
    ~RecipeIdentity();

    /// Adds a recipe to a hash. False, and the hash is of no use, when it contains a decoded picture without a source,
    /// or is too large to be walked through.
    bool add(const Picture& recipe, ContentHasher& hasher);

  private:
    class Walk;

    ContentHash hashOf(const std::shared_ptr<const BgraPremultipliedBuffer>& buffer);

    std::map<std::shared_ptr<const void>, ContentHash> buffers_;
    ContentHasher contents_;
};

}  // namespace lumivastor::imaging
