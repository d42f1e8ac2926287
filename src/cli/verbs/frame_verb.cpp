#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <thread>

#include "base/log.h"
#include "base/recorder_error.h"
#include "cli/verb.h"
#include "cli/verbs/canvas_option.h"
#include "edit/composition.h"
#include "imaging/painting/painter.h"
#include "imaging/png_file.h"
#include "media/reading/asset.h"
#include "media/reading/still_picture.h"

namespace lumivastor {

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

Picture pictureFrom(const std::string& file) {
    return Picture(std::make_shared<const BgraPremultipliedBuffer>(readPng(file)));
}

Picture sourcePicture(const Composition& composition, const Arguments& arguments, double t) {
    if (const auto file = arguments.value("--source")) return pictureFrom(*file);
    const auto movie = std::make_shared<const Asset>(composition.folder() / "source.mov");
    const auto tracks = movie->tracks(TrackKind::video);
    if (tracks.empty()) throw RecorderError("Die Aufnahme enthält kein Bild.");
    // Before its first picture the recording shows that one.
    const auto picture = stillPicture(movie, std::max(t, tracks.front().start.seconds()));
    if (!picture) throw RecorderError("Die Aufnahme enthält kein Bild.");
    return Picture(*picture);
}

std::optional<Picture> webcamPicture(const Composition& composition, const Arguments& arguments, double t) {
    if (const auto file = arguments.value("--webcam")) return pictureFrom(*file);
    const Recording& recording = composition.recording();
    if (!recording.hasWebcam()) return std::nullopt;
    try {
        const auto picture =
            stillPicture(std::make_shared<const Asset>(recording.webcamFile), t - recording.webcamOffset());
        return picture ? std::optional(Picture(*picture)) : std::nullopt;
    } catch (const RecorderError& error) {
        // Like an export: a camera movie that cannot be shown costs the bubble, not the frame.
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
    const Composition composition(folder, canvas.width, canvas.height);
    const Picture frame =
        composition.compose(sourcePicture(composition, arguments, t), webcamPicture(composition, arguments, t), t);
    BgraPremultipliedBuffer pixels(canvas.width, canvas.height);
    Painter painter(static_cast<int>(std::max(1u, std::thread::hardware_concurrency())));
    painter.paint(frame, pixels);
    writePng(out, pixels);
}

}  // namespace

constinit const Verb kFrameVerb = {"frame", "ORDNER", "Setzt das fertige Bild zu einer Zeit der Aufnahme zusammen.",
                                   kOptions, run};

}  // namespace lumivastor
