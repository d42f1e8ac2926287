// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

#include "imaging/pixel_buffer.h"

// Golden pictures: PNG files in the tree to which painted results are compared.
//
// To renew them after an intended change, run the tests once with LUMI_UPDATE_GOLDEN=1 in the environment, examine the
// files that `git status` lists, and commit them.

namespace lumivastor {

/// Fails the running test unless `actual` equals the PNG at `golden` within `tolerance` of 255 in every channel
/// (premultiplied). On failure `<name>.actual.png`, `<name>.expected.png` and `<name>.difference.png` (differences
/// times 16, opaque) are written to the folder `golden-failures` in the working directory, which the message names.
void expectGolden(const imaging::BgraPremultipliedBuffer& actual, const std::filesystem::path& golden,
                  int tolerance = 2);

}  // namespace lumivastor
