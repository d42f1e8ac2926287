// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/player_sound.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <utility>

#include "base/log.h"
#include "base/precondition.h"
#include "base/saturated.h"
#include "base/thread_name.h"

namespace lumivastor::playback {

namespace {

constexpr int kRate = platform::SoundOutput::kFormat.sampleRate;
constexpr std::size_t kChannels = platform::SoundOutput::kFormat.channels;
// How much is decoded at once: little, so that a jump need not wait.
constexpr std::int64_t kBlockFrames = 1024;
// The duration of a change of volume, 5 ms: a jump would click.
constexpr std::size_t kGlideFrames = 240;
constexpr auto kMaximumAhead = static_cast<std::int64_t>(PlayerSound::kAhead * kRate);

std::int64_t frameOf(double seconds) {
    return saturatedRound<std::int64_t>(seconds * kRate);
}

double secondsOf(std::int64_t frame) {
    return static_cast<double>(frame) / kRate;
}

}  // namespace

PlayerSound::PlayerSound(const media::SegmentedMovie& movie, const std::vector<media::AudioMixInput>& mix,
                         PlayedRanges ranges)
    : movie_(movie), ranges_(std::move(ranges)) {
    for (const media::SegmentedTrack& track : movie_.tracks(media::TrackKind::audio)) trackIds_.push_back(track.id);
    for (const float volume : volumesOf(mix)) volumes_.push_back({volume, volume});
    decodeFrom(0);
    thread_ = std::thread([this] {
        nameThisThread("player.sound");
        decode();
    });
}

PlayerSound::~PlayerSound() {
    {
        const std::lock_guard hold(lock_);
        precondition(output_ == nullptr, "stopped before it is destroyed");
        isEnding_ = true;
    }
    wake_.notify_one();
    thread_.join();
}

std::vector<float> PlayerSound::volumesOf(const std::vector<media::AudioMixInput>& mix) const {
    std::vector<float> volumes;
    for (const int id : trackIds_) {
        const auto input =
            std::find_if(mix.begin(), mix.end(), [id](const media::AudioMixInput& one) { return one.trackId == id; });
        volumes.push_back(input == mix.end() ? 0.0F : input->volume);
    }
    return volumes;
}

void PlayerSound::prepare() {
    {
        const std::lock_guard hold(lock_);
        if (std::exchange(mayDecode_, true)) return;
    }
    wake_.notify_one();
}

void PlayerSound::cue(double seconds) {
    const std::int64_t frame = frameOf(seconds);
    {
        const std::lock_guard hold(lock_);
        precondition(output_ == nullptr, "cued when not running");
        if (frame == cued_) return;
        decodeFrom(frame);
    }
    wake_.notify_one();
}

// Starts over at a source frame, or where playing continues behind it. Under lock_.
void PlayerSound::decodeFrom(std::int64_t source) {
    cued_ = source;
    positions_.start(source);
    decodeAgain(source);
}

// Under lock_.
void PlayerSound::decodeAgain(std::int64_t source) {
    blocks_.clear();
    framesAhead_ = 0;
    decodeFrom_ = source;
    ++decodeRound_;
    isDecoded_ = false;
}

void PlayerSound::start(platform::SoundOutput& output, std::function<void(const RecorderError&)> lost) {
    prepare();
    {
        const std::lock_guard hold(lock_);
        precondition(output_ == nullptr, "started when not running");
        for (Volume& volume : volumes_) volume.now = volume.target;
    }
    output.start({[this](std::span<float> values) { fill(values); }, std::move(lost)});
    // Only now: before, the output would still report how much of its last run was heard.
    const std::lock_guard hold(lock_);
    output_ = &output;
    ++run_;
}

void PlayerSound::stop() {
    platform::SoundOutput* output = nullptr;
    const std::int64_t source = heard(output);
    if (output == nullptr) return;
    {
        const std::lock_guard hold(lock_);
        output_ = nullptr;
        cued_ = source;
    }
    output->stop();
    {
        const std::lock_guard hold(lock_);
        decodeFrom(source);
    }
    wake_.notify_one();
}

void PlayerSound::setMix(const std::vector<media::AudioMixInput>& mix) {
    const std::vector<float> volumes = volumesOf(mix);
    const std::lock_guard hold(lock_);
    for (std::size_t i = 0; i < volumes_.size(); ++i) volumes_[i].target = volumes[i];
}

void PlayerSound::setRanges(PlayedRanges ranges) {
    {
        const std::lock_guard hold(lock_);
        ranges_ = std::move(ranges);
        if (output_ == nullptr) {
            decodeFrom(cued_);
        } else {
            // Sound that the output did not get is decoded again, if the new ranges contain it.
            decodeAgain(blocks_.empty() ? decodeFrom_
                                        : blocks_.front().source + static_cast<std::int64_t>(blocks_.front().used));
        }
    }
    wake_.notify_one();
}

// The source frame that is heard, and the output; null when not running.
std::int64_t PlayerSound::heard(platform::SoundOutput*& output) const {
    std::int64_t run = 0;
    {
        const std::lock_guard hold(lock_);
        output = output_;
        run = run_;
        if (output == nullptr) return cued_;
    }
    // Outside of the lock: the output may be requesting sound at this moment.
    const std::int64_t frames = output->heardFrames();
    const std::lock_guard hold(lock_);
    return output_ == nullptr || run != run_ ? cued_ : positions_.sourceAt(frames);
}

double PlayerSound::position() const {
    platform::SoundOutput* output = nullptr;
    return secondsOf(heard(output));
}

double PlayerSound::elapsed() const {
    const platform::SoundOutput* output = nullptr;
    {
        const std::lock_guard hold(lock_);
        output = output_;
    }
    return output == nullptr ? 0 : secondsOf(output->heardFrames());
}

bool PlayerSound::isFinished() const {
    const platform::SoundOutput* output = nullptr;
    std::int64_t run = 0;
    {
        const std::lock_guard hold(lock_);
        output = output_;
        run = run_;
        if (output == nullptr || !isDecoded_ || !blocks_.empty()) return false;
    }
    const std::int64_t frames = output->heardFrames();
    const std::lock_guard hold(lock_);
    const bool isSame = output_ != nullptr && run == run_;
    return isSame && isDecoded_ && blocks_.empty() && frames >= positions_.soundEnd();
}

// On the output's thread.
void PlayerSound::fill(std::span<float> values) {
    {
        const std::lock_guard hold(lock_);
        while (!values.empty() && !blocks_.empty()) {
            Block& block = blocks_.front();
            const std::size_t count = std::min(values.size() / kChannels, block.frames - block.used);
            positions_.wrote(static_cast<std::int64_t>(count), block.source + static_cast<std::int64_t>(block.used));
            mix(block, values.first(count * kChannels));
            framesAhead_ -= static_cast<std::int64_t>(count);
            if (block.used == block.frames) blocks_.pop_front();
            values = values.subspan(count * kChannels);
        }
        // The end, or a disk that is too slow: then everything waits for it, also the pictures.
        std::fill(values.begin(), values.end(), 0.0F);
        positions_.waited(static_cast<std::int64_t>(values.size() / kChannels));
    }
    wake_.notify_one();
}

// The sum of all tracks, cut off at full scale. Under lock_.
void PlayerSound::mix(Block& block, std::span<float> values) {
    const std::size_t frames = values.size() / kChannels;
    std::fill(values.begin(), values.end(), 0.0F);
    for (std::size_t track = 0; track < block.tracks.size(); ++track) {
        Volume& volume = volumes_[track];
        const std::size_t glide = volume.now == volume.target ? 0 : std::min(frames, kGlideFrames);
        const float step = glide == 0 ? 0.0F : (volume.target - volume.now) / static_cast<float>(glide);
        const float* from = block.tracks[track].data() + block.used * kChannels;
        for (std::size_t i = 0; i < frames; ++i) {
            const float factor = i < glide ? volume.now + step * static_cast<float>(i) : volume.target;
            for (std::size_t channel = 0; channel < kChannels; ++channel) {
                values[i * kChannels + channel] += factor * *from++;
            }
        }
        volume.now = volume.target;
    }
    for (float& value : values) value = std::clamp(value, -1.0F, 1.0F);
    block.used += frames;
}

// The thread's main function.
void PlayerSound::decode() {
    std::vector<std::unique_ptr<media::SoundTrackReader>> readers;
    for (const int id : trackIds_) {
        readers.push_back(
            std::make_unique<media::SoundTrackReader>(*movie_.track(id), platform::SoundOutput::kFormat, 0));
    }
    std::int64_t at = 0;  // the position of the readers
    std::unique_lock hold(lock_);
    for (;;) {
        wake_.wait(hold, [this] { return isEnding_ || (mayDecode_ && !isDecoded_ && framesAhead_ < kMaximumAhead); });
        if (isEnding_) return;
        const std::optional<double> from = ranges_.playableFrom(secondsOf(decodeFrom_));
        if (!from) {
            isDecoded_ = true;
            continue;
        }
        Block block;
        block.source = std::max(decodeFrom_, frameOf(*from));
        block.range = {frameOf(ranges_.runsSince(*from)), frameOf(ranges_.runsUntil(*from)), ranges_.isJumpedTo(*from),
                       ranges_.isJumpedFrom(*from)};
        const std::int64_t left = block.range.end - block.source;
        block.frames = static_cast<std::size_t>(std::clamp<std::int64_t>(left, 1, kBlockFrames));
        const std::int64_t round = decodeRound_;
        hold.unlock();
        if (at != block.source) {
            for (const auto& reader : readers) {
                if (reader) reader->seek(block.source);
            }
        }
        at = block.source + static_cast<std::int64_t>(block.frames);
        read(block, readers);
        hold.lock();
        if (round != decodeRound_) continue;
        decodeFrom_ = at;
        framesAhead_ += static_cast<std::int64_t>(block.frames);
        blocks_.push_back(std::move(block));
    }
}

// Without lock_. A track that cannot be read is silent from then on.
void PlayerSound::read(Block& block, std::vector<std::unique_ptr<media::SoundTrackReader>>& readers) {
    for (auto& reader : readers) {
        std::vector<float>& values = block.tracks.emplace_back(block.frames * kChannels);
        if (!reader) continue;
        try {
            reader->read(values);
            media::softenJoins(block.range, block.source, values, platform::SoundOutput::kFormat);
        } catch (const std::exception& error) {
            Log::write("Studio", std::string("Vorschau: Eine Tonspur endet hier - Grund: ") + error.what());
            std::fill(values.begin(), values.end(), 0.0F);
            reader.reset();
        }
    }
}

}  // namespace lumivastor::playback
