// SPDX-License-Identifier: GPL-3.0-or-later

// An encoder's stream from anywhere: parameter sets, then pictures, each behind a byte 0xff that no unit holds in that
// place. Woven or refused; what was woven can be split into units again, and region pictures fit between.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <variant>
#include <vector>

#include "media/region/region_coder.h"
#include "media/region/stream_weaver.h"
#include "media/writing/h264_bitstream.h"

namespace {

using namespace lumivastor::media;

// Pieces are separated by this.
constexpr std::uint8_t kSeparator = 0xff;

std::vector<std::span<const std::uint8_t>> piecesOf(std::span<const std::uint8_t> input) {
    std::vector<std::span<const std::uint8_t>> pieces;
    std::size_t begin = 0;
    for (std::size_t i = 0; i + 4 < input.size(); ++i) {
        const bool startsUnit = input[i + 1] == 0 && input[i + 2] == 0 && input[i + 3] == 0 && input[i + 4] == 1;
        if (input[i] != kSeparator || !startsUnit) continue;
        pieces.push_back(input.subspan(begin, i - begin));
        begin = i + 1;
    }
    pieces.push_back(input.subspan(begin));
    return pieces;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto pieces = piecesOf({data, size});
    auto made = StreamWeaver::make(pieces.front(), 0);
    auto* const weaver = std::get_if<StreamWeaver>(&made);
    if (weaver == nullptr) return 0;
    if (weaver->width() <= 0 || weaver->height() <= 0) std::abort();
    // What was rewritten still has its conditions but one: it has a second reference now.
    for (const auto unit : unitsOf(weaver->parameterSets())) {
        if (unitKind(unit) != H264Unit::sequenceParameters) continue;
        const auto read = readSequenceParameterSet(unit);
        const auto* const set = std::get_if<SequenceParameterSet>(&read);
        if (set == nullptr || set->maxNumRefFrames != 2 || set->log2MaxFrameNum != 16) std::abort();
    }
    CodedRegion nothing;
    for (std::size_t i = 1; i < pieces.size(); ++i) {
        const auto woven = weaver->encoderPicture(pieces[i]);
        const auto* const stream = std::get_if<std::vector<std::uint8_t>>(&woven);
        if (stream == nullptr) return 0;
        if (unitsOf(*stream).size() != unitsOf(pieces[i]).size()) std::abort();
        for (std::size_t k = 0; k < i % 3 && weaver->mayAddRegionPicture(); ++k) {
            if (unitsOf(weaver->regionPicture(nothing)).size() != 1) std::abort();
        }
    }
    return 0;
}
