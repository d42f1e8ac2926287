// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/live_movie.h"

#include <cmath>
#include <deque>
#include <numbers>
#include <stdexcept>
#include <utility>

#include "media/reading/asset_reader.h"
#include "media/writing/fragmented_movie_sink.h"
#include "media/writing/video_encoder.h"
#include "support/await.h"
#include "support/test_movie.h"

namespace lumivastor {

namespace {

void waitForRoom(const media::WriterInput& input) {
    if (!await([&] { return input.isReadyForMoreMediaData(); })) throw std::runtime_error("the writer takes no more");
}

media::VideoSettings settingsOf(const LiveMovieOptions& options) {
    media::VideoSettings settings;
    settings.width = options.width;
    settings.height = options.height;
    settings.frameRate = options.frameRate;
    settings.averageBitRate = 800000;
    settings.maxKeyFrameInterval = 2 * options.frameRate;
    settings.keySecondsAfterChange = 2;
    settings.codec = options.codec;
    settings.preset = "ultrafast";
    return settings;
}

// How many frames of sound are appended at once.
constexpr std::int64_t kPiece = 480;

media::PcmSample tone(std::size_t track, std::int64_t position, const MediaTime& start) {
    media::PcmSample sample{start + MediaTime{position, 48000}, {}, {}};
    const double hertz = 440 * static_cast<double>(track + 1);
    for (std::int64_t i = position; i < position + kPiece; ++i) {
        const double angle = 2 * std::numbers::pi * hertz * static_cast<double>(i) / 48000;
        sample.values.insert(sample.values.end(), 2, static_cast<float>(0.5 * std::sin(angle)));
    }
    return sample;
}

double lengthOfSound(const LiveMovieOptions& options) {
    if (options.soundSeconds > 0) return options.soundSeconds;
    return options.pictureTicks.empty() ? 0 : static_cast<double>(options.pictureTicks.back()) / 600;
}

}  // namespace

std::vector<std::int64_t> steadyTicks(int count, int frameRate) {
    std::vector<std::int64_t> ticks;
    for (int i = 0; i < count; ++i) ticks.push_back(std::int64_t{i} * 600 / frameRate);
    return ticks;
}

LiveMovie::LiveMovie(const std::filesystem::path& path, LiveMovieOptions options)
    : options_(std::move(options)), writer_(path, media::MovieContainer::quickTime) {
    video_ = &writer_.addVideoInput(settingsOf(options_));
    video_->setExpectsMediaDataInRealTime(true);
    for (int i = 0; i < options_.soundTracks; ++i) {
        sounds_.push_back(&writer_.addAudioInput({}));
        sounds_.back()->setExpectsMediaDataInRealTime(true);
    }
    writer_.setMovieFragmentInterval(options_.interval);
    if (!writer_.startWriting()) throw std::runtime_error(writer_.error()->message());
    writer_.startSession(options_.start);
    soundPosition_ = std::llround(options_.soundStartSeconds * 48000);
}

bool LiveMovie::appendSound(double untilSeconds) {
    for (; soundPosition_ + kPiece <= std::llround(untilSeconds * 48000); soundPosition_ += kPiece) {
        for (std::size_t track = 0; track < sounds_.size(); ++track) {
            waitForRoom(*sounds_[track]);
            if (!sounds_[track]->append(tone(track, soundPosition_, options_.start))) return false;
        }
    }
    return true;
}

bool LiveMovie::appendAll() {
    for (std::size_t i = 0; i < options_.pictureTicks.size(); ++i) {
        const std::int64_t tick = options_.pictureTicks[i];
        if (!appendSound(static_cast<double>(tick) / 600)) return false;
        auto picture = video_->pool().makePlanar();
        paintTestPicture(static_cast<int>(i), false, picture->destination());
        waitForRoom(*video_);
        if (!video_->append(std::move(picture), options_.start + MediaTime{tick, 600})) return false;
    }
    return appendSound(lengthOfSound(options_));
}

std::string LiveMovie::finish() {
    if (options_.endSeconds) {
        writer_.endSession(options_.start + MediaTime::fromSeconds(*options_.endSeconds, 48000));
    }
    return writer_.finishWriting() ? "" : writer_.error()->message();
}

// Without a writer, whose threads would still hold samples when it goes.
void leaveUnfinished(const std::filesystem::path& path, const LiveMovieOptions& options) {
    media::FragmentedMovieSink sink(path, options.interval);
    media::VideoSettings settings = settingsOf(options);
    settings.lowLatency = true;
    media::VideoEncoder video(settings);
    const int videoStream = sink.addStream(*video.parameters(), settings.timescale, settings.frameRate);
    std::deque<media::AudioEncoder> sounds;
    std::vector<int> soundStreams;
    for (int i = 0; i < options.soundTracks; ++i) {
        sounds.emplace_back(media::AudioSettings{});
        soundStreams.push_back(sink.addStream(*sounds.back().parameters(), 48000, 0));
    }
    sink.begin();
    std::int64_t position = std::llround(options.soundStartSeconds * 48000);
    const auto encodeSound = [&](double untilSeconds) {
        for (; position + kPiece <= std::llround(untilSeconds * 48000); position += kPiece) {
            for (std::size_t track = 0; track < sounds.size(); ++track) {
                sounds[track].encode(tone(track, position, {}), position,
                                     [&](AVPacket& packet) { sink.write(soundStreams[track], packet); });
            }
        }
    };
    imaging::PicturePool pool(settings.width, settings.height, {});
    for (std::size_t i = 0; i < options.pictureTicks.size(); ++i) {
        encodeSound(static_cast<double>(options.pictureTicks[i]) / 600);
        auto picture = pool.makePlanar();
        paintTestPicture(static_cast<int>(i), false, picture->destination());
        video.encode(picture, std::nullopt, options.pictureTicks[i],
                     [&](AVPacket& packet) { sink.write(videoStream, packet); });
    }
    encodeSound(lengthOfSound(options));
    for (std::size_t track = 0; track < sounds.size(); ++track) {
        sounds[track].finish([&](AVPacket& packet) { sink.write(soundStreams[track], packet); });
    }
    sink.close();
}

std::vector<std::uint64_t> decodedHashes(const std::filesystem::path& path) {
    std::vector<std::uint64_t> hashes;
    for (const DecodedTestPicture& decoded : decodeTestMovie(path)) {
        constexpr std::uint64_t kOffset = 14695981039346656037U;  // FNV-1a
        constexpr std::uint64_t kPrime = 1099511628211U;
        std::uint64_t hash = kOffset;
        const auto add = [&hash](const imaging::YuvPlane& plane, int width, int height) {
            for (int y = 0; y < height; ++y) {
                for (int x = 0; x < width; ++x) hash = (hash ^ plane.samples[y * plane.stride + x]) * kPrime;
            }
        };
        const imaging::YuvPicture& picture = decoded.picture;
        add(picture.luma, picture.width, picture.height);
        add(picture.cb, picture.chromaWidth(), picture.chromaHeight());
        add(picture.cr, picture.chromaWidth(), picture.chromaHeight());
        hashes.push_back(hash);
    }
    return hashes;
}

std::vector<float> decodedSound(const std::filesystem::path& path, int track) {
    const auto asset = std::make_shared<const media::Asset>(path);
    media::AssetReader reader(asset);
    auto& output = reader.addAudioOutput(asset->tracks(media::TrackKind::audio).at(static_cast<std::size_t>(track)).id);
    if (!reader.startReading()) throw std::runtime_error(reader.error()->message());
    std::vector<float> values;
    while (const auto sample = output.copyNextSample()) {
        for (std::size_t i = 0; i < sample->frames(); ++i) values.push_back(sample->values[2 * i]);
    }
    if (reader.status() != media::AssetReader::Status::completed) throw std::runtime_error("the sound is damaged");
    return values;
}

}  // namespace lumivastor
