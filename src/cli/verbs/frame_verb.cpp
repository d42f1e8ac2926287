// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <thread>

#include "base/log.h"
#include "base/pixel_size.h"
#include "base/recorder_error.h"
#include "cli/verb.h"
#include "cli/verbs/canvas_option.h"
#include "edit/composition.h"
#include "imaging/painting/painter.h"
#include "imaging/png_file.h"
#include "media/reading/asset.h"
#include "media/reading/still_picture.h"

namespace lumivastor::cli {

namespace {

constexpr std::array kOptions = {
    OptionSpec{"--at", "T", "Zeit der Aufnahme in Sekunden"},
    OptionSpec{"--out", "DATEI.png", "wohin das Bild geschrieben wird"},
    kCanvasOption,
    OptionSpec{"--source", "DATEI.png", "dieses Bild statt des aufgenommenen Bildschirms"},
    OptionSpec{"--webcam", "DATEI.png", "dieses Bild statt des aufgenommenen Webcam-Bildes"},
};

std::string required(const Arguments& arguments, std::string_view option) {
    const auto value = arguments.value(option);
    if (!value) throw UsageError("Es fehlt: " + std::string(option));
    return *value;
}

imaging::Picture pictureFrom(const std::string& file) {
    return imaging::Picture(std::make_shared<const imaging::BgraPremultipliedBuffer>(imaging::readPng(file)));
}

imaging::Picture sourcePicture(const edit::Composition& composition, const Arguments& arguments, double t) {
    if (const auto file = arguments.value("--source")) return pictureFrom(*file);
    const auto movie = std::make_shared<const media::Asset>(composition.folder() / "source.mov");
    const auto tracks = movie->tracks(media::TrackKind::video);
    if (tracks.empty()) throw RecorderError("Die Aufnahme enthält kein Bild.");
    // Before its time the first picture is shown.
    const auto picture = media::stillPicture(movie, std::max(t, tracks.front().start.seconds()));
    if (!picture) throw RecorderError("Die Aufnahme enthält kein Bild.");
    return imaging::Picture(*picture);
}

std::optional<imaging::Picture> webcamPicture(const edit::Composition& composition, const Arguments& arguments,
                                              double t) {
    if (const auto file = arguments.value("--webcam")) return pictureFrom(*file);
    const edit::Recording& recording = composition.recording();
    if (!recording.hasWebcam()) return std::nullopt;
    try {
        const auto picture = media::stillPicture(std::make_shared<const media::Asset>(recording.webcamFile),
                                                 t - recording.webcamOffset());
        return picture ? std::optional(imaging::Picture(*picture)) : std::nullopt;
    } catch (const RecorderError& error) {
        // As in an export, an unusable camera movie only loses the bubble.
        Log::write("Studio", "Webcam-Film wird weggelassen: " + error.message());
        return std::nullopt;
    }
}

void run(const Arguments& arguments, std::ostream&) {
    const std::string& folder = arguments.single("ORDNER einer Aufnahme");
    const auto times = arguments.numbers("--at");
    if (times.size() != 1) throw UsageError("--at erwartet eine Zeit in Sekunden.");
    const std::string out = required(arguments, "--out");
    const PixelSize canvas = canvasFrom(arguments);

    const double t = times.front();
    const edit::Composition composition(folder, canvas.width, canvas.height);
    const imaging::Picture frame =
        composition.compose(sourcePicture(composition, arguments, t), webcamPicture(composition, arguments, t), t);
    imaging::BgraPremultipliedBuffer pixels(canvas.width, canvas.height);
    imaging::Painter painter(static_cast<int>(std::max(1u, std::thread::hardware_concurrency())));
    painter.paint(frame, pixels);
    imaging::writePng(out, pixels);
}

}  // namespace

constinit const Verb kFrameVerb = {"frame", "ORDNER", "Setzt das fertige Bild zu einer Zeit der Aufnahme zusammen.",
                                   kOptions, run};

}  // namespace lumivastor::cli
