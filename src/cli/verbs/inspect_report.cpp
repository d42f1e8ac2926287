// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/verbs/inspect_report.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <ostream>
#include <string>
#include <vector>

#include "base/formatted.h"
#include "base/interval.h"
#include "base/saturated.h"

namespace lumivastor::cli {

namespace {

// Longer tables are useless on a terminal; programs read the JSON.
constexpr std::size_t kMostRows = 30;
constexpr int kPlotColumns = 72;
constexpr int kPlotRows = 6;

std::string clockTime(double seconds) {
    const char* const sign = seconds < 0 ? "-" : "";
    const double rest = std::abs(seconds);
    const auto minutes = saturated<int>(rest / 60);
    if (minutes < 60) return formatted("%s%d:%06.3f", sign, minutes, rest - minutes * 60.0);
    return formatted("%s%d:%02d:%06.3f", sign, minutes / 60, minutes % 60, rest - minutes * 60.0);
}

std::string counted(std::size_t count, const char* one, const char* many) {
    return formatted("%zu %s", count, count == 1 ? one : many);
}

std::string sourceName(const model::CaptureInfo& info) {
    const std::string kind = info.sourceKind.value_or("");
    if (kind == "display") return "Bildschirm";
    if (kind == "region") return "Bereich";
    if (kind == "window") return info.windowTitle ? "Fenster „" + *info.windowTitle + "“" : "Fenster";
    return kind.empty() ? "unbekannt" : kind;
}

void printOverview(const edit::Composition& composition, const edit::EditState& state, std::ostream& out) {
    const model::CaptureInfo& info = composition.info();
    const model::PointerTrack& track = composition.track();
    std::string sound = info.systemAudio && info.microphone ? "Systemton und Mikrofon"
                        : info.systemAudio                  ? "Systemton"
                        : info.microphone                   ? "Mikrofon"
                                                            : "ohne";
    out << "Aufnahme     " << composition.folder().string() << "\n"
        << "Quelle       " << sourceName(info)
        << formatted(", %lld×%lld Pixel, %lld Bilder je Sekunde\n", static_cast<long long>(info.pixelWidth),
                     static_cast<long long>(info.pixelHeight), static_cast<long long>(info.fps))
        << "Länge        " << clockTime(info.duration) << " aufgenommen, " << clockTime(state.outputDuration)
        << " im Video\n"
        << "Ton          " << sound << "\n"
        << "Webcam       "
        << (composition.recording().hasWebcam()
                ? formatted("ja, beginnt bei %.3f s", composition.recording().webcamOffset())
            : info.webcamFile ? std::string("im Dokument genannt, aber nicht im Ordner")
                              : std::string("keine"))
        << "\n"
        << "Maus         " << counted(track.events.size(), "Ereignis", "Ereignisse") << ", "
        << counted(state.clicks.size(), "Klick", "Klicks") << " im Bild, "
        << counted(track.cursorImages.size(), "Cursorform", "Cursorformen")
        << (info.knowsClicks()      ? ""
            : info.knowsPositions() ? "; Klicks sind nicht bekannt"
                                    : "; wo sie war, ist nicht bekannt")
        << "\n";
    const std::vector<double>& marks = composition.recording().marks;
    if (marks.empty()) return;
    out << "Marken      ";
    for (const double t : marks) {
        out << " " << clockTime(t) << (edit::outputTime(state.keptSegments, t) ? "" : " (nicht im Video)");
    }
    out << "\n";
}

void printLayout(const edit::StudioLayout& layout, std::ostream& out) {
    const auto rect = [](const Rect& r) { return formatted("%.1f, %.1f  %.1f×%.1f", r.x, r.y, r.width, r.height); };
    out << "\nAufbau auf " << layout.canvas.width << "×" << layout.canvas.height << " Pixeln\n"
        << "  Ausschnitt der Quelle  " << rect(layout.cropRect) << "\n"
        << "  Lage auf dem Bild      " << rect(layout.screenRect)
        << formatted("  (Maßstab %.4f)\n", layout.contentScale);
    if (!layout.bubbleRect.isEmpty()) out << "  Webcam-Blase           " << rect(layout.bubbleRect) << "\n";
    for (const Rect& mask : layout.maskRects) out << "  Verpixelt              " << rect(mask) << "\n";
}

void printSegments(const edit::EditState& state, std::ostream& out) {
    out << "\nBehaltene Abschnitte\n";
    if (state.keptSegments.empty()) {
        out << "  keine – alles ist weggeschnitten\n";
        return;
    }
    out << "   Nr.        von            bis          Länge\n";
    for (std::size_t i = 0; i < std::min(state.keptSegments.size(), kMostRows); ++i) {
        const Interval& each = state.keptSegments[i];
        out << formatted("  %4zu  %13s  %13s  %10.3f s\n", i + 1, clockTime(each.start).c_str(),
                         clockTime(each.end).c_str(), each.length());
    }
    if (state.keptSegments.size() > kMostRows) {
        out << formatted("  … und %zu weitere\n", state.keptSegments.size() - kMostRows);
    }
}

void printZooms(const edit::EditState& state, bool knowsClicks, std::ostream& out) {
    const char* const proposed = knowsClicks ? "Automatik" : "Automatik nach Haltepunkten des Zeigers";
    out << "\nZooms (" << (state.settings.zooms ? "von Hand bearbeitet" : proposed) << ")\n";
    if (state.zoomSpecs.empty()) {
        out << "  keine\n";
        return;
    }
    out << "   Nr.        von            bis     Vergrößerung  Zielpunkte\n";
    for (std::size_t i = 0; i < std::min(state.zoomSpecs.size(), kMostRows); ++i) {
        const model::ZoomSpec& each = state.zoomSpecs[i];
        out << formatted("  %4zu  %13s  %13s  %8.2f  %10zu\n", i + 1, clockTime(each.start).c_str(),
                         clockTime(each.end).c_str(), each.scale, each.focus.size());
    }
    if (state.zoomSpecs.size() > kMostRows) {
        out << formatted("  … und %zu weitere\n", state.zoomSpecs.size() - kMostRows);
    }
}

// One column of the plot: the largest scale within its time range.
double largestScale(const edit::ZoomEngine& zooms, double from, double to) {
    double largest = std::max(zooms.camera(from).scale, zooms.camera(to).scale);
    const auto& keys = zooms.scaleKeys();
    auto key = std::lower_bound(keys.begin(), keys.end(), from,
                                [](const edit::ZoomEngine::Key& each, double t) { return each.t < t; });
    for (; key != keys.end() && key->t <= to; ++key) largest = std::max(largest, key->x);
    return largest;
}

bool isKept(const std::vector<Interval>& segments, double t) {
    return std::any_of(segments.begin(), segments.end(), [t](const Interval& each) { return each.contains(t); });
}

void printCurve(const edit::EditState& state, double duration, std::ostream& out) {
    if (!(duration > 0)) return;
    static constexpr std::array<const char*, 9> kBlocks = {" ", "▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
    std::vector<double> scales;
    for (int column = 0; column < kPlotColumns; ++column) {
        scales.push_back(
            largestScale(*state.zoomEngine, duration * column / kPlotColumns, duration * (column + 1) / kPlotColumns));
    }
    const double top = std::max(2.0, std::ceil(*std::max_element(scales.begin(), scales.end()) * 10) / 10);
    out << "\nZoomverlauf über die Zeit der Aufnahme\n";
    for (int row = kPlotRows - 1; row >= 0; --row) {
        const double low = 1 + (top - 1) * row / kPlotRows;
        const double high = 1 + (top - 1) * (row + 1) / kPlotRows;
        out << (row == kPlotRows - 1 ? formatted("  %4.1f ┤", top) : "       │");
        for (const double scale : scales) {
            const double filled = std::clamp((scale - low) / (high - low), 0.0, 1.0);
            out << kBlocks[static_cast<std::size_t>(std::lround(filled * 8))];
        }
        out << "\n";
    }
    out << "   1.0 ┼";
    for (int column = 0; column < kPlotColumns; ++column) {
        out << (isKept(state.keptSegments, duration * (column + 0.5) / kPlotColumns) ? "─" : "╳");
    }
    const std::string end = clockTime(duration);
    out << "\n       0" << std::string(static_cast<std::size_t>(kPlotColumns) - end.size(), ' ') << end
        << "\n       ╳ herausgeschnitten\n";
}

void printTimes(const edit::Composition& composition, const edit::EditState& state, const InspectOptions& options,
                std::ostream& out) {
    if (!options.sampleTimes.empty()) out << "\nStichproben (Zeit der Aufnahme)\n";
    for (const double t : options.sampleTimes) {
        const edit::ZoomEngine::Camera camera = state.zoomEngine->camera(t);
        out << formatted("  %13s  Vergrößerung %.3f  Ziel %.1f, %.1f", clockTime(t).c_str(), camera.scale,
                         camera.focusX, camera.focusY);
        if (const auto cursor = state.cursorEngine->position(t)) {
            out << formatted("  Maus %.1f, %.1f", cursor->x, cursor->y);
        }
        if (const std::string* shape = edit::cursorShapeAt(composition.track().cursorChanges, t))
            out << "  Form " << *shape;
        out << "\n";
    }
    if (!options.outputTimes.empty()) out << "\nZeit im Video → Zeit der Aufnahme\n";
    for (const double t : options.outputTimes) {
        out << formatted("  %13s → %s\n", clockTime(t).c_str(),
                         clockTime(edit::sourceTime(state.keptSegments, t)).c_str());
    }
}

}  // namespace

void printInspection(const edit::Composition& composition, const InspectOptions& options, std::ostream& out) {
    const auto state = composition.state();
    printOverview(composition, *state, out);
    printLayout(state->layout, out);
    printSegments(*state, out);
    printZooms(*state, composition.info().knowsClicks(), out);
    printCurve(*state, composition.info().duration, out);
    printTimes(composition, *state, options, out);
    if (options.quality) out << "\n" << options.quality->summary << "\n";
}

}  // namespace lumivastor::cli
