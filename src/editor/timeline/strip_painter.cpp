// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/timeline/strip_painter.h"

#include <QFontMetricsF>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>

#include "editor/timeline/strip_labels.h"
#include "editor/timeline/strip_wave.h"

namespace lumivastor::editor {

namespace {

namespace theme = ui::theme;
using Span = TimelineStripLayout::Span;
using Item = TimelineStripLayout::Item;

constexpr double kRadius = 5;
constexpr double kZoomRadius = 3;
constexpr double kClickRadius = 2.5;
constexpr double kHandleWidth = 6;
constexpr double kHatch = 8;
// Narrower zooms have no rounded corners, which nobody would see.
constexpr double kLeastRound = 6;
// Between a zoom's ends and its label.
constexpr double kLabelRoom = 7;
// More small pictures than several screens hold side by side.
constexpr std::size_t kMostPixmaps = 400;

QRectF rectangle(const Span& span, const Lane& lane) {
    return {span.left, lane.top, span.width(), lane.height};
}

bool meets(const Span& span, const QRectF& dirty) {
    return span.right + kHandleWidth >= dirty.left() && span.left - kHandleWidth <= dirty.right();
}

QColor faint(QColor colour, double alpha) {
    colour.setAlphaF(static_cast<float>(alpha));
    return colour;
}

void paintZooms(QPainter& painter, const StripPicture& picture, const QRectF& dirty) {
    namespace colours = strip_colours;
    const Lane& lane = picture.lanes.zooms;
    const QFontMetricsF metrics(picture.font);
    double covered = -1e9;
    const std::vector<Span> rooms = uncoveredParts(picture.layout.zooms, picture.currentZoom, picture.layout.whole);
    const auto widthOf = [&metrics](const std::string& text) {
        return metrics.horizontalAdvance(QString::fromStdString(text));
    };
    const auto paint = [&](std::size_t place, bool isCurrent, bool isSelected) {
        const Item& zoom = picture.layout.zooms[place];
        // A hair apart, so that neighbours stay two.
        const QRectF bar = rectangle(zoom.span, lane).adjusted(0.5, 0, -0.5, 0);
        painter.setBrush(isCurrent ? colours::kSelectedZoom : colours::kZoom);
        if (bar.width() < kLeastRound) {
            painter.setRenderHint(QPainter::Antialiasing, false);
            painter.fillRect(bar, colours::kZoomEdge);
            painter.setRenderHint(QPainter::Antialiasing);
        } else {
            painter.setPen(QPen(colours::kZoomEdge, 1));
            painter.drawRoundedRect(bar.adjusted(0.5, 0.5, -0.5, -0.5), kZoomRadius, kZoomRadius);
            painter.setPen(Qt::NoPen);
        }
        if (isSelected) {
            painter.setBrush(Qt::NoBrush);
            painter.setPen(QPen(theme::kText, 1.5));
            painter.drawRoundedRect(bar.adjusted(0.75, 0.75, -0.75, -0.75), kZoomRadius, kZoomRadius);
            painter.setPen(Qt::NoPen);
        }
        const double left = rooms[place].left + kLabelRoom;
        const double room = rooms[place].width() - 2 * kLabelRoom;
        const std::string label = zoomLabel(zoom.index, room, widthOf);
        if (label.empty()) return;
        painter.setPen(isCurrent ? colours::kSelectedZoomText : colours::kZoomText);
        painter.drawText(QRectF(left, lane.top, room, lane.height), Qt::AlignLeft | Qt::AlignVCenter,
                         QString::fromStdString(label));
        painter.setPen(Qt::NoPen);
    };
    std::optional<std::size_t> current;
    for (std::size_t i = 0; i < picture.layout.zooms.size(); ++i) {
        const Item& zoom = picture.layout.zooms[i];
        if (zoom.index == picture.currentZoom) {
            current = i;
            continue;
        }
        // Hundreds of zooms in a long recording cover each other.
        if (!meets(zoom.span, dirty) || zoom.span.right <= covered + 1) continue;
        covered = zoom.span.right;
        paint(i, false, false);
    }
    if (current) paint(*current, true, picture.selection.kind == StripSelection::Kind::zoom);
}

void paintCuts(QPainter& painter, const StripPicture& picture, const QRectF& dirty) {
    const Lane& track = picture.lanes.track;
    for (const Item& cut : picture.layout.cuts) {
        if (!meets(cut.span, dirty)) continue;
        const bool isSelected = picture.selection == StripSelection{StripSelection::Kind::cut, cut.index};
        const QColor edge = isSelected ? theme::kText : strip_colours::kCutEdge;
        const double width = isSelected ? 2 : 1;
        if (cut.hasStart) painter.fillRect(QRectF(cut.span.left, track.top, width, track.height), edge);
        if (cut.hasEnd) painter.fillRect(QRectF(cut.span.right - width, track.top, width, track.height), edge);
        if (!isSelected) continue;
        painter.fillRect(rectangle(cut.span, track), faint(theme::kText, 0.14));
        painter.fillRect(QRectF(cut.span.left, track.top, cut.span.width(), width), edge);
        painter.fillRect(QRectF(cut.span.left, track.bottom() - width, cut.span.width(), width), edge);
    }
}

// A bracket outside of what is kept, with a groove to hold it by.
void paintTrimHandle(QPainter& painter, const StripLanes& lanes, double x, double outward, bool isHovered) {
    const Lane& track = lanes.track;
    const double left = outward < 0 ? x - kHandleWidth : x;
    const QRectF handle(left, track.top, kHandleWidth, track.height);
    painter.setBrush(isHovered ? strip_colours::kHandle : theme::kSecondText);
    painter.drawRoundedRect(handle, 2.5, 2.5);
    painter.fillRect(QRectF(handle.center().x() - 0.75, track.middle() - 6, 1.5, 12), theme::kColumn);
}

void paintPlayhead(QPainter& painter, const StripPicture& picture) {
    if (!picture.layout.playhead) return;
    const double x = *picture.layout.playhead;
    painter.setBrush(strip_colours::kPlayhead);
    const double top = picture.lanes.ruler.bottom() - 7;
    QPainterPath head;
    head.moveTo(x - 5, top);
    head.lineTo(x + 5, top);
    head.lineTo(x, top + 7);
    head.closeSubpath();
    painter.drawPath(head);
    painter.fillRect(QRectF(x - 0.75, top + 5, 1.5, picture.lanes.track.bottom() - top - 5), strip_colours::kPlayhead);
}

void paintTag(QPainter& painter, const StripPicture& picture) {
    if (!picture.tagAt) return;
    const QFontMetricsF metrics(picture.font);
    const double width = metrics.horizontalAdvance(picture.tag) + 10;
    const double x = std::clamp(*picture.tagAt - width / 2, 0.0, std::max(picture.scale.right() + 8 - width, 0.0));
    const QRectF tag(x, picture.lanes.ruler.top, width, picture.lanes.ruler.height);
    painter.setBrush(theme::kText);
    painter.drawRoundedRect(tag, 3, 3);
    painter.setPen(theme::kWindow);
    painter.drawText(tag, Qt::AlignCenter, picture.tag);
    painter.setPen(Qt::NoPen);
}

QPixmap clickPixmap(double ratio) {
    const double side = std::ceil(2 * kClickRadius + 2);
    QPixmap dot(QSizeF(side * ratio, side * ratio).toSize());
    dot.setDevicePixelRatio(ratio);
    dot.fill(Qt::transparent);
    QPainter painter(&dot);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(strip_colours::kClick);
    painter.drawEllipse(QPointF(side / 2, side / 2), kClickRadius, kClickRadius);
    return dot;
}

QPixmap hatchPixmap(double ratio) {
    QPixmap tile(QSize(static_cast<int>(kHatch * ratio), static_cast<int>(kHatch * ratio)));
    tile.fill(faint(theme::kColumn, 0.78));
    QPainter painter(&tile);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(theme::kTrack, ratio));
    const double side = tile.width();
    for (const double offset : {-side, 0.0, side}) {
        painter.drawLine(QPointF(offset - 1, side + 1), QPointF(offset + side + 1, -1));
    }
    painter.end();
    tile.setDevicePixelRatio(ratio);
    return tile;
}

}  // namespace

void StripPainter::paint(QPainter& painter, const StripPicture& picture, const QRectF& dirty) {
    const StripLanes& lanes = picture.lanes;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setFont(picture.font);
    painter.setPen(Qt::NoPen);
    paintRuler(painter, picture, dirty);

    const QRectF track = rectangle(picture.layout.whole, lanes.track);
    QPainterPath outline;
    outline.addRoundedRect(track, kRadius, kRadius);
    painter.fillPath(outline, strip_colours::kKept);
    painter.save();
    painter.setClipRect(track, Qt::IntersectClip);
    painter.setRenderHint(QPainter::Antialiasing, false);
    if (picture.overview != nullptr) {
        if (!lanes.pictures.isEmpty()) paintPictures(painter, picture, dirty);
        if (!lanes.systemSound.isEmpty() && picture.overview->systemSound) {
            paintWave(painter, picture, lanes.systemSound, *picture.overview->systemSound, picture.systemVolume, dirty);
        }
        if (!lanes.microphone.isEmpty() && picture.overview->microphone) {
            paintWave(painter, picture, lanes.microphone, *picture.overview->microphone, picture.micVolume, dirty);
        }
    }
    paintLeftOut(painter, picture, dirty);
    paintCuts(painter, picture, dirty);
    painter.restore();

    // Under the zooms, which the pointer finds first, too.
    if (picture.layout.trimStart) {
        paintTrimHandle(painter, lanes, *picture.layout.trimStart, -1,
                        picture.hovered.kind == StripPart::Kind::trimStart);
    }
    if (picture.layout.trimEnd) {
        paintTrimHandle(painter, lanes, *picture.layout.trimEnd, 1, picture.hovered.kind == StripPart::Kind::trimEnd);
    }
    painter.save();
    painter.setClipRect(track, Qt::IntersectClip);
    paintZooms(painter, picture, dirty);
    paintClicks(painter, picture, dirty);
    if (picture.layout.pendingCut) {
        const Span& pending = *picture.layout.pendingCut;
        painter.fillRect(rectangle(pending, lanes.track), faint(theme::kText, 0.22));
        painter.fillRect(QRectF(pending.left, lanes.track.top, 1.5, lanes.track.height), theme::kText);
    }
    painter.restore();

    paintMarks(painter, picture, dirty);
    if (picture.snappedAt) {
        painter.fillRect(QRectF(*picture.snappedAt - 0.5, lanes.ruler.top, 1, lanes.track.bottom()), theme::kFocus);
    }
    paintPlayhead(painter, picture);
    paintTag(painter, picture);
}

void StripPainter::paintRuler(QPainter& painter, const StripPicture& picture, const QRectF& dirty) const {
    const Lane& ruler = picture.lanes.ruler;
    if (ruler.bottom() < dirty.top()) return;
    const QFontMetricsF metrics(picture.font);
    for (const RulerTick& tick : picture.layout.ticks) {
        if (tick.x > dirty.right() + 1) break;
        const bool isLarge = !tick.label.empty();
        const double height = isLarge ? ruler.height - 3 : 4;
        // Lines between pixels would be grey.
        painter.fillRect(QRectF(std::floor(tick.x), ruler.bottom() - height, 1, height),
                         isLarge ? strip_colours::kTick : theme::kTrack);
        if (!isLarge) continue;
        const QString label = QString::fromStdString(tick.label);
        const double width = metrics.horizontalAdvance(label);
        // A label at the end of the recording stands before its tick.
        const double x = tick.x + 4 + width <= picture.layout.whole.right + 8 ? tick.x + 4 : tick.x - 4 - width;
        if (x + width < dirty.left()) continue;
        painter.setPen(strip_colours::kRulerText);
        painter.drawText(QPointF(x, ruler.top + metrics.ascent()), label);
        painter.setPen(Qt::NoPen);
    }
}

void StripPainter::paintPictures(QPainter& painter, const StripPicture& picture, const QRectF& dirty) {
    const Lane& lane = picture.lanes.pictures;
    const auto& pictures = picture.overview->pictures;
    if (pictures.empty() || pictures.front().pixels == nullptr || pictures.front().pixels->isEmpty()) return;
    const imaging::BgraPremultipliedBuffer& first = *pictures.front().pixels;
    const double width = lane.height * first.width() / first.height();
    const double seconds = picture.scale.seconds(width);
    if (!(width >= 1) || !(seconds > 0)) return;
    const double ratio = painter.device()->devicePixelRatioF();
    // Places belong to times, so that scrolling moves the pictures and does not change them.
    for (double n = std::floor(picture.scale.visible().start / seconds);; ++n) {
        const double x = picture.scale.at(n * seconds);
        if (x > std::min(dirty.right(), picture.layout.whole.right)) break;
        if (x + width < dirty.left()) continue;
        const render::SmallPicture* shown = picture.overview->pictureAt(n * seconds);
        if (shown == nullptr || shown->pixels == nullptr || shown->pixels->isEmpty()) continue;
        painter.drawPixmap(QPointF(x, lane.top), pixmap(*shown, lane.height, ratio));
    }
}

const QPixmap& StripPainter::pixmap(const render::SmallPicture& picture, double height, double ratio) {
    const double scale = height * ratio;
    if (scale != pixmapScale_ || pixmaps_.size() > kMostPixmaps) pixmaps_.clear();
    pixmapScale_ = scale;
    Kept& kept = pixmaps_[picture.pixels.get()];
    // The memory of a picture that is gone may hold another one now.
    if (kept.pixels.lock() == picture.pixels) return kept.pixmap;
    const imaging::BgraPremultipliedBuffer& pixels = *picture.pixels;
    const QImage image(pixels.row(0), pixels.width(), pixels.height(), static_cast<qsizetype>(pixels.stride()),
                       QImage::Format_RGB32);
    kept.pixels = picture.pixels;
    kept.pixmap =
        QPixmap::fromImage(image.scaledToHeight(static_cast<int>(std::lround(scale)), Qt::SmoothTransformation));
    kept.pixmap.setDevicePixelRatio(ratio);
    return kept.pixmap;
}

void StripPainter::paintWave(QPainter& painter, const StripPicture& picture, const Lane& lane,
                             const render::Waveform& wave, double volume, const QRectF& dirty) {
    const double ratio = painter.device()->devicePixelRatioF();
    const double left = std::max(std::floor(dirty.left()), picture.layout.whole.left);
    const double right = std::min(std::ceil(dirty.right()), picture.layout.whole.right);
    const auto columns = static_cast<std::size_t>(std::max(std::ceil((right - left) * ratio), 0.0));
    if (columns == 0) return;
    peaks_.resize(columns);
    const double from = picture.scale.secondsAt(left);
    wave.peaks({from, from + picture.scale.seconds(static_cast<double>(columns) / ratio)}, peaks_);
    const QSize size(static_cast<int>(columns), static_cast<int>(std::lround(lane.height * ratio)));
    if (wave_.size() != size) wave_ = QImage(size, QImage::Format_ARGB32_Premultiplied);
    wave_.setDevicePixelRatio(ratio);
    wave_.fill(Qt::transparent);
    const QRgb colour = (isMuted(volume) ? strip_colours::kMutedWave : strip_colours::kWave).rgba();
    auto* const pixels = reinterpret_cast<QRgb*>(wave_.bits());
    const auto stride = wave_.bytesPerLine() / static_cast<qsizetype>(sizeof(QRgb));
    for (std::size_t i = 0; i < columns; ++i) {
        if (peaks_[i] <= 0) continue;
        const int half = static_cast<int>(std::lround(waveHeight(peaks_[i], volume) * size.height() / 2));
        // The softest sound is a line.
        const int top = std::min(size.height() / 2 - half, size.height() / 2);
        const int bottom = std::max(size.height() / 2 + half, top + 1);
        for (int y = std::max(top, 0); y < std::min(bottom, size.height()); ++y) {
            pixels[y * stride + static_cast<qsizetype>(i)] = colour;
        }
    }
    painter.drawImage(QPointF(left, lane.top), wave_);
}

// A flag at the ruler's lower end, on a line through the track.
void StripPainter::paintMarks(QPainter& painter, const StripPicture& picture, const QRectF& dirty) const {
    constexpr double kFlag = 7;
    const double foot = picture.lanes.track.top;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(strip_colours::kMark);
    for (const double x : picture.layout.marks) {
        if (x + kFlag < dirty.left() || x - 1 > dirty.right()) continue;
        painter.drawRect(QRectF(x - 0.5, foot - kFlag, 1, kFlag + picture.lanes.track.height));
        painter.drawPolygon(QPolygonF({{x, foot - kFlag}, {x + kFlag, foot - kFlag / 2}, {x, foot}}));
    }
    painter.restore();
}

void StripPainter::paintClicks(QPainter& painter, const StripPicture& picture, const QRectF& dirty) {
    const double ratio = painter.device()->devicePixelRatioF();
    if (click_.isNull() || click_.devicePixelRatio() != ratio) click_ = clickPixmap(ratio);
    const double half = click_.deviceIndependentSize().width() / 2;
    const double y = picture.lanes.clicks.middle();
    for (const TimelineStripLayout::Click& click : picture.layout.clicks) {
        if (click.x + half < dirty.left() || click.x - half > dirty.right()) continue;
        painter.drawPixmap(QPointF(click.x - half, y - half), click_);
    }
}

void StripPainter::paintLeftOut(QPainter& painter, const StripPicture& picture, const QRectF& dirty) {
    const double ratio = painter.device()->devicePixelRatioF();
    if (hatch_.isNull() || hatch_.devicePixelRatio() != ratio) hatch_ = hatchPixmap(ratio);
    const Lane& track = picture.lanes.track;
    const auto leaveOut = [&](double left, double right) {
        const QRectF gap = QRectF(left, track.top, right - left, track.height).intersected(dirty);
        if (right - left < 0.25 || gap.isEmpty()) return;
        // The pattern lies still while the ends of the gap move.
        painter.drawTiledPixmap(gap, hatch_, QPointF(std::fmod(gap.left(), kHatch), std::fmod(gap.top(), kHatch)));
    };
    double from = picture.layout.whole.left;
    for (const Span& span : picture.layout.kept) {
        leaveOut(from, std::min(span.left, picture.layout.whole.right));
        from = std::max(from, span.right);
    }
    leaveOut(from, picture.layout.whole.right);
}

}  // namespace lumivastor::editor
