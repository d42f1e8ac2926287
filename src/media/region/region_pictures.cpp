// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/region/region_pictures.h"

#include <cstdlib>
#include <string_view>

namespace lumivastor::media {

bool regionPicturesAreOn() {
    return regionPicturesAreOn(
        std::getenv("LUMIVASTOR_REGION_PICTURES"));  // NOLINT(concurrency-mt-unsafe): said in the header
}

bool regionPicturesAreOn(const char* value) {
    return value == nullptr || std::string_view(value) != "off";
}

}  // namespace lumivastor::media
