// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <iosfwd>

#include "cli/verbs/inspect_options.h"
#include "edit/composition.h"

namespace lumivastor::cli {

/// Writes what the edit model derives from a recording as one JSON document, for programs. Throws `RecorderError` when
/// a derived number is not finite.
void writeInspection(const edit::Composition& composition, const InspectOptions& options, std::ostream& out);

}  // namespace lumivastor::cli
