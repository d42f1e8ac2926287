// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>

namespace lumivastor {

/// FNV-1a with 64 bits: equal bytes have equal hashes on every machine. Detects damage and distinguishes pictures; it
/// is no protection against deliberate changes.
class StableHash {
  public:
    void add(const void* bytes, std::size_t count) {
        const auto* byte = static_cast<const unsigned char*>(bytes);
        for (std::size_t i = 0; i < count; ++i) value_ = (value_ ^ byte[i]) * 0x100000001b3u;
    }
    std::uint64_t value() const { return value_; }
    std::uint32_t folded() const { return static_cast<std::uint32_t>(value_ ^ (value_ >> 32)); }

  private:
    std::uint64_t value_ = 0xcbf29ce484222325u;
};

}  // namespace lumivastor
