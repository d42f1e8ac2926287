// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/painting/axis_table.h"

#include <algorithm>
#include <cmath>

namespace lumivastor::imaging {

namespace {

// Stores the weights of one sample so that they sum up to one exactly: what rounding takes from one tap the next gets.
void storeWeights(AxisTable& table, int sample, const double* weights, double sum) {
    double exact = 0;
    int stored = 0;
    std::int16_t* to = table.weights.data() + static_cast<std::size_t>(sample / 16 * table.taps) * 16 +
                       static_cast<std::size_t>(sample % 16);
    for (int tap = 0; tap < table.taps; ++tap) {
        exact += weights[tap] / sum * kKernelWeightOne;
        // Rounded to nearest; the sums never leave -4...5 times one.
        const int upTo = static_cast<int>(exact + 131072.5) - 131072;
        to[static_cast<std::ptrdiff_t>(tap) * 16] = static_cast<std::int16_t>(upTo - stored);
        stored = upTo;
    }
}

// Samples beside the span repeat the span's ends, so that whole blocks can be filtered.
void repeatEnds(AxisTable& table, AxisSpan span) {
    const int from = span.begin / 16 * 16;
    const int to = std::min((span.end + 15) / 16 * 16, table.count);
    for (int i = from; i < span.begin; ++i)
        table.first[static_cast<std::size_t>(i)] = table.first[static_cast<std::size_t>(span.begin)];
    for (int i = span.end; i < to; ++i)
        table.first[static_cast<std::size_t>(i)] = table.first[static_cast<std::size_t>(span.end - 1)];
}

// Picks for the blocks that the span touches: as few runs of 16 bytes a block as all of them get along with.
void preparePicks(AxisTable& table, AxisSpan span) {
    const auto firstOf = [&](int sample) {
        return table.first[static_cast<std::size_t>(std::min(sample, table.count - 1))];
    };
    const int from = span.begin / 16;
    const int to = (span.end + 15) / 16;
    const auto fits = [&](int parts) {
        const int group = 16 / parts;
        for (int sample = from * 16; sample < to * 16; sample += group) {
            const int last = std::min({sample + group, span.end, table.count}) - 1;
            if (last > sample && firstOf(last) - firstOf(sample) > 15) return false;
        }
        return true;
    };
    table.parts = 1;
    while (table.parts < 16 && !fits(table.parts)) table.parts *= 2;
    const auto size = static_cast<std::size_t>((table.count + 15) / 16 * table.parts);
    table.partStart.assign(size, 0);
    table.partPicks.assign(size * 16, 128);
    const int group = 16 / table.parts;
    for (int block = from; block < to; ++block) {
        for (int part = 0; part < table.parts; ++part) {
            const auto at = static_cast<std::size_t>(block * table.parts + part);
            const int sample = block * 16 + part * group;
            table.partStart[at] = firstOf(std::min(sample, span.end - 1));
            for (int i = 0; i < group; ++i) {
                const int distance = firstOf(std::min(sample + i, span.end - 1)) - table.partStart[at];
                table.partPicks[at * 16 + static_cast<std::size_t>(part * group + i)] =
                    static_cast<std::uint8_t>(distance);
            }
        }
    }
}

void finish(AxisTable& table, AxisSpan span) {
    repeatEnds(table, span);
    table.contiguous = table.taps == 1;
    for (int i = span.begin + 1; i < span.end && table.contiguous; ++i) {
        table.contiguous = table.first[static_cast<std::size_t>(i)] == table.first[static_cast<std::size_t>(i - 1)] + 1;
    }
    if (!table.contiguous) preparePicks(table, span);
}

AxisTable sized(std::size_t count, int taps) {
    AxisTable table;
    table.count = static_cast<int>(count);
    table.taps = taps;
    table.first.assign(count, 0);
    table.weights.assign((count + 15) / 16 * 16 * static_cast<std::size_t>(taps), 0);
    return table;
}

}  // namespace

AxisTable makeKernelTable(std::span<const double> positions, AxisSpan span, double scale, SampleRange readable,
                          int count) {
    const double wide = kernelWidening(scale, count);
    const auto isWhole = [](double value) { return std::abs(value - std::round(value)) < 1e-9; };
    const int length = readable.last - readable.first + 1;
    bool copies = wide == 1;
    for (int i = span.begin; i < span.end && copies; ++i) copies = isWhole(positions[static_cast<std::size_t>(i)]);
    const int taps = copies ? 1 : std::min(static_cast<int>(std::ceil(2 * kKernelReach * wide)), length);
    AxisTable table = sized(positions.size(), taps);
    std::vector<double> weights(static_cast<std::size_t>(taps));
    for (int i = span.begin; i < span.end; ++i) {
        const double reach = kKernelReach * wide;
        const double position =
            std::clamp(positions[static_cast<std::size_t>(i)], readable.first - reach - 1, readable.last + reach + 1);
        if (copies) {
            const double one = 1;
            const double nearest = std::clamp(std::round(position), double(readable.first), double(readable.last));
            table.first[static_cast<std::size_t>(i)] = static_cast<int>(nearest);
            storeWeights(table, i, &one, 1);
            continue;
        }
        const int from = static_cast<int>(std::floor(position - reach)) + 1;
        const int to = static_cast<int>(std::ceil(position + reach)) - 1;
        const int first = std::clamp(from, readable.first, readable.last - taps + 1);
        std::fill(weights.begin(), weights.end(), 0.0);
        double sum = 0;
        for (int sample = from; sample <= to; ++sample) {
            const double weight = kernelAt((sample - position) / wide);
            weights[static_cast<std::size_t>(std::clamp(sample, readable.first, readable.last) - first)] += weight;
            sum += weight;
        }
        table.first[static_cast<std::size_t>(i)] = first;
        storeWeights(table, i, weights.data(), sum);
    }
    finish(table, span);
    return table;
}

std::shared_ptr<const AxisTable> AxisTableCache::kernelTable(std::span<const double> positions, AxisSpan span,
                                                             double scale, SampleRange readable, int count) {
    for (Entry& entry : entries_) {
        if (entry.span == span && entry.scale == scale && entry.readable == readable && entry.count == count &&
            std::equal(entry.positions.begin(), entry.positions.end(), positions.begin(), positions.end())) {
            entry.lastUse = frame_;
            return entry.table;
        }
    }
    auto table = std::make_shared<const AxisTable>(makeKernelTable(positions, span, scale, readable, count));
    entries_.push_back({{positions.begin(), positions.end()}, span, scale, readable, count, table, frame_});
    return table;
}

void AxisTableCache::tidy() {
    ++frame_;
    std::erase_if(entries_, [&](const Entry& entry) { return entry.lastUse + 2 < frame_; });
}

AxisTable makeAreaTable(std::span<const double> lows, std::span<const double> highs, AxisSpan span, int count) {
    std::vector<int> firsts(lows.size());
    int taps = 1;
    for (std::size_t at = 0; at < firsts.size(); ++at) {
        firsts[at] = std::clamp(static_cast<int>(std::floor(lows[at] + 1e-9)), 0, count - 1);
        const int last = std::clamp(static_cast<int>(std::ceil(highs[at] - 1e-9)) - 1, firsts[at], count - 1);
        taps = std::max(taps, last - firsts[at] + 1);
    }
    AxisTable table = sized(static_cast<std::size_t>(span.end), taps);
    std::vector<double> weights(static_cast<std::size_t>(taps));
    for (std::size_t at = 0; at < firsts.size(); ++at) {
        const int first = std::clamp(firsts[at], 0, count - taps);
        double sum = 0;
        for (int tap = 0; tap < taps; ++tap) {
            const double low = first + tap;
            weights[static_cast<std::size_t>(tap)] = sharedLength(low, low + 1, lows[at], highs[at]);
            sum += weights[static_cast<std::size_t>(tap)];
        }
        if (!(sum > 0)) weights[static_cast<std::size_t>(firsts[at] - first)] = sum = 1;
        const int sample = span.begin + static_cast<int>(at);
        table.first[static_cast<std::size_t>(sample)] = first;
        storeWeights(table, sample, weights.data(), sum);
    }
    finish(table, span);
    return table;
}

}  // namespace lumivastor::imaging
