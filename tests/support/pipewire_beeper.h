// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace lumivastor {

/// Like `Beeper`, over PipeWire's own interface, where the time of every frame is known exactly (over PulseAudio's
/// protocol it is reported two cycles too early). Runs on its own threads until it is destroyed.
class PipeWireBeeper {
  public:
    /// Throws std::runtime_error without the server.
    PipeWireBeeper(const std::string& remote, const std::string& sink);
    ~PipeWireBeeper();

    /// Host seconds of the beginning of every beep heard until now, ascending.
    std::vector<double> beeps() const;

  private:
    class Player;
    std::unique_ptr<Player> player_;
};

}  // namespace lumivastor
