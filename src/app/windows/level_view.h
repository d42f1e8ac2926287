// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QTimer>
#include <QWidget>
#include <functional>
#include <optional>

#include "platform/sound/sound_board.h"

namespace lumivastor::app {

/// The levels of a kind of sound; nullopt while it is not heard.
using LevelReader = std::function<std::optional<platform::LevelMeter::Reading>(platform::SoundBoard::Kind)>;

/// Where a level lies on a meter, 0...1: linear in decibels from -60 dBFS to full scale.
double levelPlace(double decibels);

/// A level meter, 30 times a second while it can be seen: the RMS as a filled bar, the peak as a paler one behind it, a
/// line for the peak that is held, and a red field at its end while the sound is clipped. Empty while nothing is heard.
class LevelView final : public QWidget {
  public:
    /// `name` is for assistive programs. A null reader reads nothing.
    LevelView(QString name, platform::SoundBoard::Kind kind, LevelReader read, QWidget* parent = nullptr);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

  private:
    void update();

    const platform::SoundBoard::Kind kind_;
    const LevelReader read_;
    /// Pixels; nothing while nothing is heard.
    struct Bars {
        int rms = 0;
        int peak = 0;
        int hold = 0;
        bool isClipped = false;

        bool operator==(const Bars&) const = default;
    };
    std::optional<Bars> bars() const;
    int wide() const;

    std::optional<Bars> shown_;
    QTimer timer_;
};

}  // namespace lumivastor::app
