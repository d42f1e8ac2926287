// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <iosfwd>

#include "cli/verbs/inspect_options.h"
#include "edit/composition.h"

namespace lumivastor::cli {

/// Prints what the edit model derives from a recording as a German report for users: key figures, tables of kept
/// segments and zooms, and the zoom curve as a plot of characters.
void printInspection(const edit::Composition& composition, const InspectOptions& options, std::ostream& out);

}  // namespace lumivastor::cli
