// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/region/macroblock_coder.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "media/region/cavlc.h"

namespace lumivastor::media {

namespace {

constexpr int kLumaSize = 16;
constexpr int kChromaSize = 8;
constexpr int kWorst = std::numeric_limits<int>::max() / 2;

// 6.4.3: where the 4x4 blocks lie in the order of coding, in blocks.
constexpr std::array<std::uint8_t, 16> kBlockX{0, 1, 0, 1, 2, 3, 2, 3, 0, 1, 0, 1, 2, 3, 2, 3};
constexpr std::array<std::uint8_t, 16> kBlockY{0, 0, 1, 1, 0, 0, 1, 1, 2, 2, 3, 3, 2, 2, 3, 3};
constexpr std::size_t inRaster(std::size_t block) {
    return 4U * kBlockY[block] + kBlockX[block];
}

// 8.5.6: raster places in zigzag order.
constexpr std::array<std::uint8_t, 16> kZigzag{0, 1, 4, 8, 5, 2, 3, 6, 9, 12, 13, 10, 7, 11, 14, 15};

// Table 9-4: codeNum to coded_block_pattern, here the other way round.
using PatternCodes = std::array<std::uint8_t, 48>;
constexpr PatternCodes inverted(const PatternCodes& patterns) {
    PatternCodes codes{};
    for (std::size_t code = 0; code < patterns.size(); ++code) codes[patterns[code]] = static_cast<std::uint8_t>(code);
    return codes;
}
constexpr PatternCodes kIntraPatternCode =
    inverted({47, 31, 15, 0,  23, 27, 29, 30, 7, 11, 13, 14, 39, 43, 45, 46, 16, 3,  5,  10, 12, 19, 21, 26,
              28, 35, 37, 42, 44, 1,  2,  4,  8, 17, 18, 20, 24, 6,  9,  22, 25, 32, 33, 34, 36, 40, 38, 41});
constexpr PatternCodes kInterPatternCode =
    inverted({0,  16, 1,  2,  4,  8,  32, 3,  5,  10, 12, 15, 47, 7,  11, 13, 14, 6,  9,  31, 35, 37, 42, 44,
              33, 34, 36, 40, 39, 43, 45, 46, 17, 18, 20, 24, 19, 21, 26, 28, 23, 27, 29, 30, 22, 25, 38, 41});

// mb_type in P slices (tables 7-13 and 7-11): P_L0_16x16, and those of I slices behind the five of P.
constexpr std::uint32_t kPL016x16 = 0;
constexpr std::uint32_t kINxN = 5;
constexpr std::uint32_t kI16x16 = 6;

// A.3.1: 128 bits more than the samples themselves have.
constexpr std::size_t kMostBits = 128 + 384 * 8;

template <int kWidth, int kHeight>
int sumOfDifferences(const std::uint8_t* a, std::ptrdiff_t strideA, const std::uint8_t* b, std::ptrdiff_t strideB) {
    int sum = 0;
    for (int y = 0; y < kHeight; ++y, a += strideA, b += strideB) {
        for (int x = 0; x < kWidth; ++x) sum += std::abs(a[x] - b[x]);
    }
    return sum;
}

template <std::size_t kSize, std::size_t kSamples>
void store(const std::array<std::uint8_t, kSamples>& block, std::uint8_t* samples, std::ptrdiff_t stride) {
    for (std::size_t y = 0; y < kSize; ++y, samples += stride) std::copy_n(block.begin() + y * kSize, kSize, samples);
}

bool isFlat(const Block16x16& samples) {
    return std::all_of(samples.begin(), samples.end(), [&samples](std::uint8_t each) { return each == samples[0]; });
}

}  // namespace

// One macroblock on its way through the coder.
struct MacroblockCoder::Attempt {
    const SourceMacroblock& source;
    const MacroblockTask& task;
    std::size_t mb;
    std::array<Plane, 3> planes;
    Neighbours neighbours;
    const Quantiser& lumaQuantiser;
    const Quantiser& chromaQuantiser;
    int lambda;  // what a bit costs, in differences of samples

    CodedAs codedAs = CodedAs::intra16x16;
    Intra16x16Mode lumaMode = Intra16x16Mode::dc;
    IntraChromaMode chromaMode = IntraChromaMode::dc;
    int lumaCost = kWorst;
    int chromaCost = kWorst;
    Block16x16 lumaPrediction{};
    std::array<Block8x8, 2> chromaPrediction{};

    std::array<Intra4x4Mode, kLumaBlocks> modes{};  // these four in the order of coding
    std::array<std::uint8_t, kLumaBlocks> predictedModes{};
    std::array<Levels4x4, kLumaBlocks> lumaLevels{};
    std::array<bool, kLumaBlocks> hasLevels{};
    Levels4x4 lumaDc{};  // in raster order of blocks
    std::array<std::array<Levels4x4, kChromaBlocks>, 2> chromaLevels{};
    std::array<std::array<std::int16_t, kChromaBlocks>, 2> chromaDc{};
    std::uint32_t lumaPattern = 0;
    std::uint32_t chromaPattern = 0;

    bool isIntra() const { return codedAs != CodedAs::inter; }
    std::uint32_t pattern() const { return lumaPattern | chromaPattern << 4; }
};

MacroblockCoder::MacroblockCoder(int widthInMbs, int heightInMbs) : widthInMbs_(widthInMbs) {
    const auto columns = static_cast<std::size_t>(widthInMbs);
    const auto count = columns * static_cast<std::size_t>(heightInMbs);
    macroblocks_.resize(count);
    samples_.resize(count * 384);
    const auto stride = static_cast<std::ptrdiff_t>(columns * kLumaSize);
    std::uint8_t* const cb = samples_.data() + count * 256;
    std::uint8_t* const cr = cb + count * 64;
    planes_ = {{{samples_.data(), stride}, {cb, stride / 2}, {cr, stride / 2}}};
    reconstruction_.width = widthInMbs * kLumaSize;
    reconstruction_.height = heightInMbs * kLumaSize;
    reconstruction_.luma = {samples_.data(), stride};
    reconstruction_.cb = {cb, stride / 2};
    reconstruction_.cr = {cr, stride / 2};
}

void MacroblockCoder::beginSlice(int sliceQp) {
    ++slice_;
    lastQp_ = sliceQp;
}

void MacroblockCoder::forgetAll() {
    for (Macroblock& each : macroblocks_) each.isKnown = false;
}

MacroblockCoder::Plane MacroblockCoder::planeAt(int plane, int mbX, int mbY) const {
    const Plane& whole = planes_[static_cast<std::size_t>(plane)];
    const int size = plane == 0 ? kLumaSize : kChromaSize;
    return {whole.samples + mbY * size * whole.stride + mbX * size, whole.stride};
}

// With constrained_intra_pred_flag only macroblocks that are intra themselves are neighbours to predict from.
Neighbours MacroblockCoder::neighboursOf(int mbX, int mbY) const {
    const auto isIntra = [this](int x, int y) {
        if (x < 0 || x >= widthInMbs_ || y < 0) return false;
        return macroblocks_[static_cast<std::size_t>(y * widthInMbs_ + x)].intraIn == slice_;
    };
    return {isIntra(mbX - 1, mbY), isIntra(mbX, mbY - 1), isIntra(mbX - 1, mbY - 1), isIntra(mbX + 1, mbY - 1)};
}

std::optional<CodedAs> MacroblockCoder::code(const SourceMacroblock& source, const MacroblockTask& task,
                                             BitWriter& writer) {
    const auto mb = static_cast<std::size_t>(task.mbY * widthInMbs_ + task.mbX);
    Attempt attempt{source,
                    task,
                    mb,
                    {planeAt(0, task.mbX, task.mbY), planeAt(1, task.mbX, task.mbY), planeAt(2, task.mbX, task.mbY)},
                    neighboursOf(task.mbX, task.mbY),
                    quantiserFor(task.qp),
                    quantiserFor(chromaQp(task.qp, task.chromaQpIndexOffset)),
                    // The relation that is usual for absolute differences.
                    1 << std::max(0, (task.qp - 12) / 6)};
    choosePrediction(attempt);
    // What follows overwrites the reconstruction. An attempt that fails leaves nothing to predict from.
    Macroblock& state = macroblocks_[mb];
    state.isKnown = false;
    state.intraIn = 0;
    bool fits = true;
    if (attempt.codedAs == CodedAs::intra16x16) {
        fits = reconstructLuma16x16(attempt);
    } else if (attempt.codedAs == CodedAs::inter) {
        fits = reconstructLumaInter(attempt);
    }
    if (!fits || !reconstructChroma(attempt)) return std::nullopt;

    const BitWriter::Mark mark = writer.mark();
    const std::size_t begin = writer.position();
    const int lastQp = lastQp_;
    writePrediction(attempt, writer);
    if (!writeResidual(attempt, writer) || writer.position() - begin > kMostBits) {
        writer.rewind(mark);
        lastQp_ = lastQp;
        return std::nullopt;
    }
    state.isKnown = true;
    state.intraIn = attempt.isIntra() ? slice_ : 0;
    for (std::size_t block = 0; block < kLumaBlocks; ++block) {
        const Intra4x4Mode mode = attempt.codedAs == CodedAs::intra4x4 ? attempt.modes[block] : Intra4x4Mode::dc;
        state.intra4x4Modes[inRaster(block)] = static_cast<std::uint8_t>(mode);
    }
    return attempt.codedAs;
}

// The best mode of each kind, by differences.
void MacroblockCoder::chooseIntra(Attempt& attempt) const {
    for (const IntraChromaMode mode :
         {IntraChromaMode::dc, IntraChromaMode::horizontal, IntraChromaMode::vertical, IntraChromaMode::plane}) {
        if (attempt.chromaCost == 0 || !mayPredict(mode, attempt.neighbours)) continue;
        std::array<Block8x8, 2> prediction;
        int cost = mode == IntraChromaMode::dc ? 0 : 2 * attempt.lambda;
        for (std::size_t i = 0; i < 2; ++i) {
            const Plane& plane = attempt.planes[i + 1];
            predict(mode, {plane.samples, plane.stride}, attempt.neighbours, prediction[i]);
            cost += sumOfDifferences<8, 8>(attempt.source.chroma[i].data(), 8, prediction[i].data(), 8);
        }
        if (cost >= attempt.chromaCost) continue;
        attempt.chromaCost = cost;
        attempt.chromaMode = mode;
        attempt.chromaPrediction = prediction;
    }
    for (const Intra16x16Mode mode :
         {Intra16x16Mode::dc, Intra16x16Mode::vertical, Intra16x16Mode::horizontal, Intra16x16Mode::plane}) {
        if (attempt.lumaCost == 0 || !mayPredict(mode, attempt.neighbours)) continue;
        Block16x16 prediction;
        predict(mode, {attempt.planes[0].samples, attempt.planes[0].stride}, attempt.neighbours, prediction);
        const int cost = sumOfDifferences<16, 16>(attempt.source.luma.data(), 16, prediction.data(), 16);
        if (cost >= attempt.lumaCost) continue;
        attempt.lumaCost = cost;
        attempt.lumaMode = mode;
        attempt.lumaPrediction = prediction;
    }
}

void MacroblockCoder::choosePrediction(Attempt& attempt) {
    int interCost = kWorst;
    if (attempt.task.mayPredictFromPicture && macroblocks_[attempt.mb].isKnown) {
        const auto& planes = attempt.planes;
        interCost = sumOfDifferences<16, 16>(attempt.source.luma.data(), 16, planes[0].samples, planes[0].stride) +
                    sumOfDifferences<8, 8>(attempt.source.chroma[0].data(), 8, planes[1].samples, planes[1].stride) +
                    sumOfDifferences<8, 8>(attempt.source.chroma[1].data(), 8, planes[2].samples, planes[2].stride);
    }
    chooseIntra(attempt);
    // A macroblock of one luma value is one coefficient as a whole, whatever it is predicted from.
    const bool flat = isFlat(attempt.source.luma);
    if (interCost <= attempt.lumaCost + attempt.chromaCost && !(flat && interCost > 0)) {
        attempt.codedAs = CodedAs::inter;
        return;
    }
    // Below this, sixteen modes cost more than they can win.
    const int worthTrying = 64 * attempt.lambda;
    if (attempt.task.effort == IntraEffort::whole || flat || attempt.lumaCost <= worthTrying) return;
    // The 4x4 blocks are predicted from each other's reconstruction, so trying them is coding them.
    if (codeLuma4x4(attempt)) attempt.codedAs = CodedAs::intra4x4;
}

// 8.3.1.1: the smaller of the neighbours' modes, DC where one is not there.
std::uint8_t MacroblockCoder::predictedMode(const Attempt& attempt, std::size_t block) const {
    constexpr auto kDc = static_cast<std::uint8_t>(Intra4x4Mode::dc);
    const std::size_t x = kBlockX[block];
    const std::size_t y = kBlockY[block];
    const auto& own = macroblocks_[attempt.mb].intra4x4Modes;
    if ((x == 0 && !attempt.neighbours.left) || (y == 0 && !attempt.neighbours.top)) return kDc;
    const std::uint8_t left = x > 0 ? own[4 * y + x - 1] : macroblocks_[attempt.mb - 1].intra4x4Modes[4 * y + 3];
    const auto above = static_cast<std::size_t>(widthInMbs_);
    const std::uint8_t top = y > 0 ? own[4 * y - 4 + x] : macroblocks_[attempt.mb - above].intra4x4Modes[12 + x];
    return std::min(left, top);
}

// False when 16x16 is better, or the blocks do not fit; the luma plane is overwritten then.
bool MacroblockCoder::codeLuma4x4(Attempt& attempt) {
    int cost = 24 * attempt.lambda;  // of the modes' flags, and of a coded_block_pattern
    auto& ownModes = macroblocks_[attempt.mb].intra4x4Modes;
    const Plane& plane = attempt.planes[0];
    for (std::size_t block = 0; block < kLumaBlocks; ++block) {
        const int x = kBlockX[block];
        const int y = kBlockY[block];
        const Neighbours& outside = attempt.neighbours;
        // Above on the right lie blocks that are coded later, for these five.
        const bool isLater = block == 3 || block == 7 || block == 11 || block == 13 || block == 15;
        const bool rightOutside = x < 3 ? outside.top : outside.topRight;
        const Neighbours neighbours{x > 0 || outside.left, y > 0 || outside.top,
                                    x > 0 ? (y > 0 || outside.top) : (y > 0 ? outside.left : outside.topLeft),
                                    y > 0 ? !isLater : rightOutside};
        std::uint8_t* const samples = plane.samples + 4 * y * plane.stride + 4 * x;
        const Intra4x4Predictor predictor({samples, plane.stride}, neighbours);
        const std::uint8_t expected = predictedMode(attempt, block);
        const std::uint8_t* const source = attempt.source.luma.data() + 64 * y + 4 * x;

        Block4x4 best{};
        int bestCost = kWorst;
        const auto tryMode = [&](Intra4x4Mode mode) {
            if (!mayPredict(mode, neighbours)) return;
            Block4x4 prediction;
            predictor.predict(mode, prediction);
            const int modeCost = (static_cast<std::uint8_t>(mode) == expected ? 1 : 4) * attempt.lambda +
                                 sumOfDifferences<4, 4>(source, 16, prediction.data(), 4);
            if (modeCost >= bestCost) return;
            bestCost = modeCost;
            best = prediction;
            attempt.modes[block] = mode;
        };
        for (const Intra4x4Mode mode : {Intra4x4Mode::dc, Intra4x4Mode::vertical, Intra4x4Mode::horizontal}) {
            tryMode(mode);
        }
        // The filtered modes can hardly win a bit where this little is left.
        if (attempt.task.effort == IntraEffort::all && bestCost > 5 * attempt.lambda) {
            for (int mode = 3; mode < kIntra4x4Modes; ++mode) tryMode(static_cast<Intra4x4Mode>(mode));
        }
        cost += bestCost;
        if (cost >= attempt.lumaCost) return false;
        ownModes[inRaster(block)] = static_cast<std::uint8_t>(attempt.modes[block]);
        attempt.predictedModes[block] = expected;
        store<4>(best, samples, plane.stride);
        Levels4x4& levels = attempt.lumaLevels[block];
        attempt.hasLevels[block] = quantise(forwardTransform(source, 16, best.data(), 4), attempt.lumaQuantiser,
                                            Rounding::upFromTwoThirds, levels);
        if (!attempt.hasLevels[block]) continue;
        if (!addInverseTransform(scaled(levels, attempt.lumaQuantiser), samples, plane.stride)) return false;
    }
    return true;
}

bool MacroblockCoder::reconstructLuma16x16(Attempt& attempt) {
    Coefficients4x4 dc{};
    for (std::size_t block = 0; block < kLumaBlocks; ++block) {
        const std::size_t at = 64U * kBlockY[block] + 4U * kBlockX[block];
        Coefficients4x4 coefficients =
            forwardTransform(attempt.source.luma.data() + at, 16, attempt.lumaPrediction.data() + at, 16);
        dc[inRaster(block)] = coefficients[0];
        coefficients[0] = 0;
        attempt.hasLevels[block] =
            quantise(coefficients, attempt.lumaQuantiser, Rounding::upFromTwoThirds, attempt.lumaLevels[block]);
    }
    attempt.lumaDc = quantiseLumaDc(dc, attempt.lumaQuantiser);
    dc = scaledLumaDc(attempt.lumaDc, attempt.lumaQuantiser);
    const Plane& plane = attempt.planes[0];
    store<16>(attempt.lumaPrediction, plane.samples, plane.stride);
    for (std::size_t block = 0; block < kLumaBlocks; ++block) {
        if (!attempt.hasLevels[block] && dc[inRaster(block)] == 0) continue;
        Coefficients4x4 coefficients = scaled(attempt.lumaLevels[block], attempt.lumaQuantiser);
        coefficients[0] = dc[inRaster(block)];
        std::uint8_t* const samples = plane.samples + 4 * kBlockY[block] * plane.stride + 4 * kBlockX[block];
        if (!addInverseTransform(coefficients, samples, plane.stride)) return false;
    }
    return true;
}

bool MacroblockCoder::reconstructLumaInter(Attempt& attempt) {
    const Plane& plane = attempt.planes[0];
    for (std::size_t block = 0; block < kLumaBlocks; ++block) {
        std::uint8_t* const samples = plane.samples + 4 * kBlockY[block] * plane.stride + 4 * kBlockX[block];
        const std::uint8_t* const source = attempt.source.luma.data() + 64U * kBlockY[block] + 4U * kBlockX[block];
        Levels4x4& levels = attempt.lumaLevels[block];
        attempt.hasLevels[block] = quantise(forwardTransform(source, 16, samples, plane.stride), attempt.lumaQuantiser,
                                            attempt.task.interRounding, levels);
        if (!attempt.hasLevels[block]) continue;
        if (!addInverseTransform(scaled(levels, attempt.lumaQuantiser), samples, plane.stride)) return false;
    }
    return true;
}

bool MacroblockCoder::reconstructChroma(Attempt& attempt) {
    const Quantiser& quantiser = attempt.chromaQuantiser;
    const Rounding rounding = attempt.isIntra() ? Rounding::upFromTwoThirds : attempt.task.interRounding;
    bool anyDc = false;
    bool anyAc = false;
    for (std::size_t i = 0; i < 2; ++i) {
        const Plane& plane = attempt.planes[i + 1];
        if (attempt.isIntra()) store<8>(attempt.chromaPrediction[i], plane.samples, plane.stride);
        const auto samplesOf = [&plane](std::size_t block) {
            return plane.samples + static_cast<std::ptrdiff_t>(block / 2 * 4) * plane.stride + block % 2 * 4;
        };
        std::array<std::int32_t, kChromaBlocks> dc{};
        std::array<bool, kChromaBlocks> hasAc{};
        for (std::size_t block = 0; block < kChromaBlocks; ++block) {
            const std::uint8_t* const source = attempt.source.chroma[i].data() + block / 2 * 32 + block % 2 * 4;
            Coefficients4x4 coefficients = forwardTransform(source, 8, samplesOf(block), plane.stride);
            dc[block] = coefficients[0];
            coefficients[0] = 0;
            hasAc[block] = quantise(coefficients, quantiser, rounding, attempt.chromaLevels[i][block]);
            anyAc = anyAc || hasAc[block];
        }
        attempt.chromaDc[i] = quantiseChromaDc(dc, quantiser);
        for (const std::int16_t level : attempt.chromaDc[i]) anyDc = anyDc || level != 0;
        dc = scaledChromaDc(attempt.chromaDc[i], quantiser);
        for (std::size_t block = 0; block < kChromaBlocks; ++block) {
            if (!hasAc[block] && dc[block] == 0) continue;
            Coefficients4x4 coefficients = scaled(attempt.chromaLevels[i][block], quantiser);
            coefficients[0] = dc[block];
            if (!addInverseTransform(coefficients, samplesOf(block), plane.stride)) return false;
        }
    }
    attempt.chromaPattern = anyAc ? 2 : anyDc ? 1 : 0;
    for (std::size_t block = 0; block < kLumaBlocks; ++block) {
        if (attempt.hasLevels[block]) attempt.lumaPattern |= 1U << (block / 4);
    }
    // A macroblock that is predicted as a whole has all of its AC or none.
    if (attempt.codedAs == CodedAs::intra16x16 && attempt.lumaPattern != 0) attempt.lumaPattern = 15;
    return true;
}

// 7.3.5 up to coded_block_pattern.
void MacroblockCoder::writePrediction(const Attempt& attempt, BitWriter& writer) const {
    if (attempt.codedAs == CodedAs::inter) {
        writer.unsignedGolomb(kPL016x16);
        if (attempt.task.slicePredictsFromTwo) writer.flag(true);  // ref_idx_l0 0: te() of one bit, inverted
        writer.signedGolomb(-attempt.task.predictedVector.x);      // mvd_l0
        writer.signedGolomb(-attempt.task.predictedVector.y);
        writer.unsignedGolomb(kInterPatternCode[attempt.pattern()]);
        return;
    }
    if (attempt.codedAs == CodedAs::intra16x16) {
        writer.unsignedGolomb(kI16x16 + static_cast<std::uint32_t>(attempt.lumaMode) + 4 * attempt.chromaPattern +
                              (attempt.lumaPattern != 0 ? 12 : 0));
        writer.unsignedGolomb(static_cast<std::uint32_t>(attempt.chromaMode));
        return;
    }
    writer.unsignedGolomb(kINxN);
    for (std::size_t block = 0; block < kLumaBlocks; ++block) {
        const auto mode = static_cast<std::uint32_t>(attempt.modes[block]);
        const std::uint32_t expected = attempt.predictedModes[block];
        if (mode == expected) {
            writer.flag(true);  // prev_intra4x4_pred_mode_flag
        } else {
            writer.bits(mode < expected ? mode : mode - 1, 4);  // the flag, and rem_intra4x4_pred_mode
        }
    }
    writer.unsignedGolomb(static_cast<std::uint32_t>(attempt.chromaMode));
    writer.unsignedGolomb(kIntraPatternCode[attempt.pattern()]);
}

namespace {

// nC of two neighbours' numbers, either of which may not be there (9.2.1).
int contextOf(std::optional<int> left, std::optional<int> top) {
    if (left && top) return (*left + *top + 1) >> 1;
    return left ? *left : top.value_or(0);
}

}  // namespace

int MacroblockCoder::lumaContext(const Attempt& attempt, int x, int y) const {
    const auto countAt = [this](std::size_t mb, int blockX, int blockY) -> int {
        const Macroblock& each = macroblocks_[mb];
        return each.codedIn == slice_ ? each.lumaCounts[static_cast<std::size_t>(4 * blockY + blockX)] : 0;
    };
    std::optional<int> left;
    std::optional<int> top;
    if (x > 0) {
        left = countAt(attempt.mb, x - 1, y);
    } else if (attempt.task.mbX > 0) {
        left = countAt(attempt.mb - 1, 3, y);
    }
    if (y > 0) {
        top = countAt(attempt.mb, x, y - 1);
    } else if (attempt.task.mbY > 0) {
        top = countAt(attempt.mb - static_cast<std::size_t>(widthInMbs_), x, 3);
    }
    return contextOf(left, top);
}

int MacroblockCoder::chromaContext(const Attempt& attempt, std::size_t plane, int x, int y) const {
    const auto countAt = [this, plane](std::size_t mb, int blockX, int blockY) -> int {
        const Macroblock& each = macroblocks_[mb];
        return each.codedIn == slice_ ? each.chromaCounts[plane][static_cast<std::size_t>(2 * blockY + blockX)] : 0;
    };
    std::optional<int> left;
    std::optional<int> top;
    if (x > 0) {
        left = countAt(attempt.mb, x - 1, y);
    } else if (attempt.task.mbX > 0) {
        left = countAt(attempt.mb - 1, 1, y);
    }
    if (y > 0) {
        top = countAt(attempt.mb, x, y - 1);
    } else if (attempt.task.mbY > 0) {
        top = countAt(attempt.mb - static_cast<std::size_t>(widthInMbs_), x, 1);
    }
    return contextOf(left, top);
}

// 7.3.5.3: mb_qp_delta and the residual.
bool MacroblockCoder::writeResidual(const Attempt& attempt, BitWriter& writer) {
    Macroblock& state = macroblocks_[attempt.mb];
    state.codedIn = slice_;
    state.lumaCounts.fill(0);
    state.chromaCounts = {};
    const bool isWhole = attempt.codedAs == CodedAs::intra16x16;
    if (attempt.pattern() == 0 && !isWhole) return true;
    // mb_qp_delta is -26 to 25, and QPs go round at 52 (7-37).
    writer.signedGolomb((attempt.task.qp - lastQp_ + 26 + 52) % 52 - 26);
    lastQp_ = attempt.task.qp;

    std::array<std::int16_t, 16> scan{};
    const auto inScan = [&scan](const Levels4x4& levels, std::size_t from) {
        for (std::size_t i = from; i < 16; ++i) scan[i - from] = levels[kZigzag[i]];
        return std::span<const std::int16_t>(scan.data(), 16 - from);
    };
    if (isWhole && !cavlc::writeResidualBlock(writer, inScan(attempt.lumaDc, 0), lumaContext(attempt, 0, 0))) {
        return false;
    }
    const std::size_t first = isWhole ? 1 : 0;
    for (std::size_t block = 0; block < kLumaBlocks; ++block) {
        if ((attempt.lumaPattern >> (block / 4) & 1U) == 0) continue;
        const int nC = lumaContext(attempt, kBlockX[block], kBlockY[block]);
        const auto count = cavlc::writeResidualBlock(writer, inScan(attempt.lumaLevels[block], first), nC);
        if (!count) return false;
        state.lumaCounts[inRaster(block)] = static_cast<std::uint8_t>(*count);
    }
    for (std::size_t plane = 0; attempt.chromaPattern != 0 && plane < 2; ++plane) {
        if (!cavlc::writeResidualBlock(writer, attempt.chromaDc[plane], cavlc::kChromaDc)) return false;
    }
    for (std::size_t plane = 0; attempt.chromaPattern == 2 && plane < 2; ++plane) {
        for (std::size_t block = 0; block < kChromaBlocks; ++block) {
            const int nC = chromaContext(attempt, plane, static_cast<int>(block % 2), static_cast<int>(block / 2));
            const auto count = cavlc::writeResidualBlock(writer, inScan(attempt.chromaLevels[plane][block], 1), nC);
            if (!count) return false;
            state.chromaCounts[plane][block] = static_cast<std::uint8_t>(*count);
        }
    }
    return true;
}

}  // namespace lumivastor::media
