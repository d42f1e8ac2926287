// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/writing/fragmented_movie_sink.h"

#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <new>
#include <utility>

#include "base/descriptor_io.h"
#include "base/precondition.h"
#include "base/recorder_error.h"
#include "base/system_error_text.h"
#include "base/thread_name.h"
#include "ffmpeg/ffmpeg_support.h"
#include "media/writing/h264_bitstream.h"
#include "media/writing/sample_description.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace lumivastor::media {

namespace {

// The fragments that may wait for the disk before encoders wait: half a dozen seconds at the usual interval.
constexpr std::size_t kWaitingBlocks = 3;
// A fragment of this many bytes is cut early. Two seconds of 4K at 60 take 10 MB.
constexpr std::size_t kMaxPendingBytes = 32 << 20;

bool beginsWithStartCode(const AVCodecParameters& parameters) {
    const std::uint8_t* const bytes = parameters.extradata;
    if (parameters.extradata_size < 4 || bytes[0] != 0 || bytes[1] != 0) return false;
    return bytes[2] == 1 || (bytes[2] == 0 && bytes[3] == 1);
}

// Appends the packet's units, each with its length instead of a start code. Returns the number of bytes.
std::size_t appendUnits(std::span<const std::uint8_t> packet, std::vector<std::uint8_t>& bytes) {
    const std::size_t before = bytes.size();
    for (const auto unit : unitsOf(packet)) {
        for (int shift = 24; shift >= 0; shift -= 8) {
            bytes.push_back(static_cast<std::uint8_t>(unit.size() >> shift));
        }
        bytes.insert(bytes.end(), unit.begin(), unit.end());
    }
    return bytes.size() - before;
}

}  // namespace

FragmentedMovieSink::FragmentedMovieSink(std::filesystem::path path, const MediaTime& interval)
    : path_(std::move(path)),
      interval_(interval.seconds()),
      file_(createFile(path_, path_.filename().string(), Existing::removed)) {
    precondition(interval_ > 0, "fragments have a length");
    // It does not matter if the file system has no locks: the lock only prevents a second program from repairing a
    // movie that is being written.
    static_cast<void>(::flock(file_.get(), LOCK_EX | LOCK_NB));
}

FragmentedMovieSink::~FragmentedMovieSink() {
    close();
}

int FragmentedMovieSink::addStream(const AVCodecParameters& parameters, int timescale, int) {
    precondition(nextNumber_ == 1 && !thread_.joinable() && timescale > 0, "streams come before the header");
    Track track;
    track.header.id = static_cast<std::uint32_t>(tracks_.size() + 1);
    track.header.isVideo = parameters.codec_type == AVMEDIA_TYPE_VIDEO;
    track.header.timescale = static_cast<std::uint32_t>(timescale);
    if (track.header.isVideo) {
        track.header.width = parameters.width;
        track.header.height = parameters.height;
    } else {
        track.header.encoderDelay = static_cast<std::uint32_t>(
            av_rescale(parameters.initial_padding, timescale, std::max(parameters.sample_rate, 1)));
    }
    track.hasStartCodes = track.header.isVideo && beginsWithStartCode(parameters);
    track.parameters.reset(avcodec_parameters_alloc());
    if (!track.parameters) throw RecorderError("Der Arbeitsspeicher reicht nicht.");
    ffmpeg::checked(avcodec_parameters_copy(track.parameters.get(), &parameters),
                    "Eine Spur konnte nicht angelegt werden");
    track.pending.id = track.header.id;
    tracks_.push_back(std::move(track));
    return static_cast<int>(tracks_.size()) - 1;
}

void FragmentedMovieSink::begin() {
    std::vector<DescribedStream> streams;
    for (const Track& track : tracks_) {
        streams.push_back({track.parameters.get(), static_cast<int>(track.header.timescale)});
    }
    const auto descriptions = sampleDescriptions(streams);
    std::vector<TrackHeader> headers;
    for (std::size_t i = 0; i < tracks_.size(); ++i) {
        tracks_[i].header.sampleDescription = descriptions[i];
        headers.push_back(tracks_[i].header);
    }
    std::unique_lock hold(lock_);
    store(fragmentedBeginning(headers), hold);
    throwIfFailed();
    thread_ = std::thread([this] { run(); });
}

void FragmentedMovieSink::write(int stream, AVPacket& packet) {
    std::unique_lock hold(lock_);
    throwIfFailed();
    Track& track = tracks_.at(static_cast<std::size_t>(stream));
    if (!track.pending.samples.empty()) {
        // For each track separately: otherwise a track that lags behind the others would cause a fragment for each of
        // its packets.
        const std::int64_t ticks = packet.pts + track.header.encoderDelay - track.pending.start;
        const bool isFull = static_cast<double>(ticks) / track.header.timescale >= interval_;
        if (isFull || pendingBytes_ >= kMaxPendingBytes) cut();
    }
    append(track, packet);
    if (!hasPending_) {
        const std::chrono::duration<double> interval(interval_);
        deadline_ = Clock::now() + std::chrono::duration_cast<Clock::duration>(interval);
        wake_.notify_one();
    }
    hasPending_ = true;
    if (blocks_.size() > kWaitingBlocks && !error_) ++diskWaits_;
    room_.wait(hold, [this] { return blocks_.size() <= kWaitingBlocks || error_; });
    throwIfFailed();
}

void FragmentedMovieSink::append(Track& track, const AVPacket& packet) {
    const std::int64_t time = packet.pts + track.header.encoderDelay;
    if (packet.pts == AV_NOPTS_VALUE || packet.size <= 0 || time <= track.lastTime) {
        throw RecorderError(path_.filename().string() +
                            " konnte nicht geschrieben werden: Der Encoder liefert ungeordnete Zeiten.");
    }
    FragmentTrack& pending = track.pending;
    constexpr std::int64_t kLongest = std::numeric_limits<std::uint32_t>::max();
    if (pending.samples.empty()) {
        pending.start = time;
    } else {
        pending.samples.back().duration = static_cast<std::uint32_t>(std::min(time - track.lastTime, kLongest));
    }
    track.lastTime = time;
    const std::span<const std::uint8_t> bytes(packet.data, static_cast<std::size_t>(packet.size));
    TrackSample sample;
    if (track.hasStartCodes) {
        sample.size = static_cast<std::uint32_t>(appendUnits(bytes, pending.bytes));
    } else {
        pending.bytes.insert(pending.bytes.end(), bytes.begin(), bytes.end());
        sample.size = static_cast<std::uint32_t>(bytes.size());
    }
    // Until the next sample determines it.
    sample.duration = static_cast<std::uint32_t>(std::clamp<std::int64_t>(packet.duration, 1, kLongest));
    sample.isKey = (packet.flags & AV_PKT_FLAG_KEY) != 0;
    pending.samples.push_back(sample);
    pendingBytes_ += sample.size;
}

// Passes pending packets to the thread.
void FragmentedMovieSink::cut() {
    if (!hasPending_) return;
    std::vector<FragmentTrack> parts;
    for (Track& track : tracks_) {
        parts.push_back(std::exchange(track.pending, {}));
        track.pending.id = track.header.id;
    }
    blocks_.push_back(fragmentBytes(nextNumber_++, parts));
    hasPending_ = false;
    pendingBytes_ = 0;
    wake_.notify_one();
}

void FragmentedMovieSink::run() {
    nameThisThread("writer.disk");
    std::unique_lock hold(lock_);
    for (;;) {
        if (!blocks_.empty()) {
            const std::vector<std::uint8_t> block = std::move(blocks_.front());
            blocks_.pop_front();
            store(block, hold);
            room_.notify_all();
        } else if (ending_) {
            return;
        } else if (!hasPending_) {
            wake_.wait(hold);
        } else if (wake_.wait_until(hold, deadline_) == std::cv_status::timeout && hasPending_ &&
                   Clock::now() >= deadline_) {
            cutWhenDue();
        }
    }
}

// This thread must not throw: if there is no memory for a fragment, the movie fails instead.
void FragmentedMovieSink::cutWhenDue() {
    try {
        cut();
    } catch (const std::bad_alloc&) {
        error_ = std::make_error_code(std::errc::not_enough_memory);
        blocks_.clear();
        hasPending_ = false;
        room_.notify_all();
    }
}

// Writes a block and waits until it is on the disk, without the lock. A block that does not fit is removed again, so
// that the file ends with a whole fragment and the remaining space is left for the index.
void FragmentedMovieSink::store(const std::vector<std::uint8_t>& block, std::unique_lock<std::mutex>& hold) {
    if (error_) return;
    hold.unlock();
    std::error_code failure = writeAll(file_.get(), block.data(), block.size()).error;
    // Anything but a file on a disk, such as a pipe, needs no waiting.
    if (!failure && ::fdatasync(file_.get()) != 0 && errno != EINVAL && errno != EROFS) {
        failure = {errno, std::generic_category()};
    }
    if (failure) static_cast<void>(::ftruncate(file_.get(), static_cast<off_t>(fileSize_)) == 0);
    hold.lock();
    if (!failure) {
        fileSize_ += block.size();
    } else {
        error_ = failure;
        blocks_.clear();
    }
}

void FragmentedMovieSink::endAt(const MediaTime& end) {
    const std::lock_guard hold(lock_);
    end_ = end;
}

void FragmentedMovieSink::endThread() {
    if (!thread_.joinable()) return;
    {
        const std::lock_guard hold(lock_);
        cut();
        ending_ = true;
        wake_.notify_one();
    }
    thread_.join();
}

void FragmentedMovieSink::finish() {
    endThread();
    throwIfFailed();
    auto movie = scanFragments(file_.get(), fileSize_);
    if (!movie || movie->wholeEnd != fileSize_) throwFailed(std::make_error_code(std::errc::io_error));
    if (movie->fragments == 0) throw RecorderError(path_.filename().string() + " enthält weder Bild noch Ton.");
    if (end_) {
        for (TrackIndex& track : movie->tracks) track.endAt(*end_);
    }
    if (const auto error = finishInPlace(file_.get(), *movie)) throwFailed(error);
    if (file_.reset() != 0) throwFailed({errno, std::generic_category()});
}

void FragmentedMovieSink::close() {
    endThread();
    file_.reset();
}

void FragmentedMovieSink::throwIfFailed() const {
    if (error_) throwFailed(error_);
}

void FragmentedMovieSink::throwFailed(std::error_code error) const {
    throw RecorderError(path_.filename().string() + " konnte nicht geschrieben werden: " + systemErrorText(error) +
                        ".");
}

}  // namespace lumivastor::media
