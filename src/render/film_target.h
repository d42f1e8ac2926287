// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

#include "edit/recording.h"
#include "render/film_form.h"

namespace lumivastor::render {

/// Where a film goes: `file`, or a usual name in the recording's folder when that is empty. Throws `RecorderError` when
/// `file` is one of the recording's own files, which an export must not replace.
std::filesystem::path filmTarget(const edit::Recording& recording, FilmForm form, const std::filesystem::path& file);

}  // namespace lumivastor::render
