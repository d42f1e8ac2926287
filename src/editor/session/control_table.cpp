// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/control_table.h"

#include <algorithm>
#include <array>

#include "base/precondition.h"
#include "editor/session/labels.h"

namespace lumivastor::editor {

namespace {

using S = model::ProjectSettings;

constexpr std::int64_t number(model::Tempo tempo) {
    return static_cast<std::int64_t>(tempo);
}
constexpr std::int64_t number(model::ExportFormat format) {
    return static_cast<std::int64_t>(format);
}

constexpr Choice kTempos[] = {{"Schnell", number(model::Tempo::schnell)},
                              {"Normal", number(model::Tempo::normal)},
                              {"Ruhig", number(model::Tempo::ruhig)}};
constexpr Choice kFormats[] = {{"MP4", number(model::ExportFormat::mp4)}, {"MOV", number(model::ExportFormat::mov)}};
constexpr Choice kHeights[] = {{"1080p", 1080}, {"1440p", 1440}, {"2160p", 2160}};
constexpr Choice kCorners[] = {{"Unten rechts", 0}, {"Unten links", 1}, {"Oben rechts", 2}, {"Oben links", 3}};

constexpr ui::ControlRange kVolume = {0, 2};
constexpr ui::ControlRange kCrop = {0, 0.4};

// One control after the other: card, caption, names, kind.
constexpr auto kControls = std::to_array<Control>({
    {"Kamera", "Zoom", {kZoomSlider, "Zoom", "Wie stark Zooms vergrößern"}, ZoomControl{{1, 3}, labels::zoomPercent}},
    {"Kamera",
     "Tempo",
     {"tempoControl", "Tempo", "Wie schnell die Kamera fährt"},
     SegmentControl{{kChoiceField<&S::tempo>, kTempos}}},
    {.card = "Kamera",
     .caption = "Glättung",
     .names = {"smoothingSlider", "Glättung", "Wie ruhig sich der Zeiger bewegt"},
     .kind = SliderControl{&S::smoothing, {0, 1}, labels::percent},
     .needsPointer = true},

    {.card = kPointerCard,
     .caption = "Größe",
     .names = {"cursorSlider", "Größe des Cursors", "Wie groß der Cursor gezeichnet wird"},
     .kind = SliderControl{&S::cursorScale, {0.8, 2.6}, labels::magnification},
     .needsPointer = true},

    {"Look",
     "Hintergrund",
     {"colorWell", "Hintergrund", "Farbe des Hintergrunds wählen"},
     ColourControl{&S::backgroundRed, &S::backgroundGreen, &S::backgroundBlue}},
    {"Look",
     "Rand",
     {"paddingSlider", "Rand", "Wie viel Hintergrund um das Bild zu sehen ist"},
     SliderControl{&S::padding, {0, 0.14}, labels::crop}},
    {"Look",
     "Ecken",
     {"cornerSlider", "Ecken", "Wie rund die Ecken des Bildes sind"},
     SliderControl{&S::cornerRadius, {0, 48}, labels::pixels}},

    {"Zuschnitt",
     "Oben",
     {"cropTopSlider", "Zuschnitt oben", "Wie viel oben wegfällt"},
     SliderControl{&S::cropTop, kCrop, labels::crop}},
    {"Zuschnitt",
     "Unten",
     {"cropBottomSlider", "Zuschnitt unten", "Wie viel unten wegfällt"},
     SliderControl{&S::cropBottom, kCrop, labels::crop}},
    {"Zuschnitt",
     "Links",
     {"cropLeftSlider", "Zuschnitt links", "Wie viel links wegfällt"},
     SliderControl{&S::cropLeft, kCrop, labels::crop}},
    {"Zuschnitt",
     "Rechts",
     {"cropRightSlider", "Zuschnitt rechts", "Wie viel rechts wegfällt"},
     SliderControl{&S::cropRight, kCrop, labels::crop}},

    {"Ton",
     "Systemton",
     {"systemVolumeSlider", "Lautstärke des Systemtons", "Lautstärke des Systemtons"},
     SliderControl{&S::systemVolume, kVolume, labels::volume}},
    {"Ton",
     "Mikrofon",
     {"micVolumeSlider", "Lautstärke des Mikrofons", "Lautstärke des Mikrofons"},
     SliderControl{&S::micVolume, kVolume, labels::volume}},
    {"Ton",
     "Lautheit",
     {"loudnessCheckbox", "Lautheit angleichen", "Ob das Video so laut wird wie andere: −16 LUFS, ohne Übersteuern"},
     SwitchControl{kSwitchField<&S::levelLoudness>, "angleichen"}},

    {.card = "Facecam",
     .caption = "Im Video",
     .names = {"webcamCheckbox", "Facecam anzeigen", "Ob das Kamera-Bild im Video zu sehen ist"},
     .kind = SwitchControl{kSwitchField<&S::webcamEnabled>, "anzeigen"},
     .needsWebcam = true},
    {.card = "Facecam",
     .caption = "Kamera-Bild",
     .names = {"webcamSizeSlider", "Größe des Kamera-Bilds", "Wie groß das Kamera-Bild ist"},
     .kind = SliderControl{&S::webcamSize, {0.14, 0.45}, labels::percent},
     .needsWebcam = true},
    {.card = "Facecam",
     .caption = "Zoom",
     .names = {"webcamZoomSlider", "Zoom des Kamera-Bilds", "Wie nah das Kamera-Bild ist"},
     .kind = SliderControl{&S::webcamZoom, {1, 2.2}, labels::magnification},
     .needsWebcam = true},
    {.card = "Facecam",
     .caption = "Ecke",
     .names = {"webcamCornerPopup", "Ecke des Kamera-Bilds", "In welcher Ecke das Kamera-Bild liegt"},
     .kind = MenuControl{{kChoiceField<&S::webcamCorner>, kCorners}},
     .needsWebcam = true},
    {.card = "Facecam",
     .caption = "Versatz",
     .names = {"webcamShiftSlider", "Kamera-Versatz",
               "Um wie viel das Kamera-Bild später kommt, wenn die Lippen dem Ton voraus sind; unter 0 früher"},
     .kind = OffsetControl{&S::webcamShift, {-S::kMaxWebcamShift, S::kMaxWebcamShift}, labels::milliseconds},
     .needsWebcam = true},

    {"Export",
     "Format",
     {"exportFormatControl", "Format", "Dateiformat des Videos"},
     SegmentControl{{kChoiceField<&S::exportFormat>, kFormats}}},
    {"Export",
     "Auflösung",
     {"exportResolutionControl", "Auflösung", "Wie viele Zeilen das Video hat"},
     SegmentControl{{.field = kChoiceField<&S::exportHeight>, .list = kHeights, .keepsOthers = false}}},
});

}  // namespace

std::span<const Control> controlTable() {
    return kControls;
}

std::size_t controlIndex(std::string_view name) {
    const auto found = std::find_if(kControls.begin(), kControls.end(),
                                    [name](const Control& control) { return control.names.name == name; });
    precondition(found != kControls.end(), "a control of this name");
    return static_cast<std::size_t>(found - kControls.begin());
}

}  // namespace lumivastor::editor
