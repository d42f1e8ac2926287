// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

namespace lumivastor::imaging {

/// 128 bits that stand for some content: equal content has equal hashes on every machine, and other content practically
/// never has. No protection against those who want two contents to be taken for one.
struct ContentHash {
    std::uint64_t high = 0;
    std::uint64_t low = 0;

    auto operator<=>(const ContentHash&) const = default;

    /// 32 hexadecimal digits.
    std::string text() const;
    static std::optional<ContentHash> parse(std::string_view text);
};

/// Hashes bytes and values one after the other. One thread at a time.
class ContentHasher {
  public:
    ContentHasher();
    ~ContentHasher();
    ContentHasher(const ContentHasher&) = delete;
    ContentHasher& operator=(const ContentHasher&) = delete;

    void add(const void* bytes, std::size_t count);
    /// With its length, so that two texts are not one.
    void addText(std::string_view text);
    /// A number's bits. Floating-point zeros of both signs count as different.
    template <typename Number>
    requires std::is_arithmetic_v<Number> || std::is_enum_v<Number>
    void addNumber(Number number) { add(&number, sizeof number); }
    void addHash(const ContentHash& hash) {
        addNumber(hash.high);
        addNumber(hash.low);
    }

    /// Of everything added since the last `restart`.
    ContentHash value() const;
    void restart();

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace lumivastor::imaging
