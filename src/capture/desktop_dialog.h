// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>

#include "platform/content_picker.h"

// What users are told about a desktop whose own dialog chooses. Pure functions.

namespace lumivastor::capture {

/// Why the dialog cannot grant content of this kind, as a German sentence; nullopt when it can.
std::optional<std::string> dialogRefusal(platform::ContentPicker::Kind kind,
                                         const platform::ContentPicker::Offer& offer);

/// What a recording will lack of the pointer, as a German sentence; nullopt when nothing.
std::optional<std::string> pointerRemark(platform::PointerKnowledge pointer);

}  // namespace lumivastor::capture
