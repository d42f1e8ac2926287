// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/reuse/group_record.h"

#include <charconv>

#include "base/formatted.h"

namespace lumivastor::render {

namespace {

constexpr std::string_view kGroup = "group";

std::string carryText(const media::RateCarry& carry) {
    return formatted("%d %d %d %d %d %d", carry.saved, carry.isInMotion ? 1 : 0, carry.motionTenths, carry.motionFactor,
                     carry.motionSize, carry.largestSize);
}

// The words of a line, one after the other.
class Words {
  public:
    explicit Words(std::string_view line) : rest_(line) {}

    std::string_view next() {
        const std::size_t end = std::min(rest_.find(' '), rest_.size());
        const std::string_view word = rest_.substr(0, end);
        rest_.remove_prefix(std::min(end + 1, rest_.size()));
        return word;
    }
    template <typename Number>
    bool read(Number& number) {
        const std::string_view word = next();
        const auto [rest, error] = std::from_chars(word.data(), word.data() + word.size(), number);
        return error == std::errc() && rest == word.data() + word.size();
    }
    bool read(imaging::ContentHash& hash) {
        const auto parsed = imaging::ContentHash::parse(next());
        if (parsed) hash = *parsed;
        return parsed.has_value();
    }
    bool read(media::RateCarry& carry) {
        int isInMotion = 0;
        const bool isRead = read(carry.saved) && read(isInMotion) && read(carry.motionTenths) &&
                            read(carry.motionFactor) && read(carry.motionSize) && read(carry.largestSize);
        carry.isInMotion = isInMotion == 1;
        return isRead && media::isPossible(carry);
    }
    bool isAtEnd() const { return rest_.empty(); }

  private:
    std::string_view rest_;
};

}  // namespace

imaging::ContentHash checksumOf(const media::CodedGroup& group) {
    imaging::ContentHasher hasher;
    hasher.addNumber(group.sizes.size());
    for (const std::uint32_t size : group.sizes) hasher.addNumber(size);
    hasher.add(group.bytes.data(), group.bytes.size());
    return hasher.value();
}

GroupRecord recordOf(const GroupKey& key, const media::CodedGroup& group) {
    return {key, group.carry, static_cast<std::uint32_t>(group.sizes.size()), group.bytes.size(), checksumOf(group)};
}

std::string lineOf(const GroupRecord& record) {
    return std::string(kGroup) + ' ' + record.key.content.text() + ' ' + carryText(record.key.start) + ' ' +
           carryText(record.end) +
           formatted(" %u %llu ", record.pictures, static_cast<unsigned long long>(record.bytes)) +
           record.checksum.text();
}

std::optional<GroupRecord> parseRecord(std::string_view line) {
    Words words(line);
    GroupRecord record;
    const bool isRead = words.next() == kGroup && words.read(record.key.content) && words.read(record.key.start) &&
                        words.read(record.end) && words.read(record.pictures) && words.read(record.bytes) &&
                        words.read(record.checksum) && words.isAtEnd();
    const bool isPossible = record.pictures > 0 && record.pictures <= kMostGroupPictures && record.bytes > 0 &&
                            record.bytes <= kLargestGroup;
    if (!isRead || !isPossible) return std::nullopt;
    return record;
}

}  // namespace lumivastor::render
