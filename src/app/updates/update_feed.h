// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace lumivastor::app {

/// An available version of the program.
struct Release {
    std::string version;  // numbers with points between them: "1.2", "1.10.3"
    std::string url;      // its page or file; https
    bool operator==(const Release&) const = default;
};

/// Longer feeds are not read.
inline constexpr std::size_t kFeedLimit = 256 * 1024;

/// The newest release of a feed:
///
///     {"releases": [{"version": "1.2.0", "url": "https://..."}, ...]}
///
/// The bytes come from the network and are untrusted: anything but such a document has no release, and entries of
/// another form, or with an address that is not safe to open, are skipped.
std::optional<Release> newestRelease(std::string_view feed);

/// Whether `version` is later than `than`. Compares numerically, and missing numbers are 0. False when one of them is
/// no version.
bool isNewer(std::string_view version, std::string_view than);

}  // namespace lumivastor::app
