// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QRegion>
#include <QTimer>
#include <QWidget>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "platform/sound/sound_board.h"

namespace lumivastor::app {

/// The levels of a kind of sound; nullopt while it is not heard.
using LevelReader = std::function<std::optional<platform::LevelMeter::Reading>(platform::SoundBoard::Kind)>;

/// Where a level lies on a meter, 0...1: linear in decibels from -60 dBFS to full scale.
double levelPlace(double decibels);

/// What a meter shows, in its own coordinates; a length of 0 is nothing.
struct LevelBars {
    int rms = 0;
    int peak = 0;
    /// The right edge of its line.
    int hold = 0;
    bool isClipped = false;

    bool operator==(const LevelBars&) const = default;
};

/// Where a meter of this size looks different after a change.
QRegion changedLevelArea(const LevelBars& before, const LevelBars& now, QSize size);

class LevelView;

/// The beat of a window's meters: one for all of them, so that they are painted together. It beats while one of them
/// can be seen, and slower while none changes. Its meters, all in one window, own it.
class LevelBeat final : public QObject {
  public:
    /// A null reader reads nothing.
    explicit LevelBeat(LevelReader read);

    std::optional<platform::LevelMeter::Reading> read(platform::SoundBoard::Kind kind) const;
    void begin(LevelView& view);
    void end(LevelView& view);

    /// Shows the present levels.
    void beat();

  private:
    const LevelReader read_;
    std::vector<LevelView*> views_;
    int stillBeats_ = 0;
    QTimer timer_;
};

/// A level meter, 25 times a second while it can be seen: the RMS as a filled bar, the peak as a paler one behind it, a
/// line for the peak that is held, and a red field at its end while the sound is clipped. Empty while nothing is heard.
class LevelView final : public QWidget {
  public:
    /// `name` is for assistive programs.
    LevelView(QString name, platform::SoundBoard::Kind kind, std::shared_ptr<LevelBeat> beat,
              QWidget* parent = nullptr);
    ~LevelView() override;

    /// Shows the present levels. Returns whether they look different.
    bool follow();

  protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

  private:
    std::optional<LevelBars> bars() const;

    const platform::SoundBoard::Kind kind_;
    const std::shared_ptr<LevelBeat> beat_;
    std::optional<LevelBars> shown_;  // nullopt while nothing is heard
};

}  // namespace lumivastor::app
