// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/content_hash.h"

#include <charconv>

#include "base/formatted.h"

#define XXH_INLINE_ALL
#include <xxhash.h>

namespace lumivastor::imaging {

namespace {

constexpr std::size_t kDigits = 16;

bool parseHalf(std::string_view digits, std::uint64_t& half) {
    const char* const end = digits.data() + digits.size();
    const auto [rest, error] = std::from_chars(digits.data(), end, half, 16);
    return error == std::errc() && rest == end;
}

}  // namespace

std::string ContentHash::text() const {
    return formatted("%016llx%016llx", static_cast<unsigned long long>(high), static_cast<unsigned long long>(low));
}

std::optional<ContentHash> ContentHash::parse(std::string_view text) {
    ContentHash hash;
    if (text.size() != 2 * kDigits || !parseHalf(text.substr(0, kDigits), hash.high) ||
        !parseHalf(text.substr(kDigits), hash.low)) {
        return std::nullopt;
    }
    return hash;
}

struct ContentHasher::State {
    XXH3_state_t xxh;
};

ContentHasher::ContentHasher() : state_(std::make_unique<State>()) {
    restart();
}

ContentHasher::~ContentHasher() = default;

void ContentHasher::add(const void* bytes, std::size_t count) {
    XXH3_128bits_update(&state_->xxh, bytes, count);
}

void ContentHasher::addText(std::string_view text) {
    addNumber(text.size());
    add(text.data(), text.size());
}

ContentHash ContentHasher::value() const {
    const XXH128_hash_t value = XXH3_128bits_digest(&state_->xxh);
    return {value.high64, value.low64};
}

void ContentHasher::restart() {
    XXH3_128bits_reset(&state_->xxh);
}

}  // namespace lumivastor::imaging
