// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

#include "base/recorder_error.h"
#include "capture/free_space.h"

namespace lumivastor::capture {

/// The bytes that completing this interrupted recording may take: the movies' indexes and the documents. An estimate
/// that is rather too high. Reads only; any thread.
std::uint64_t recoverySpace(const std::filesystem::path& folder);

/// Why completing must wait, with the amount that it takes, as a German sentence; nullopt when there is room, or the
/// system does not tell. `recoverRecording` would otherwise give up the end of the recording for its index.
std::optional<RecorderError> lackOfRecoverySpace(const std::filesystem::path& folder,
                                                 const std::optional<FreeSpace>& space);

}  // namespace lumivastor::capture
