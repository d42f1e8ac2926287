// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <vector>

#include "imaging/content_hash.h"
#include "media/reading/asset_reader.h"
#include "media/reading/reader_outputs.h"
#include "media/writing/asset_writer.h"
#include "render/cut_composition.h"
#include "render/export_plan.h"
#include "render/film_loudness.h"
#include "render/reuse/group_store.h"

namespace lumivastor::render {

/// A film's sound on its way into its file. Made and destroyed on the thread of the export; `append` is the audio
/// pump's.
class FilmSound {
  public:
    FilmSound() = default;
    virtual ~FilmSound() = default;
    FilmSound(const FilmSound&) = delete;
    FilmSound& operator=(const FilmSound&) = delete;

    virtual media::WriterInput& input() = 0;
    /// Appends the next piece; false at the end. Throws `RecorderError`.
    virtual bool append() = 0;
    /// Where the sound that was appended ends; nullopt without any.
    std::optional<double> seconds() const { return seconds_; }

  protected:
    std::optional<double> seconds_;
};

/// The tracks' mix with its volumes, decoded and encoded again.
class MixedSound final : public FilmSound {
  public:
    struct Options {
        media::AudioSettings encoder;
        bool isLevelled = false;               // brought to one loudness, which takes a pass over the sound
        std::function<void(double)> progress;  // of that pass; see `mixLoudness`
        std::stop_token stop;
    };

    /// Null when the sound cannot be read, which is logged: the film then has none. The writer outlives it. Throws
    /// `RecorderError` when memory is short, or after a stop request.
    static std::unique_ptr<MixedSound> open(media::AssetWriter& writer, const CutComposition& cut, SplitMix mix,
                                            const Options& options);

    media::WriterInput& input() override { return input_; }
    bool append() override;

  private:
    MixedSound(media::AssetWriter& writer, const media::AudioSettings& settings,
               std::unique_ptr<media::AssetReader> reader, media::AudioMixOutput& output, float gain,
               std::optional<LevelledSound> levelled);

    std::optional<media::PcmSample> next();

    media::AssetWriter& writer_;
    media::AudioWriterInput& input_;
    const std::unique_ptr<media::AssetReader> reader_;
    media::AudioMixOutput& output_;
    const float gain_;
    std::optional<LevelledSound> levelled_;  // none: the mix as it is
};

/// The sound of an earlier film that was made in the same way.
class CopiedSound final : public FilmSound {
  public:
    /// Null when it cannot be read, or not be put into this film. The writer outlives it.
    static std::unique_ptr<CopiedSound> open(media::AssetWriter& writer, const GroupStore::Sound& sound);

    media::WriterInput& input() override { return input_; }
    bool append() override;

  private:
    CopiedSound(media::AssetWriter& writer, const media::StoredFormat& format,
                std::unique_ptr<media::AssetReader> reader, media::StoredSampleOutput& output);

    media::AssetWriter& writer_;
    media::StoredWriterInput& input_;
    const std::unique_ptr<media::AssetReader> reader_;
    media::StoredSampleOutput& output_;
};

/// What a film's sound is made of: the source's sound by its movie's identity, segments, volumes, encoder and program.
imaging::ContentHash soundContent(std::uint64_t movie, const CutComposition& cut, const SplitMix& mix,
                                  const MixedSound::Options& options);

}  // namespace lumivastor::render
