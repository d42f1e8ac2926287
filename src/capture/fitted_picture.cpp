#include "capture/fitted_picture.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace lumivastor {

std::shared_ptr<const BgraPremultipliedBuffer> fittedPicture(std::shared_ptr<const BgraPremultipliedBuffer> picture,
                                                             int width, int height) {
    if (picture->width() == width && picture->height() == height) return picture;
    auto fitted = std::make_shared<BgraPremultipliedBuffer>(width, height);
    const auto shared = static_cast<std::size_t>(std::min(width, picture->width())) * 4;
    for (int y = 0; y < height; ++y) {
        std::size_t filled = 0;
        if (y < picture->height()) {
            std::memcpy(fitted->row(y), picture->row(y), shared);
            filled = shared;
        }
        for (std::size_t x = filled + 3; x < static_cast<std::size_t>(width) * 4; x += 4) fitted->row(y)[x] = 255;
    }
    return fitted;
}

}  // namespace lumivastor
