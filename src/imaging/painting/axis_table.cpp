// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/painting/axis_table.h"

#include <algorithm>
#include <cmath>

namespace lumivastor::imaging {

namespace {

// The weight of a sample's first tap; those of the others follow 16 further each.
std::int16_t* weightsOf(AxisTable& table, int sample) {
    return table.weights.data() + static_cast<std::size_t>(sample / 16 * table.taps) * 16 +
           static_cast<std::size_t>(sample % 16);
}

// One tap has all the weight.
void storeOne(AxisTable& table, int sample, int tap) {
    weightsOf(table, sample)[static_cast<std::ptrdiff_t>(tap) * 16] = kKernelWeightOne;
}

// Stores the weights of one sample so that they sum up to one exactly: what rounding takes from one tap the next gets.
void storeWeights(AxisTable& table, int sample, const double* weights, double sum) {
    double exact = 0;
    int stored = 0;
    std::int16_t* to = weightsOf(table, sample);
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

// Picks for the blocks that the span touches: as few runs of 16 bytes a half as all of them get along with.
void preparePicks(AxisTable& table, AxisSpan span) {
    const auto firstOf = [&](int sample) {
        return table.first[static_cast<std::size_t>(std::min(sample, span.end - 1))];
    };
    const int from = span.begin / 16;
    const int to = (span.end + 15) / 16;
    const auto furthest = [&](int group) {
        int distance = 0;
        for (int sample = from * 16; sample < to * 16; sample += group) {
            distance = std::max(distance, firstOf(sample + group - 1) - firstOf(sample));
        }
        return distance;
    };
    table.runs = 1;
    while (table.runs < 8 && furthest(8 / table.runs) > 15) table.runs *= 2;
    table.isCompact = table.runs == 1 && furthest(8) + table.taps <= 16;
    const int blocks = (table.count + 15) / 16;
    table.runStart.assign(static_cast<std::size_t>(blocks * table.runs * 2), 0);
    table.picks.assign(static_cast<std::size_t>(blocks * table.runs * 32), 128);
    const int group = 8 / table.runs;
    for (int block = from; block < to; ++block) {
        for (int run = 0; run < table.runs; ++run) {
            for (int half = 0; half < 2; ++half) {
                const auto at = static_cast<std::size_t>((block * table.runs + run) * 2 + half);
                const int sample = block * 16 + half * 8 + run * group;
                const int start = firstOf(sample);
                table.runStart[at] = start;
                std::uint8_t* picks = table.picks.data() + at * 16 + static_cast<std::ptrdiff_t>(run) * group * 2;
                for (int i = 0; i < group; ++i) {
                    picks[i * 2 + 1] = static_cast<std::uint8_t>(firstOf(sample + i) - start);
                }
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

// Stores the four taps of a magnification for the samples in `span` whose taps are all readable; returns which those
// are. It does for many samples at once what makeKernelTable does for each: camera moves need new tables for each
// frame.
AxisSpan storeInnerSamples(AxisTable& table, std::span<const double> positions, AxisSpan span, SampleRange readable) {
    const auto isInside = [&](int i) {
        const double position = positions[static_cast<std::size_t>(i)];
        return position >= readable.first + 1 && position < readable.last - 1;
    };
    while (span.begin < span.end && !isInside(span.begin)) ++span.begin;
    while (span.end > span.begin && !isInside(span.end - 1)) --span.end;
    for (int begin = span.begin / 16 * 16; begin < span.end; begin += 16) {
        const int from = std::max(begin, span.begin);
        const int end = std::min(begin + 16, span.end);
        float fractions[16] = {};
        for (int i = from; i < end; ++i) {
            const double position = positions[static_cast<std::size_t>(i)];
            const int cell = static_cast<int>(position);
            table.first[static_cast<std::size_t>(i)] = cell - 1;
            fractions[i - begin] = static_cast<float>(position - cell);
        }
        constexpr float kOne = kKernelWeightOne;
        constexpr int kShift = 2048;  // makes what is rounded positive
        constexpr float kRounding = kShift + 0.5F;
        std::int16_t* to = table.weights.data() + static_cast<std::ptrdiff_t>(begin) * 4;
        for (int i = 0; i < 16; ++i) {
            // The kernel at 1 + f, f and 2 - f, as polynomials of f. Sums of weights are rounded, not the weights.
            const float f = fractions[i];
            const float first = f * (-0.5F + f * (1 - 0.5F * f));
            const float second = (1.5F * f - 2.5F) * f * f + 1;
            const float last = 0.5F * f * f * (f - 1);
            const int upToFirst = static_cast<int>(first * kOne + kRounding) - kShift;
            const int upToSecond = static_cast<int>((first + second) * kOne + kRounding) - kShift;
            const int upToThird = static_cast<int>((1 - last) * kOne + kRounding) - kShift;
            to[i] = static_cast<std::int16_t>(upToFirst);
            to[i + 16] = static_cast<std::int16_t>(upToSecond - upToFirst);
            to[i + 32] = static_cast<std::int16_t>(upToThird - upToSecond);
            to[i + 48] = static_cast<std::int16_t>(kKernelWeightOne - upToThird);
        }
    }
    return span;
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
    AxisSpan done{span.begin, span.begin};
    if (wide == 1 && taps == 4) done = storeInnerSamples(table, positions, span, readable);
    for (int i = span.begin; i < span.end; ++i) {
        if (i == done.begin) i = done.end;
        if (i == span.end) break;
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
    const std::size_t size = lows.size();
    std::vector<int> firsts(size);
    std::vector<int> lasts(size);
    // Rounded down to a sample: by casts, which compilers make several of at once, because tables are made for each
    // area and frame.
    const double end = count - 1;
    const auto inside = [end](double position) {
        position = position > 0 ? position : 0;
        return position < end ? position : end;
    };
    for (std::size_t at = 0; at < size; ++at) firsts[at] = static_cast<int>(inside(lows[at] + 1e-9));
    for (std::size_t at = 0; at < size; ++at) {
        const double high = highs[at] - 1e-9;
        const int beyond = static_cast<int>(inside(high));
        // A whole position is the end of the sample before it.
        lasts[at] = std::max(high > beyond ? beyond : beyond - 1, firsts[at]);
    }
    int taps = 1;
    for (std::size_t at = 0; at < size; ++at) taps = std::max(taps, lasts[at] - firsts[at] + 1);
    AxisTable table = sized(static_cast<std::size_t>(span.end), taps);
    std::vector<double> weights(static_cast<std::size_t>(taps));
    for (std::size_t at = 0; at < size; ++at) {
        const int first = std::clamp(firsts[at], 0, count - taps);
        const int sample = span.begin + static_cast<int>(at);
        table.first[static_cast<std::size_t>(sample)] = first;
        if (firsts[at] == lasts[at]) {
            storeOne(table, sample, firsts[at] - first);
            continue;
        }
        double sum = 0;
        for (int tap = 0; tap < taps; ++tap) {
            const double low = first + tap;
            weights[static_cast<std::size_t>(tap)] = sharedLength(low, low + 1, lows[at], highs[at]);
            sum += weights[static_cast<std::size_t>(tap)];
        }
        if (!(sum > 0)) weights[static_cast<std::size_t>(firsts[at] - first)] = sum = 1;
        storeWeights(table, sample, weights.data(), sum);
    }
    finish(table, span);
    return table;
}

}  // namespace lumivastor::imaging
