// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/film_sound.h"

#include <cmath>
#include <string>
#include <utility>

#include "base/formatted.h"
#include "base/handled_error.h"
#include "base/log.h"
#include "base/recorder_error.h"
#include "media/region/group_encoder.h"

namespace lumivastor::render {

namespace {

constexpr const char* kSoundNotWritten = "Das Studio-Video konnte nicht geschrieben werden.";

// The first pass over the sound.
std::optional<LevelledSound> levelled(const CutComposition& cut, const SplitMix& mix,
                                      const MixedSound::Options& options) {
    const std::optional<double> loudness = mixLoudness(cut.movie, mix, options.stop, options.progress);
    const std::optional<double> factor = levellingFactor(loudness);
    if (!factor) {
        Log::write("Studio", "Lautheit bleibt: Der Ton ist still oder fast still");
        return std::nullopt;
    }
    Log::write("Studio", formatted("Lautheit: %.1f LUFS, Verstärkung %.1f dB", *loudness, 20 * std::log10(*factor)));
    return LevelledSound(*factor * mix.gain, PcmFormat{});
}

}  // namespace

std::unique_ptr<MixedSound> MixedSound::open(media::AssetWriter& writer, const CutComposition& cut, SplitMix mix,
                                             const Options& options) {
    auto levelledSound = options.isLevelled ? levelled(cut, mix, options) : std::nullopt;
    auto reader = std::make_unique<media::AssetReader>(cut.movie);
    media::AudioMixOutput& output = reader->addAudioMixOutput(std::move(mix.inputs));
    // Started before the writer, so that unreadable sound leaves no empty track.
    if (!reader->startReading()) {
        const RecorderError error = reader->error().value_or(RecorderError("?"));
        if (isOutOfMemory(error)) throw RecorderError(error);
        Log::write("Studio", "Ton wird weggelassen: " + error.message());
        return nullptr;
    }
    return std::unique_ptr<MixedSound>(
        new MixedSound(writer, options.encoder, std::move(reader), output, mix.gain, std::move(levelledSound)));
}

MixedSound::MixedSound(media::AssetWriter& writer, const media::AudioSettings& settings,
                       std::unique_ptr<media::AssetReader> reader, media::AudioMixOutput& output, float gain,
                       std::optional<LevelledSound> levelled)
    : writer_(writer),
      input_(writer.addAudioInput(settings)),
      reader_(std::move(reader)),
      output_(output),
      gain_(gain),
      levelled_(std::move(levelled)) {}

std::optional<media::PcmSample> MixedSound::next() {
    if (levelled_) return levelled_->next([this] { return output_.copyNextSample(); });
    std::optional<media::PcmSample> sample = output_.copyNextSample();
    if (sample) amplify(sample->values, gain_);
    return sample;
}

bool MixedSound::append() {
    std::optional<media::PcmSample> sample = next();
    if (!sample) {
        if (const auto error = reader_->error()) {
            if (isOutOfMemory(*error)) throw RecorderError(*error);
            Log::write("Studio", formatted("Der Ton endet bei %.2f s - Grund: %s", seconds_.value_or(0),
                                           error->message().c_str()));
        }
        return false;
    }
    const double end = (sample->presentationTime + sample->duration()).seconds();
    if (!input_.append(std::move(*sample))) throw writer_.error().value_or(RecorderError(kSoundNotWritten));
    seconds_ = end;
    return true;
}

std::unique_ptr<CopiedSound> CopiedSound::open(media::AssetWriter& writer, const GroupStore::Sound& sound) {
    const media::StoredFormat format = media::storedFormatOf(*sound.film, sound.trackId);
    if (!writer.canAddStoredInput(format)) return nullptr;
    auto reader = std::make_unique<media::AssetReader>(sound.film);
    media::StoredSampleOutput& output = reader->addStoredSampleOutput(sound.trackId);
    if (!reader->startReading()) return nullptr;
    return std::unique_ptr<CopiedSound>(new CopiedSound(writer, format, std::move(reader), output));
}

CopiedSound::CopiedSound(media::AssetWriter& writer, const media::StoredFormat& format,
                         std::unique_ptr<media::AssetReader> reader, media::StoredSampleOutput& output)
    : writer_(writer), input_(writer.addStoredInput(format)), reader_(std::move(reader)), output_(output) {}

bool CopiedSound::append() {
    std::optional<media::StoredSample> sample = output_.copyNextSample();
    if (!sample) {
        // Whole a moment ago: somebody changes the film.
        if (const auto error = reader_->error()) throw RecorderError(*error);
        return false;
    }
    const double end = (sample->presentationTime + sample->duration).seconds();
    if (!input_.append(std::move(*sample))) throw writer_.error().value_or(RecorderError(kSoundNotWritten));
    seconds_ = end;
    return true;
}

imaging::ContentHash soundContent(std::uint64_t movie, const CutComposition& cut, const SplitMix& mix,
                                  const MixedSound::Options& options) {
    imaging::ContentHasher hasher;
    hasher.addText(LUMI_VERSION);
    hasher.addNumber(media::encoderLibraryVersion());
    hasher.addNumber(movie);
    hasher.addNumber(cut.shownSegments.size());
    for (const ShownSegment& segment : cut.shownSegments) {
        hasher.addNumber(segment.outputStart);
        hasher.addNumber(segment.sourceStart);
        hasher.addNumber(segment.sourceEnd);
    }
    hasher.addNumber(mix.gain);
    hasher.addNumber(mix.inputs.size());
    for (const media::AudioMixInput& input : mix.inputs) {
        hasher.addNumber(input.trackId);
        hasher.addNumber(input.volume);
    }
    hasher.addNumber(options.isLevelled);
    const media::AudioSettings& encoder = options.encoder;
    hasher.addNumber(encoder.sampleRate);
    hasher.addNumber(encoder.channels);
    hasher.addNumber(encoder.bitRate);
    hasher.addNumber(encoder.codec);
    return hasher.value();
}

}  // namespace lumivastor::render
