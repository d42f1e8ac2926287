// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QColor>
#include <QFont>
#include <QImage>
#include <QPixmap>
#include <QString>
#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

#include "editor/timeline/strip_lanes.h"
#include "editor/timeline/strip_parts.h"
#include "editor/timeline/strip_selection.h"
#include "editor/timeline/timeline_strip_layout.h"
#include "editor/timeline/visible_range.h"
#include "render/overview/recording_overview.h"
#include "ui/theme.h"

class QPainter;

namespace lumivastor::editor {

/// The strip's own colours, mixed from those of the theme.
namespace strip_colours {
inline constexpr QColor kKept = ui::theme::kControl;
/// A zoom, the line around it by which it is seen, and its label; the selected one.
inline constexpr QColor kZoom = QColor(0x9A, 0x50, 0x2B);
inline constexpr QColor kZoomEdge = ui::theme::kAccent;
inline constexpr QColor kZoomText = ui::theme::kText;
inline constexpr QColor kSelectedZoom = ui::theme::kAccent;
inline constexpr QColor kSelectedZoomText = ui::theme::kOnAccent;
inline constexpr QColor kClick = ui::theme::kText;
/// A mark that was set while recording.
inline constexpr QColor kMark = QColor(0x5A, 0xC8, 0xFA);
inline constexpr QColor kWave = ui::theme::kSecondText;
/// The line of a track that is muted.
inline constexpr QColor kMutedWave = ui::theme::kOutline;
inline constexpr QColor kTick = ui::theme::kOutline;
inline constexpr QColor kPlayhead = ui::theme::kText;
inline constexpr QColor kCutEdge = ui::theme::kSecondText;
inline constexpr QColor kRulerText = ui::theme::kSecondText;
inline constexpr QColor kHandle = ui::theme::kText;
}  // namespace strip_colours

/// What is painted besides the layout.
struct StripPicture {
    const TimelineStripLayout& layout;
    const StripLanes& lanes;
    const TimeScale& scale;
    StripSelection selection;
    /// The zoom whose settings the controls show, also while a cut is selected.
    int currentZoom = -1;
    StripPart hovered;
    /// Where what is dragged has snapped to.
    std::optional<double> snappedAt;
    /// The time of what is dragged, on the ruler.
    std::optional<double> tagAt;
    QString tag;
    QFont font;
    const render::RecordingOverview* overview = nullptr;
    /// Of the settings: sound is drawn as loud as it is in the video.
    double systemVolume = 1, micVolume = 1;
};

/// Paints the strip. Keeps the small pictures as the screen shows them, so that scrolling only copies them.
class StripPainter {
  public:
    /// Paints what lies in `dirty`.
    void paint(QPainter& painter, const StripPicture& picture, const QRectF& dirty);

  private:
    void paintRuler(QPainter& painter, const StripPicture& picture, const QRectF& dirty) const;
    void paintPictures(QPainter& painter, const StripPicture& picture, const QRectF& dirty);
    void paintWave(QPainter& painter, const StripPicture& picture, const Lane& lane, const render::Waveform& wave,
                   double volume, const QRectF& dirty);
    void paintMarks(QPainter& painter, const StripPicture& picture, const QRectF& dirty) const;
    void paintClicks(QPainter& painter, const StripPicture& picture, const QRectF& dirty);
    void paintLeftOut(QPainter& painter, const StripPicture& picture, const QRectF& dirty);
    const QPixmap& pixmap(const render::SmallPicture& picture, double height, double ratio);

    struct Kept {
        std::weak_ptr<const imaging::BgraPremultipliedBuffer> pixels;
        QPixmap pixmap;
    };
    std::unordered_map<const void*, Kept> pixmaps_;
    double pixmapScale_ = 0;
    QPixmap hatch_;
    QPixmap click_;
    std::vector<float> peaks_;
    QImage wave_;
};

}  // namespace lumivastor::editor
