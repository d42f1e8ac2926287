// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace lumivastor::media {

/// Whether this process writes region pictures: unless the environment variable LUMIVASTOR_REGION_PICTURES is "off".
/// For recordings and exports alike, should a player have trouble with them. Any thread; the environment does not
/// change.
bool regionPicturesAreOn();

/// The same for a value of that variable; null: it is not set.
bool regionPicturesAreOn(const char* value);

}  // namespace lumivastor::media
