// SPDX-License-Identifier: GPL-3.0-or-later

// A movie from anywhere: opened and read, or refused; and what the repair of recordings makes of it is a plain movie
// that covers the whole file, or nothing is made.

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "base/recorder_error.h"
#include "base/unique_descriptor.h"
#include "media/isobmff/fragments.h"
#include "media/isobmff/movie_boxes.h"
#include "media/reading/asset_reader.h"

namespace {

using namespace lumivastor;

// The bytes as a file that lies in memory.
UniqueDescriptor fileOf(const std::uint8_t* data, std::size_t size) {
    UniqueDescriptor file(::memfd_create("movie", MFD_CLOEXEC));
    if (!file.isOpen() || ::write(file.get(), data, size) != static_cast<ssize_t>(size)) std::abort();
    return file;
}

// A few samples of each track. Large pictures are the decoders' business, and slow.
void readTracks(const UniqueDescriptor& file) {
    constexpr int kLargestEdge = 512;
    constexpr int kSamples = 12;
    const auto asset = std::make_shared<const media::Asset>("/proc/self/fd/" + std::to_string(file.get()));
    for (const media::AssetTrack& track : asset->tracks()) {
        if (track.width > kLargestEdge || track.height > kLargestEdge) continue;
        media::AssetReader reader(asset);
        reader.setTimeRange({{}, {2, 1}});
        auto& stored = reader.addStoredSampleOutput(track.id);
        if (track.kind == media::TrackKind::video) {
            auto& output = reader.addVideoOutput(track.id, media::PictureFormat::planar);
            if (!reader.startReading()) continue;
            for (int i = 0; i < kSamples && output.copyNextSample(); ++i) {
            }
        } else {
            auto& output = reader.addAudioOutput(track.id);
            if (!reader.startReading()) continue;
            for (int i = 0; i < kSamples && output.copyNextSample(); ++i) {
            }
        }
        for (int i = 0; i < kSamples && stored.copyNextSample(); ++i) {
        }
    }
}

void repair(const UniqueDescriptor& file, std::uint64_t size) {
    const auto movie = media::scanFragments(file.get(), size);
    if (!movie || movie->fragments == 0) return;
    if (movie->wholeEnd > size || movie->lastFragmentOffset >= movie->wholeEnd) std::abort();
    if (media::finishInPlace(file.get(), *movie)) std::abort();
    // File type, samples, index, and nothing else.
    const auto repairedSize = static_cast<std::uint64_t>(::lseek(file.get(), 0, SEEK_END));
    std::uint64_t offset = 0;
    for (const std::uint32_t kind : {media::fourCC("ftyp"), media::fourCC("mdat"), media::fourCC("moov")}) {
        const auto box = media::fileBoxAt(file.get(), offset, repairedSize);
        if (!box || box->kind != kind) std::abort();
        offset = box->end();
    }
    if (offset != repairedSize || media::scanFragments(file.get(), repairedSize)) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const UniqueDescriptor file = fileOf(data, size);
    try {
        readTracks(file);
    } catch (const RecorderError&) {
    }
    repair(file, size);
    try {
        readTracks(file);
    } catch (const RecorderError&) {
    }
    return 0;
}
