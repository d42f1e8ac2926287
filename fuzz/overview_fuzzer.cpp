// SPDX-License-Identifier: GPL-3.0-or-later

// A file of the overviews' cache from anywhere: read or ignored; what was read survives being written.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>

#include "base/stable_hash.h"
#include "render/overview/overview_file.h"

namespace {

using namespace lumivastor;

constexpr std::uint64_t kMovie = 0x0706'0504'0302'0100;

// A fuzzer hardly ever finds a checksum: the bytes get the right one.
std::string sealed(const std::uint8_t* data, std::size_t size) {
    std::string bytes(reinterpret_cast<const char*>(data), size);
    StableHash hash;
    hash.add(bytes.data(), bytes.size());
    for (std::size_t i = 0; i < sizeof(std::uint64_t); ++i) {
        bytes.push_back(static_cast<char>(hash.value() >> (8 * i) & 0xff));
    }
    return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes = sealed(data, size);
    const auto read = render::parseOverview(std::as_bytes(std::span(bytes)), kMovie);
    if (!read) return 0;
    const std::string written = render::overviewBytes(*read, kMovie);
    const auto again = render::parseOverview(std::as_bytes(std::span(written)), kMovie);
    if (!again || again->stillStretches != read->stillStretches) std::abort();
    if (again->pictures.size() != read->pictures.size()) std::abort();
    const auto levels = [](const auto& sound) {
        return sound == nullptr ? std::span<const std::uint8_t>() : sound->levels();
    };
    if (!std::ranges::equal(levels(again->systemSound), levels(read->systemSound))) std::abort();
    return 0;
}
