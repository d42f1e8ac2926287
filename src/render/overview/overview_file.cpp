// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/overview/overview_file.h"

#include <bit>
#include <cmath>
#include <utility>
#include <vector>

#include "base/recorder_error.h"
#include "base/stable_hash.h"
#include "imaging/png_file.h"

namespace lumivastor::render {

namespace {

constexpr std::string_view kMagic = "LumiOvrv";
// Larger than anything that is written: the longest recordings last a day, and pictures are wider only by far.
constexpr std::uint32_t kMostLevels = 24 * 3600 * Waveform::kLevelsPerSecond;
constexpr std::uint32_t kMostPictures = 1000;
constexpr std::uint32_t kMostStretches = 1'000'000;
constexpr int kWidestPicture = 2048;
constexpr double kLongestSeconds = 1e6;

class Writer {
  public:
    template <typename Number>
    void number(Number value) {
        for (std::size_t i = 0; i < sizeof(Number); ++i) bytes_.push_back(static_cast<char>(value >> (8 * i) & 0xff));
    }
    void seconds(double value) { number(std::bit_cast<std::uint64_t>(value)); }
    void text(std::string_view value) { bytes_ += value; }
    void block(std::string_view value) {
        number(static_cast<std::uint32_t>(value.size()));
        text(value);
    }
    std::string finish() {
        StableHash hash;
        hash.add(bytes_.data(), bytes_.size());
        number(hash.value());
        return std::move(bytes_);
    }

  private:
    std::string bytes_;
};

// Reads until something does not fit; from then on everything is 0 and empty.
class Reader {
  public:
    explicit Reader(std::span<const std::byte> bytes) : rest_(bytes) {}

    template <typename Number>
    Number number() {
        const auto bytes = take(sizeof(Number));
        Number value = 0;
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            value = static_cast<Number>(value | static_cast<Number>(std::to_integer<Number>(bytes[i]) << (8 * i)));
        }
        return value;
    }
    double seconds() {
        const double value = std::bit_cast<double>(number<std::uint64_t>());
        if (std::isfinite(value) && value >= -kLongestSeconds && value <= kLongestSeconds) return value;
        isGood_ = false;
        return 0;
    }
    // A number of entries, each of at least `bytes` bytes.
    std::uint32_t count(std::uint32_t most, std::size_t bytes) {
        const auto value = number<std::uint32_t>();
        if (value <= most && value <= rest_.size() / bytes) return value;
        isGood_ = false;
        return 0;
    }
    std::span<const std::byte> take(std::size_t count) {
        if (!isGood_ || count > rest_.size()) {
            isGood_ = false;
            return {};
        }
        const auto taken = rest_.first(count);
        rest_ = rest_.subspan(count);
        return taken;
    }
    void refuse() { isGood_ = false; }
    bool isGood() const { return isGood_; }
    bool isAtEnd() const { return isGood_ && rest_.empty(); }

  private:
    std::span<const std::byte> rest_;
    bool isGood_ = true;
};

void writeWaveform(Writer& writer, const Waveform* waveform) {
    writer.number(static_cast<std::uint8_t>(waveform != nullptr ? 1 : 0));
    if (waveform == nullptr) return;
    const auto levels = waveform->levels();
    writer.block({reinterpret_cast<const char*>(levels.data()), levels.size()});
}

std::shared_ptr<const Waveform> readWaveform(Reader& reader) {
    if (reader.number<std::uint8_t>() == 0) return nullptr;
    const auto bytes = reader.take(reader.count(kMostLevels, 1));
    const auto* const levels = reinterpret_cast<const std::uint8_t*>(bytes.data());
    return std::make_shared<const Waveform>(std::vector<std::uint8_t>(levels, levels + bytes.size()));
}

void readStretches(Reader& reader, std::vector<Interval>& stretches) {
    const std::uint32_t count = reader.count(kMostStretches, 2 * sizeof(double));
    double last = -kLongestSeconds;
    for (std::uint32_t i = 0; i < count && reader.isGood(); ++i) {
        const double start = reader.seconds();
        const double end = reader.seconds();
        if (start < last || end < start) reader.refuse();
        last = end;
        stretches.push_back({start, end});
    }
}

void readPictures(Reader& reader, std::vector<SmallPicture>& pictures) {
    const std::uint32_t count = reader.count(kMostPictures, sizeof(double) + sizeof(std::uint32_t));
    for (std::uint32_t i = 0; i < count && reader.isGood(); ++i) {
        const double seconds = reader.seconds();
        if (!pictures.empty() && seconds < pictures.back().seconds) reader.refuse();
        const auto png = reader.take(reader.count(kLargestOverviewFile, 1));
        if (!reader.isGood()) return;
        auto pixels = std::make_shared<const imaging::BgraPremultipliedBuffer>(
            imaging::decodePng(png, {kWidestPicture, kSmallPictureHeight}));
        if (pixels->isEmpty()) reader.refuse();
        pictures.push_back({seconds, std::move(pixels)});
    }
}

}  // namespace

std::string overviewBytes(const RecordingOverview& overview, std::uint64_t movie) {
    Writer writer;
    writer.text(kMagic);
    writer.number(kOverviewVersion);
    writer.number(movie);
    writer.number(static_cast<std::uint32_t>(overview.stillStretches.size()));
    for (const Interval& stretch : overview.stillStretches) {
        writer.seconds(stretch.start);
        writer.seconds(stretch.end);
    }
    writeWaveform(writer, overview.systemSound.get());
    writeWaveform(writer, overview.microphone.get());
    writer.number(static_cast<std::uint32_t>(overview.pictures.size()));
    for (const SmallPicture& picture : overview.pictures) {
        writer.seconds(picture.seconds);
        writer.block(imaging::encodedPng(*picture.pixels));
    }
    return writer.finish();
}

std::optional<RecordingOverview> parseOverview(std::span<const std::byte> bytes, std::uint64_t movie) {
    if (bytes.size() < sizeof(std::uint64_t)) return std::nullopt;
    const auto content = bytes.first(bytes.size() - sizeof(std::uint64_t));
    StableHash hash;
    hash.add(content.data(), content.size());
    if (Reader(bytes.subspan(content.size())).number<std::uint64_t>() != hash.value()) return std::nullopt;

    Reader reader(content);
    const auto magic = reader.take(kMagic.size());
    if (std::string_view(reinterpret_cast<const char*>(magic.data()), magic.size()) != kMagic) return std::nullopt;
    if (reader.number<std::uint32_t>() != kOverviewVersion) return std::nullopt;
    if (reader.number<std::uint64_t>() != movie) return std::nullopt;
    RecordingOverview overview;
    try {
        readStretches(reader, overview.stillStretches);
        overview.systemSound = readWaveform(reader);
        overview.microphone = readWaveform(reader);
        readPictures(reader, overview.pictures);
    } catch (const RecorderError&) {
        return std::nullopt;
    }
    if (!reader.isAtEnd()) return std::nullopt;
    overview.knowsSound = true;
    overview.isComplete = true;
    return overview;
}

}  // namespace lumivastor::render
