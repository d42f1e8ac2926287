// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace lumivastor::app {

/// A version of the program that can be had.
struct Release {
    std::string version;  // numbers with points between them: "1.2", "1.10.3"
    std::string url;      // of the page or file to get it from; https
    bool operator==(const Release&) const = default;
};

/// A feed is never longer.
inline constexpr std::size_t kFeedLimit = 256 * 1024;

/// The newest release of a feed:
///
///     {"releases": [{"version": "1.2.0", "url": "https://..."}, ...]}
///
/// The bytes come from the network: what is no such document has no release, and entries that are not as above, or name
/// no address that is safe to open, are passed over.
std::optional<Release> newestRelease(std::string_view feed);

/// Whether `version` is later than `than`; numbers count as numbers, missing ones as 0. False when one of them is no
/// version.
bool isNewer(std::string_view version, std::string_view than);

}  // namespace lumivastor::app
