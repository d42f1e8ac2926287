// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/playback_position_map.h"

#include <algorithm>

namespace lumivastor::playback {

void PlaybackPositionMap::start(std::int64_t sourceFrame) {
    *this = {};
    source_ = sourceFrame;
}

void PlaybackPositionMap::wrote(std::int64_t count, std::int64_t sourceFrame) {
    add({written_, count, sourceFrame, true});
    soundEnd_ = written_;
}

void PlaybackPositionMap::waited(std::int64_t count) {
    add({written_, count, pieces_.empty() ? source_ : pieces_.back().sourceEnd(), false});
}

void PlaybackPositionMap::add(const Piece& piece) {
    if (piece.count <= 0) return;
    written_ += piece.count;
    if (!pieces_.empty()) {
        Piece& last = pieces_.back();
        if (last.advances == piece.advances && last.sourceEnd() == piece.source) {
            last.count += piece.count;
            return;
        }
    }
    pieces_.push_back(piece);
}

std::int64_t PlaybackPositionMap::sourceAt(std::int64_t heard) {
    while (!pieces_.empty() && pieces_.front().runEnd() <= heard) {
        source_ = pieces_.front().sourceEnd();
        pieces_.pop_front();
    }
    if (pieces_.empty()) return source_;
    const Piece& piece = pieces_.front();
    return piece.advances ? piece.source + std::max<std::int64_t>(0, heard - piece.runStart) : piece.source;
}

}  // namespace lumivastor::playback
