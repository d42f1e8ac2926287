// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/overview/overview_maker.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "base/handled_error.h"
#include "base/host_clock.h"
#include "base/log.h"
#include "base/recorder_error.h"
#include "base/thread_priority.h"
#include "media/reading/asset_reader.h"
#include "media/reading/key_pictures.h"
#include "render/overview/level_meter.h"
#include "render/overview/small_pictures.h"
#include "render/overview/still_stretches.h"

namespace lumivastor::render {

namespace {

constexpr double kDeliveryInterval = 0.25;
// How many small pictures are made before the sound, which takes longer than all of them.
constexpr std::size_t kFirstPictures = 24;

void logMissing(const media::Asset& movie, const char* what, const RecorderError& error) {
    Log::write("Editor", "Übersicht von „" + movie.path().parent_path().filename().string() + "“ ohne " + what + ": " +
                             error.message());
}

// The sound of one track, decoded from beginning to end.
class TrackLevels {
  public:
    TrackLevels(const std::shared_ptr<const media::Asset>& movie, const media::AssetTrack& track)
        : reader_(movie),
          format_{track.sampleRate, 2},
          output_(reader_.addAudioOutput(track.id, format_)),
          meter_(track.sampleRate, format_.channels) {
        if (!reader_.startReading()) fail();
    }

    /// Decodes a tenth of a second. False at the end. Throws `RecorderError`.
    bool advance() {
        const auto sample = output_.copyNextSample();
        if (!sample) {
            if (reader_.status() == media::AssetReader::Status::failed) fail();
            return false;
        }
        meter_.add(sample->values);
        return true;
    }
    std::vector<std::uint8_t> levels() const { return meter_.levels(); }

  private:
    [[noreturn]] void fail() const { throw reader_.error().value_or(RecorderError("Der Ton ist nicht lesbar.")); }

    media::AssetReader reader_;
    PcmFormat format_;
    media::AudioMixOutput& output_;
    LevelMeter meter_;
};

class Making {
  public:
    Making(const std::shared_ptr<const media::Asset>& movie, const model::CaptureInfo& info,
           const std::function<bool()>& isStopped, const std::function<void(const RecordingOverview&)>& delivered)
        : movie_(movie), info_(info), isStopped_(isStopped), delivered_(delivered) {}

    bool run() {
        unlessUnreadable("Bilder", [this] { readIndex(); });
        unlessUnreadable("Bilder", [this] { makePictures(kFirstPictures); });
        readSound();
        if (isStopped_()) return false;
        overview_.knowsSound = true;
        delivered_(overview_);
        unlessUnreadable("Bilder", [this] { makePictures(order_.size()); });
        if (isStopped_()) return false;
        overview_.isComplete = true;
        delivered_(overview_);
        return isWhole_;
    }

  private:
    void unlessUnreadable(const char* what, const std::function<void()>& step) {
        try {
            step();
        } catch (const RecorderError& error) {
            pictures_.reset();
            order_.clear();
            missing(what, error);
        }
    }

    void missing(const char* what, const RecorderError& error) {
        isWhole_ = false;
        logMissing(*movie_, what, error);
    }

    void deliverNowAndThen() {
        const double now = hostClockSeconds();
        if (now < lastDelivery_ + kDeliveryInterval) return;
        lastDelivery_ = now;
        delivered_(overview_);
    }

    void readIndex() {
        const std::vector<media::AssetTrack> tracks = movie_->tracks(media::TrackKind::video);
        if (tracks.empty()) return;
        const media::AssetTrack& track = tracks.front();
        pictures_.emplace(movie_, track.id);
        samples_ = pictures_->index();
        const double end = std::max(track.end.seconds(), info_.duration);
        overview_.stillStretches = stillStretches(samples_, end);
        order_ = smallPictureOrder(samples_, end);
    }

    // Up to so many of the order.
    void makePictures(std::size_t count) {
        for (; made_ < std::min(count, order_.size()) && !isStopped_(); ++made_) {
            const auto picture = pictures_->decode(samples_[order_[made_]].decodeTime);
            if (!picture) continue;
            const PixelSize size = smallPictureSize({picture->samples.width, picture->samples.height});
            SmallPicture small{std::max(picture->presentationTime.seconds(), 0.0), shrunk(picture->samples, size)};
            auto& pictures = overview_.pictures;
            const auto after =
                std::upper_bound(pictures.begin(), pictures.end(), small.seconds,
                                 [](double seconds, const SmallPicture& other) { return seconds < other.seconds; });
            pictures.insert(after, std::move(small));
            deliverNowAndThen();
        }
    }

    // Both tracks side by side, so that stretches become known in the order of time.
    void readSound() {
        struct Track {
            const char* name;
            std::shared_ptr<const Waveform> RecordingOverview::*waveform;
            std::unique_ptr<TrackLevels> levels;
        };
        std::vector<Track> tracks;
        if (info_.systemAudio) tracks.push_back({"Systemton", &RecordingOverview::systemSound, {}});
        if (info_.microphone) tracks.push_back({"Mikrofon", &RecordingOverview::microphone, {}});
        const std::vector<media::AssetTrack> stored = movie_->tracks(media::TrackKind::audio);
        const auto show = [this](const Track& track) {
            overview_.*track.waveform = std::make_shared<const Waveform>(track.levels->levels());
        };
        for (std::size_t i = 0; i < tracks.size(); ++i) {
            const RecorderError none("Die Spur fehlt.");
            try {
                if (i >= stored.size()) throw none;
                tracks[i].levels = std::make_unique<TrackLevels>(movie_, stored[i]);
            } catch (const RecorderError& error) {
                missing(tracks[i].name, error);
            }
        }
        bool isReading = true;
        while (isReading && !isStopped_()) {
            isReading = false;
            for (Track& track : tracks) {
                try {
                    if (!track.levels) continue;
                    if (track.levels->advance()) {
                        isReading = true;
                        continue;
                    }
                } catch (const RecorderError& error) {
                    missing(track.name, error);
                }
                show(track);
                track.levels.reset();
            }
            if (isReading && hostClockSeconds() >= lastDelivery_ + kDeliveryInterval) {
                for (const Track& track : tracks) {
                    if (track.levels) show(track);
                }
                deliverNowAndThen();
            }
        }
    }

    const std::shared_ptr<const media::Asset>& movie_;
    const model::CaptureInfo& info_;
    const std::function<bool()>& isStopped_;
    const std::function<void(const RecordingOverview&)>& delivered_;
    RecordingOverview overview_;
    std::optional<media::KeyPictures> pictures_;
    std::vector<media::IndexedSample> samples_;
    std::vector<std::size_t> order_;
    std::size_t made_ = 0;
    bool isWhole_ = true;
    double lastDelivery_ = hostClockSeconds();
};

}  // namespace

bool makeOverview(const std::shared_ptr<const media::Asset>& movie, const model::CaptureInfo& info,
                  const std::function<bool()>& isStopped,
                  const std::function<void(const RecordingOverview&)>& delivered) {
    return Making(movie, info, isStopped, delivered).run();
}

OverviewMaker::OverviewMaker(MainLoop& loop, std::filesystem::path cacheFolder)
    : loop_(loop), cache_(std::move(cacheFolder)), queue_("overview.make") {
    queue_.async([] { lowerPriorityOfThisThread(); });
}

OverviewMaker::~OverviewMaker() {
    stop_.request_stop();
}

std::unique_ptr<OverviewMaker::Request> OverviewMaker::make(std::shared_ptr<const media::Asset> movie,
                                                            const model::CaptureInfo& info, Handler handler) {
    std::unique_ptr<Request> request(new Request);
    const auto isStopped = [mine = request->stop_.get_token(), all = stop_.get_token()] {
        return mine.stop_requested() || all.stop_requested();
    };
    const auto shared = std::make_shared<const Handler>(std::move(handler));
    const auto deliver = [this, shared, alive = request->lifetime_.watch()](const RecordingOverview& overview) {
        loop_.async([shared, alive, value = std::make_shared<const RecordingOverview>(overview)] {
            if (!alive.expired()) (*shared)(value);
        });
    };
    queue_.async([this, movie = std::move(movie), info, isStopped, deliver] {
        if (isStopped()) return;
        try {
            const std::optional<std::uint64_t> identity = movieIdentity(movie->path());
            if (identity) {
                if (const auto kept = cache_.load(*identity)) return deliver(*kept);
            }
            RecordingOverview last;
            const bool isWhole = makeOverview(movie, info, isStopped, [&](const RecordingOverview& overview) {
                deliver(overview);
                last = overview;
            });
            // Also if nobody waits for it any more: the work is done.
            if (isWhole && identity) cache_.store(last, *identity);
        } catch (...) {
            Log::write("Editor", handledError("Die Übersicht ist nicht entstanden").message());
        }
    });
    return request;
}

}  // namespace lumivastor::render
