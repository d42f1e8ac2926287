// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>

namespace lumivastor::capture {

/// What a running recording has counted so far, for `LossWatch` and `SpaceWatch`. No counter falls.
struct RecordingHealth {
    /// Pictures of one movie.
    struct Movie {
        std::int64_t written = 0;
        /// For which the writer had no room.
        std::int64_t lost = 0;
        /// How often an encoder had to wait for the disk.
        std::int64_t diskWaits = 0;

        bool operator==(const Movie&) const = default;
    };
    struct Webcam {
        Movie movie;
        /// Pictures that the camera has sent.
        std::int64_t delivered = 0;
        /// Those that differ from the one before, among a few a second that are compared.
        std::int64_t changed = 0;

        bool operator==(const Webcam&) const = default;
    };

    /// Length of the recording. Only this tells time here, so a recording that stands still changes nothing.
    double seconds = 0;
    /// Pictures a second, as the user chose; 0 for devices, where nobody chooses.
    int fps = 0;
    Movie screen = {};
    /// Pictures that the desktop did not hand over in time.
    std::int64_t missed = 0;
    std::optional<Webcam> webcam = {};
    /// The size of the movies.
    std::uint64_t bytes = 0;
    /// The free space that the recording may still use before it must end; nullopt when unknown.
    std::optional<std::uint64_t> usableBytes = {};

    bool operator==(const RecordingHealth&) const = default;
};

}  // namespace lumivastor::capture
