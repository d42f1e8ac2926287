// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

#include "imaging/pixel_buffer.h"

// Pictures in the tree that say what painted results look like.
//
// To make them anew after an intended change, run the tests once with LUMI_UPDATE_GOLDEN=1 in the environment, look at
// what `git status` then lists, and commit it.

namespace lumivastor {

/// Fails the running test unless `actual` equals the PNG at `golden` within `tolerance` of 255 in every channel
/// (premultiplied). On failure `<name>.actual.png`, `<name>.expected.png` and `<name>.difference.png` (differences
/// times 16, opaque) are written to the folder `golden-failures` in the working directory, which the message names.
void expectGolden(const imaging::BgraPremultipliedBuffer& actual, const std::filesystem::path& golden,
                  int tolerance = 2);

}  // namespace lumivastor
