// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "edit/edit_state.h"
#include "media/writing/asset_writer.h"

namespace lumivastor::render {

/// The film's chapters: one from its beginning on, and one from each mark. None for a film without marks.
std::vector<media::MovieChapter> filmChapters(const edit::EditState& state);

}  // namespace lumivastor::render
