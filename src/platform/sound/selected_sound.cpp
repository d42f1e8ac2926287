// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/sound/selected_sound.h"

#include <string>
#include <utility>

#include "base/host_clock.h"

namespace lumivastor::platform {
namespace {

/// Passes everything on, and reports it to the board.
class ReportedSource final : public SoundSource {
  public:
    using Kind = SoundBoard::Kind;

    ReportedSource(std::unique_ptr<SoundSource> source, std::shared_ptr<SoundBoard> board, Kind kind,
                   std::string wanted)
        : board_(std::move(board)), kind_(kind), wanted_(std::move(wanted)), source_(std::move(source)) {
        source_->onReturn([this] { isBack(); });
        if (kind_ == Kind::microphone) source_->onState([this](const InputState& state) { board_->tell(state); });
    }
    ~ReportedSource() override { leaveBoard(); }
    ReportedSource(const ReportedSource&) = delete;
    ReportedSource& operator=(const ReportedSource&) = delete;

    void onReturn(ReturnHandler handler) override { returned_ = std::move(handler); }
    void onState(StateHandler handler) override {
        source_->onState([this, handler = std::move(handler)](const InputState& state) {
            if (kind_ == Kind::microphone) board_->tell(state);
            handler(state);
        });
    }

    void onlyForLevels() override { source_->onlyForLevels(); }

    void start(Handler handler, EndHandler ended) override {
        board_->begin(kind_, wanted_, hostClockSeconds());
        isOnBoard_ = true;
        try {
            source_->start(
                [this, handler = std::move(handler)](const SoundBuffer& sound) {
                    board_->add(kind_, sound, hostClockSeconds());
                    handler(sound);
                },
                [this, ended = std::move(ended)](const std::string& reason) {
                    board_->lost(kind_);
                    if (ended) ended(reason);
                });
        } catch (...) {
            leaveBoard();
            throw;
        }
    }
    void stop() override {
        source_->stop();
        leaveBoard();
    }

  private:
    void isBack() {
        board_->returned(kind_, wanted_, hostClockSeconds());
        if (returned_) returned_();
    }
    void leaveBoard() {
        if (std::exchange(isOnBoard_, false)) board_->end(kind_);
    }

    const std::shared_ptr<SoundBoard> board_;
    const Kind kind_;
    const std::string wanted_;
    ReturnHandler returned_;
    bool isOnBoard_ = false;
    const std::unique_ptr<SoundSource> source_;  // last: its thread uses the others
};

}  // namespace

SelectedSound::SelectedSound(std::shared_ptr<SoundSystem> system, std::shared_ptr<const DeviceSelection> selection,
                             std::shared_ptr<SoundBoard> board)
    : system_(std::move(system)), selection_(std::move(selection)), board_(std::move(board)) {}

std::unique_ptr<SoundSource> SelectedSound::systemAudio(int sampleRate, int channels) {
    return std::make_unique<ReportedSource>(system_->systemAudio(sampleRate, channels), board_,
                                            SoundBoard::Kind::systemAudio, "");
}

std::unique_ptr<SoundSource> SelectedSound::microphone(int sampleRate) {
    const std::string chosen = selection_->microphone();
    auto source = chosen.empty() ? system_->microphone(sampleRate) : system_->input(sampleRate, {chosen, false});
    return std::make_unique<ReportedSource>(std::move(source), board_, SoundBoard::Kind::microphone, chosen);
}

std::optional<CaptureDevice> SelectedSound::defaultMicrophone() {
    const std::string chosen = selection_->microphone();
    if (!chosen.empty()) {
        for (CaptureDevice& each : system_->microphones()) {
            if (each.lastingId() == chosen) return std::move(each);
        }
    }
    return system_->defaultMicrophone();
}

}  // namespace lumivastor::platform
