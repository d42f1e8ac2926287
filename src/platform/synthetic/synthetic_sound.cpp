// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/synthetic/synthetic_sound.h"

#include <algorithm>
#include <mutex>
#include <utility>
#include <vector>

#include "base/precondition.h"
#include "base/recorder_error.h"

namespace lumivastor::synthetic {

/// What the sources and the system share.
class SyntheticSoundSystem::Hub {
  public:
    std::mutex lock;
    std::optional<platform::CaptureDevice> microphone;            // guarded by lock
    std::vector<platform::CaptureDevice> others;                  // guarded by lock
    platform::InputChoice lastChoice;                             // guarded by lock
    std::optional<std::string> failures[2];                       // guarded by lock; by kind
    std::vector<std::pair<Kind, std::weak_ptr<Source>>> running;  // guarded by lock

    std::vector<std::shared_ptr<Source>> sources(Kind kind) {
        const std::lock_guard hold(lock);
        std::vector<std::shared_ptr<Source>> found;
        for (const auto& [itsKind, weak] : running) {
            if (auto source = weak.lock(); source && itsKind == kind) found.push_back(std::move(source));
        }
        return found;
    }
};

/// The part of a source that outlives it while a buffer is on its way.
class SyntheticSoundSystem::Source {
  public:
    Source(int sampleRate, int channels) : sampleRate_(sampleRate), channels_(channels) {}

    int sampleRate() const { return sampleRate_; }
    int channels() const { return channels_; }

    void open(platform::SoundSource::Handler handler, platform::SoundSource::EndHandler ended) {
        const std::lock_guard hold(calling_);
        handler_ = std::move(handler);
        ended_ = std::move(ended);
    }
    void close() {
        const std::lock_guard hold(calling_);
        handler_ = nullptr;
        ended_ = nullptr;
        returned_ = nullptr;
        stateChanged_ = nullptr;
    }
    void onState(platform::SoundSource::StateHandler handler) {
        const std::lock_guard hold(calling_);
        stateChanged_ = std::move(handler);
    }
    void tell(const platform::InputState& state) {
        const std::lock_guard hold(calling_);
        if (stateChanged_) stateChanged_(state);
    }
    void onReturn(platform::SoundSource::ReturnHandler handler) {
        const std::lock_guard hold(calling_);
        returned_ = std::move(handler);
    }
    void hear(const platform::SoundBuffer& buffer) {
        const std::lock_guard hold(calling_);
        if (handler_) handler_(buffer);
    }
    void end(const std::string& reason) {
        const std::lock_guard hold(calling_);
        if (!std::exchange(hasEnded_, true) && ended_) ended_(reason);
    }
    void comeBack() {
        const std::lock_guard hold(calling_);
        if (std::exchange(hasEnded_, false) && returned_) returned_();
    }

  private:
    const int sampleRate_;
    const int channels_;
    // Held during the calls out: stopping has to wait for the one under way, as with a real server.
    std::mutex calling_;
    // All of these are guarded by calling_.
    platform::SoundSource::Handler handler_;
    platform::SoundSource::EndHandler ended_;
    platform::SoundSource::ReturnHandler returned_;
    platform::SoundSource::StateHandler stateChanged_;
    bool hasEnded_ = false;
};

namespace {

template <typename Hub, typename Source>
class SyntheticSource final : public platform::SoundSource {
  public:
    SyntheticSource(std::shared_ptr<Hub> hub, SyntheticSoundSystem::Kind kind, std::shared_ptr<Source> source)
        : hub_(std::move(hub)), kind_(kind), source_(std::move(source)) {}
    ~SyntheticSource() override { stop(); }
    SyntheticSource(const SyntheticSource&) = delete;
    SyntheticSource& operator=(const SyntheticSource&) = delete;

    void onReturn(ReturnHandler handler) override { source_->onReturn(std::move(handler)); }
    void onState(StateHandler handler) override { source_->onState(std::move(handler)); }

    void start(Handler handler, EndHandler ended) override {
        precondition(!started_, "a sound source starts once");
        started_ = true;
        const std::lock_guard hold(hub_->lock);
        if (const auto& failure = hub_->failures[static_cast<std::size_t>(kind_)]) throw RecorderError(*failure);
        if (kind_ == SyntheticSoundSystem::Kind::microphone && !hub_->microphone) {
            throw RecorderError("Kein Mikrofon gefunden.");
        }
        source_->open(std::move(handler), std::move(ended));
        hub_->running.emplace_back(kind_, source_);
    }

    void stop() override {
        {
            const std::lock_guard hold(hub_->lock);
            std::erase_if(hub_->running, [this](const auto& entry) { return entry.second.lock() == source_; });
        }
        source_->close();
    }

  private:
    std::shared_ptr<Hub> hub_;
    SyntheticSoundSystem::Kind kind_;
    std::shared_ptr<Source> source_;
    bool started_ = false;
};

}  // namespace

SyntheticSoundSystem::SyntheticSoundSystem() : hub_(std::make_shared<Hub>()) {
    hub_->microphone = platform::CaptureDevice{"synthetic-microphone", "Testmikrofon", false, 1};
}

SyntheticSoundSystem::~SyntheticSoundSystem() = default;

std::unique_ptr<platform::SoundSource> SyntheticSoundSystem::systemAudio(int sampleRate, int channels) {
    return std::make_unique<SyntheticSource<Hub, Source>>(hub_, Kind::systemAudio,
                                                          std::make_shared<Source>(sampleRate, channels));
}

std::unique_ptr<platform::SoundSource> SyntheticSoundSystem::microphone(int sampleRate) {
    const auto device = defaultMicrophone();
    const int channels = device && device->channels > 0 ? device->channels : 1;
    return std::make_unique<SyntheticSource<Hub, Source>>(hub_, Kind::microphone,
                                                          std::make_shared<Source>(sampleRate, channels));
}

std::optional<platform::CaptureDevice> SyntheticSoundSystem::defaultMicrophone() {
    const std::lock_guard hold(hub_->lock);
    return hub_->microphone;
}

std::vector<platform::CaptureDevice> SyntheticSoundSystem::microphones() {
    const std::lock_guard hold(hub_->lock);
    std::vector<platform::CaptureDevice> all = hub_->others;
    if (hub_->microphone) all.insert(all.begin(), *hub_->microphone);
    return all;
}

std::unique_ptr<platform::SoundSource> SyntheticSoundSystem::input(int sampleRate,
                                                                   const platform::InputChoice& choice) {
    {
        const std::lock_guard hold(hub_->lock);
        hub_->lastChoice = choice;
    }
    return microphone(sampleRate);
}

void SyntheticSoundSystem::setOtherMicrophones(std::vector<platform::CaptureDevice> microphones) {
    const std::lock_guard hold(hub_->lock);
    hub_->others = std::move(microphones);
}

platform::InputChoice SyntheticSoundSystem::lastChoice() const {
    const std::lock_guard hold(hub_->lock);
    return hub_->lastChoice;
}

bool SyntheticSoundSystem::tell(const platform::InputState& state) {
    const auto sources = hub_->sources(Kind::microphone);
    for (const auto& source : sources) source->tell(state);
    return !sources.empty();
}

void SyntheticSoundSystem::setDefaultMicrophone(std::optional<platform::CaptureDevice> microphone) {
    const std::lock_guard hold(hub_->lock);
    hub_->microphone = std::move(microphone);
}

void SyntheticSoundSystem::failStarts(Kind kind, std::optional<std::string> message) {
    const std::lock_guard hold(hub_->lock);
    hub_->failures[static_cast<std::size_t>(kind)] = std::move(message);
}

bool SyntheticSoundSystem::emit(Kind kind, const platform::SoundBuffer& buffer) {
    const auto sources = hub_->sources(kind);
    for (const auto& source : sources) source->hear(buffer);
    return !sources.empty();
}

bool SyntheticSoundSystem::emit(Kind kind, double hostSeconds, std::size_t frames, float value) {
    const auto sources = hub_->sources(kind);
    for (const auto& source : sources) {
        const std::vector<float> values(frames * static_cast<std::size_t>(source->channels()), value);
        source->hear({hostSeconds, source->sampleRate(), source->channels(), values});
    }
    return !sources.empty();
}

bool SyntheticSoundSystem::end(Kind kind, const std::string& reason) {
    const auto sources = hub_->sources(kind);
    for (const auto& source : sources) source->end(reason);
    return !sources.empty();
}

bool SyntheticSoundSystem::comeBack(Kind kind) {
    const auto sources = hub_->sources(kind);
    for (const auto& source : sources) source->comeBack();
    return !sources.empty();
}

int SyntheticSoundSystem::running(Kind kind) const {
    return static_cast<int>(hub_->sources(kind).size());
}

}  // namespace lumivastor::synthetic
