// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <string>

#include "platform/wayland/portal_screencast.h"

namespace lumivastor::wayland {

/// The tokens with which the portal grants the last display and the last window again without a dialog: a small JSON
/// file. One thread at a time. Nothing here fails: without a token the dialog comes.
class RestoreTokens {
  public:
    /// `folder`: where the file is, or will be; it is created when it is needed.
    explicit RestoreTokens(const std::filesystem::path& folder);

    /// Empty when there is none.
    std::string token(SharedSource source) const;
    /// Replaces the file as a whole. An empty token removes the one that was there.
    void store(SharedSource source, const std::string& token) const;

  private:
    const std::filesystem::path path_;
};

}  // namespace lumivastor::wayland
