// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/preview/preview_handles.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "base/formatted.h"
#include "editor/preview/preview_layout.h"

namespace lumivastor::editor {

namespace {

using Kind = PreviewItem::Kind;
using Part = PreviewPart;

// Of a handle's middle in both directions, in points. Handles are drawn with 9; fingers tremble.
constexpr double kReach = 8;
// Of a mask, in source pixels. One that is smaller already stays possible.
constexpr double kLeastMask = 8;
// Focus keys closer than this, as fractions of the picture, are at one place.
constexpr double kSamePlace = 1e-6;

// Where a circle's diagonal meets it, as a part of the way from the middle to the corner of its square.
constexpr double kDiagonal = std::numbers::sqrt2 / 2;

constexpr Part kCorners[] = {Part::topLeft, Part::topRight, Part::bottomRight, Part::bottomLeft};
constexpr Part kAllParts[] = {Part::topLeft,     Part::top,    Part::topRight,   Part::right,
                              Part::bottomRight, Part::bottom, Part::bottomLeft, Part::left};

// Which edges a part moves: -1 left or top, 1 right or bottom, 0 none.
struct Direction {
    int x, y;
};
Direction directionOf(Part part) {
    switch (part) {
        case Part::topLeft:
            return {-1, -1};
        case Part::top:
            return {0, -1};
        case Part::topRight:
            return {1, -1};
        case Part::right:
            return {1, 0};
        case Part::bottomRight:
            return {1, 1};
        case Part::bottom:
            return {0, 1};
        case Part::bottomLeft:
            return {-1, 1};
        case Part::left:
            return {-1, 0};
        case Part::body:
            break;
    }
    return {0, 0};
}

Size pictureOf(const PreviewScene& scene) {
    return {static_cast<double>(scene.info.pixelWidth), static_cast<double>(scene.info.pixelHeight)};
}

const edit::StudioLayout& layoutOf(const PreviewScene& scene) {
    return scene.state->layout;
}

edit::ZoomTransform zoomOf(const PreviewScene& scene) {
    if (scene.showsWhole) return {};
    return zoomTransform(layoutOf(scene), scene.state->zoomEngine->camera(scene.time));
}

double canvasPerPoint(const PreviewScene& scene) {
    return scene.shown.width > 0 ? layoutOf(scene).canvas.width / scene.shown.width : 0;
}

// The part of the unzoomed canvas that the edited zoom shows at its stop.
Rect focusOnCanvas(const PreviewScene& scene) {
    const model::ZoomSpec& spec = scene.zoom->spec;
    const Size picture = pictureOf(scene);
    const model::FocusKey& key = spec.focus[focusStop(spec.focus, scene.time).first];
    return visibleCanvas(layoutOf(scene),
                         zoomTransform(layoutOf(scene), {spec.scale, key.x * picture.width, key.y * picture.height}));
}

// Puts a place of the unzoomed canvas into the zoom: its focus keys at the stop, and its scale.
model::ProjectSettings withFocus(const PreviewScene& scene, const model::ProjectSettings& before, const Rect& place) {
    model::ProjectSettings next = before;
    if (!next.zooms || scene.zoom->index >= next.zooms->size()) return before;
    const edit::ZoomEngine::Camera camera = cameraShowing(layoutOf(scene), place);
    const Rect& crop = layoutOf(scene).cropRect;
    const Size picture = pictureOf(scene);
    model::ZoomSpec& zoom = (*next.zooms)[scene.zoom->index];
    zoom.scale = camera.scale;
    const FocusStop stop = focusStop(zoom.focus, scene.time);
    for (std::size_t i = stop.first; i <= stop.last; ++i) {
        zoom.focus[i].x = std::clamp(camera.focusX, crop.minX(), crop.maxX()) / picture.width;
        zoom.focus[i].y = std::clamp(camera.focusY, crop.minY(), crop.maxY()) / picture.height;
    }
    return next;
}

// Moved by canvas pixels, inside the canvas.
model::ProjectSettings withMovedFocus(const PreviewScene& scene, const model::ProjectSettings& before, double dx,
                                      double dy) {
    const PixelSize canvas = layoutOf(scene).canvas;
    Rect place = focusOnCanvas(scene);
    place.x = std::clamp(place.x + dx, 0.0, std::max(canvas.width - place.width, 0.0));
    place.y = std::clamp(place.y + dy, 0.0, std::max(canvas.height - place.height, 0.0));
    return withFocus(scene, before, place);
}

// With another width, in canvas pixels. `anchor` is what stays: -1 the left or lower edge, 1 the other, 0 the middle.
model::ProjectSettings withSizedFocus(const PreviewScene& scene, const model::ProjectSettings& before, double width,
                                      Direction anchor) {
    const PixelSize canvas = layoutOf(scene).canvas;
    const double shape = static_cast<double>(canvas.height) / canvas.width;
    const Rect old = focusOnCanvas(scene);
    const double least = canvas.width / std::max(scene.limits.mostScale, scene.zoom->spec.scale);
    double most = canvas.width / scene.limits.leastScale;
    if (anchor.x < 0) most = std::min(most, canvas.width - old.x);
    if (anchor.x > 0) most = std::min(most, old.maxX());
    if (anchor.y < 0) most = std::min(most, (canvas.height - old.y) / shape);
    if (anchor.y > 0) most = std::min(most, old.maxY() / shape);
    Rect place = old;
    place.width = std::max(std::min(width, most), least);
    place.height = place.width * shape;
    const auto kept = [](int side, double from, double length, double newLength) {
        return side < 0 ? from : side > 0 ? from + length - newLength : from + (length - newLength) / 2;
    };
    place.x = std::clamp(kept(anchor.x, old.x, old.width, place.width), 0.0, std::max(canvas.width - place.width, 0.0));
    place.y =
        std::clamp(kept(anchor.y, old.y, old.height, place.height), 0.0, std::max(canvas.height - place.height, 0.0));
    return withFocus(scene, before, place);
}

// The change of an item's width by a corner that is moved: the larger of what both directions ask for.
double wider(Direction corner, double dx, double dy, double shape) {
    const double byWidth = dx * corner.x;
    const double byHeight = dy * corner.y / shape;
    return std::abs(byWidth) > std::abs(byHeight) ? byWidth : byHeight;
}

// Source pixels, origin top-left.
Rect pixelsOf(const model::MaskRect& mask, Size picture) {
    return {mask.x * picture.width, mask.y * picture.height, mask.width * picture.width, mask.height * picture.height};
}

model::ProjectSettings withMask(const PreviewScene& scene, const model::ProjectSettings& before, std::size_t index,
                                const Rect& pixels) {
    const Size picture = pictureOf(scene);
    model::ProjectSettings next = before;
    if (index >= next.masks.size()) return before;
    next.masks[index] = {pixels.x / picture.width, pixels.y / picture.height, pixels.width / picture.width,
                         pixels.height / picture.height};
    return next;
}

model::ProjectSettings withMovedMask(const PreviewScene& scene, const model::ProjectSettings& before, std::size_t index,
                                     double dx, double dy) {
    if (index >= before.masks.size()) return before;
    const Size picture = pictureOf(scene);
    Rect pixels = pixelsOf(before.masks[index], picture);
    pixels.x = std::clamp(pixels.x + dx, 0.0, std::max(picture.width - pixels.width, 0.0));
    pixels.y = std::clamp(pixels.y + dy, 0.0, std::max(picture.height - pixels.height, 0.0));
    return withMask(scene, before, index, pixels);
}

// One edge or none of a direction moved; `end` is that of the picture.
void moveEdge(double& start, double& length, int side, double by, double end) {
    const double least = std::min(kLeastMask, length);
    if (side < 0) {
        const double moved = std::clamp(start + by, std::min(start, 0.0), start + length - least);
        length += start - moved;
        start = moved;
    } else if (side > 0) {
        length = std::clamp(length + by, least, std::max(end - start, length));
    }
}

model::ProjectSettings withSizedMask(const PreviewScene& scene, const model::ProjectSettings& before, std::size_t index,
                                     Direction edges, double dx, double dy) {
    if (index >= before.masks.size()) return before;
    const Size picture = pictureOf(scene);
    Rect pixels = pixelsOf(before.masks[index], picture);
    moveEdge(pixels.x, pixels.width, edges.x, dx, picture.width);
    moveEdge(pixels.y, pixels.height, edges.y, dy, picture.height);
    return withMask(scene, before, index, pixels);
}

// The corner of the canvas, by the order of the settings.
bool isLeft(std::int64_t corner) {
    return corner == 1 || corner == 3;
}
bool isBelow(std::int64_t corner) {
    return corner == 0 || corner == 1;
}
std::int64_t cornerOf(bool left, bool below) {
    return (below ? 0 : 2) + (left ? 1 : 0);
}

// The corner of the bubble that lies towards the middle of the canvas.
Part innerCorner(std::int64_t corner) {
    if (isBelow(corner)) return isLeft(corner) ? Part::topRight : Part::topLeft;
    return isLeft(corner) ? Part::bottomRight : Part::bottomLeft;
}

model::ProjectSettings withBubbleSize(const PreviewScene& scene, const model::ProjectSettings& before, double size) {
    model::ProjectSettings next = before;
    // A document may hold a size that no control sets; a drag goes towards the limits, not over them.
    next.webcamSize = std::clamp(size, std::min(scene.limits.leastBubble, before.webcamSize),
                                 std::max(scene.limits.mostBubble, before.webcamSize));
    return next;
}

}  // namespace

FocusStop focusStop(std::span<const model::FocusKey> keys, double t) {
    if (keys.empty()) return {};
    const auto samePlace = [&keys](std::size_t a, std::size_t b) {
        return std::abs(keys[a].x - keys[b].x) < kSamePlace && std::abs(keys[a].y - keys[b].y) < kSamePlace;
    };
    // The last key up to `t`, or the first; in a pan, the next one if it is nearer.
    std::size_t at = 0;
    while (at + 1 < keys.size() && keys[at + 1].t <= t) ++at;
    if (at + 1 < keys.size() && keys[at].t <= t && keys[at + 1].t - t < t - keys[at].t) ++at;
    FocusStop stop{at, at};
    while (stop.first > 0 && samePlace(stop.first - 1, at)) --stop.first;
    while (stop.last + 1 < keys.size() && samePlace(stop.last + 1, at)) ++stop.last;
    return stop;
}

std::vector<PreviewItem> previewItems(const PreviewScene& scene) {
    std::vector<PreviewItem> items;
    if (scene.zoom && !scene.zoom->spec.focus.empty()) items.push_back({Kind::focus});
    for (std::size_t i = 0; i < scene.state->settings.masks.size(); ++i) {
        const PreviewItem mask{Kind::mask, i};
        if (!intersection(itemRect(scene, mask), scene.shown).isEmpty()) items.push_back(mask);
    }
    if (!layoutOf(scene).bubbleRect.isEmpty()) items.push_back({Kind::bubble});
    return items;
}

Rect itemRect(const PreviewScene& scene, const PreviewItem& item) {
    const edit::StudioLayout& layout = layoutOf(scene);
    Rect onCanvas = layout.bubbleRect;
    if (item.kind == Kind::focus) onCanvas = focusOnCanvas(scene);
    if (item.kind == Kind::mask) {
        onCanvas = canvasRectangle(layout, zoomOf(scene), scene.info, scene.state->settings.masks[item.mask]);
    }
    return viewRect(onCanvas, scene.shown, layout.canvas);
}

std::vector<PreviewPart> handlesOf(const PreviewScene& scene, const PreviewItem& item) {
    switch (item.kind) {
        case Kind::focus:
            return {std::begin(kCorners), std::end(kCorners)};
        case Kind::mask:
            return {std::begin(kAllParts), std::end(kAllParts)};
        case Kind::bubble:
            return {innerCorner(scene.state->settings.webcamCorner)};
    }
    return {};
}

Point handlePoint(const PreviewItem& item, const Rect& rect, PreviewPart part) {
    const Direction direction = directionOf(part);
    const double reach = item.kind == Kind::bubble ? kDiagonal : 1;
    return {rect.midX() + direction.x * reach * rect.width / 2, rect.midY() + direction.y * reach * rect.height / 2};
}

std::optional<PreviewHit> hitAt(const PreviewScene& scene, Point point, const std::optional<PreviewItem>& selected) {
    const std::vector<PreviewItem> items = previewItems(scene);
    if (selected && std::find(items.begin(), items.end(), *selected) != items.end()) {
        const Rect rect = itemRect(scene, *selected);
        // The nearest, because those of a small item lie over each other.
        std::optional<PreviewPart> nearest;
        double least = 0;
        for (const PreviewPart part : handlesOf(scene, *selected)) {
            const Point handle = handlePoint(*selected, rect, part);
            const double distance = std::hypot(handle.x - point.x, handle.y - point.y);
            const bool isNear = std::abs(handle.x - point.x) <= kReach && std::abs(handle.y - point.y) <= kReach;
            if (!isNear || (nearest && distance >= least)) continue;
            nearest = part;
            least = distance;
        }
        // A small item can still be moved by its middle.
        const bool isInTheMiddle =
            std::abs(point.x - rect.midX()) < rect.width / 4 && std::abs(point.y - rect.midY()) < rect.height / 4;
        if (nearest && !isInTheMiddle) return PreviewHit{*selected, *nearest};
        if (rect.containsOrTouches(point)) return PreviewHit{*selected, Part::body};
    }
    for (auto item = items.rbegin(); item != items.rend(); ++item) {
        if (item->kind == Kind::focus) continue;
        if (itemRect(scene, *item).containsOrTouches(point)) return PreviewHit{*item, Part::body};
    }
    return std::nullopt;
}

model::ProjectSettings draggedSettings(const PreviewScene& scene, const model::ProjectSettings& before,
                                       const PreviewHit& hit, Point from, Point to) {
    // Canvas pixels, down is positive.
    const double dx = (to.x - from.x) * canvasPerPoint(scene);
    const double dy = (to.y - from.y) * canvasPerPoint(scene);
    const Direction direction = directionOf(hit.part);
    switch (hit.item.kind) {
        case Kind::focus: {
            if (hit.part == Part::body) return withMovedFocus(scene, before, dx, -dy);
            const PixelSize canvas = layoutOf(scene).canvas;
            const double shape = static_cast<double>(canvas.height) / canvas.width;
            const double width = focusOnCanvas(scene).width + wider(direction, dx, dy, shape);
            // The canvas counts upward: the edge that stays is the other one of each direction.
            return withSizedFocus(scene, before, width, {-direction.x, direction.y});
        }
        case Kind::mask: {
            const double pixels = zoomOf(scene).scale * layoutOf(scene).contentScale;
            const double x = std::round(dx / pixels);
            const double y = std::round(dy / pixels);
            return hit.part == Part::body ? withMovedMask(scene, before, hit.item.mask, x, y)
                                          : withSizedMask(scene, before, hit.item.mask, direction, x, y);
        }
        case Kind::bubble: {
            if (hit.part != Part::body) {
                // The handle is this part of the side away from the corner that stays.
                constexpr double kWay = (1 + kDiagonal) / 2;
                const double side = wider(direction, dx, dy, 1) / kWay;
                return withBubbleSize(scene, before, before.webcamSize + side / layoutOf(scene).canvas.height);
            }
            const Rect rect = itemRect(scene, hit.item);
            model::ProjectSettings next = before;
            next.webcamCorner = cornerOf(rect.midX() + to.x -
                                         from.x<scene.shown.midX(), rect.midY() + to.y - from.y> scene.shown.midY());
            return next;
        }
    }
    return before;
}

std::optional<Rect> heldRect(const PreviewScene& scene, const PreviewHit& hit, Point from, Point to) {
    if (hit.item.kind != Kind::bubble || hit.part != Part::body) return std::nullopt;
    Rect rect = itemRect(scene, hit.item);
    const Rect& shown = scene.shown;
    rect.x = std::clamp(rect.x + to.x - from.x, shown.x, std::max(shown.maxX() - rect.width, shown.x));
    rect.y = std::clamp(rect.y + to.y - from.y, shown.y, std::max(shown.maxY() - rect.height, shown.y));
    return rect;
}

model::ProjectSettings nudgedSettings(const PreviewScene& scene, const model::ProjectSettings& before,
                                      const PreviewItem& item, Point pixels) {
    const double scale = layoutOf(scene).contentScale;
    switch (item.kind) {
        case Kind::focus:
            return withMovedFocus(scene, before, pixels.x * scale, -pixels.y * scale);
        case Kind::mask:
            return withMovedMask(scene, before, item.mask, pixels.x, pixels.y);
        case Kind::bubble: {
            model::ProjectSettings next = before;
            next.webcamCorner = cornerOf(pixels.x == 0 ? isLeft(before.webcamCorner) : pixels.x < 0,
                                         pixels.y == 0 ? isBelow(before.webcamCorner) : pixels.y > 0);
            return next;
        }
    }
    return before;
}

model::ProjectSettings resizedSettings(const PreviewScene& scene, const model::ProjectSettings& before,
                                       const PreviewItem& item, Point pixels) {
    const double scale = layoutOf(scene).contentScale;
    const double larger = (pixels.x + pixels.y) * scale;
    switch (item.kind) {
        case Kind::focus:
            return withSizedFocus(scene, before, focusOnCanvas(scene).width + larger, {0, 0});
        case Kind::mask:
            return withSizedMask(scene, before, item.mask, {1, 1}, pixels.x, pixels.y);
        case Kind::bubble:
            return withBubbleSize(scene, before, before.webcamSize + larger / layoutOf(scene).canvas.height);
    }
    return before;
}

std::string itemText(const PreviewScene& scene, const PreviewItem& item) {
    switch (item.kind) {
        case Kind::focus:
            return formatted("Ausschnitt des Zooms: Vergrößerung %.2f", scene.zoom->spec.scale);
        case Kind::mask: {
            const auto& masks = scene.state->settings.masks;
            const Rect pixels = pixelsOf(masks[item.mask], pictureOf(scene));
            return formatted("Bereich %zu von %zu: links %.0f, oben %.0f, %.0f × %.0f Pixel", item.mask + 1,
                             masks.size(), pixels.x, pixels.y, pixels.width, pixels.height);
        }
        case Kind::bubble: {
            static constexpr const char* kPlaces[] = {"unten rechts", "unten links", "oben rechts", "oben links"};
            const std::int64_t corner = scene.state->settings.webcamCorner;
            return formatted("Kamera-Bild: %s, %.0f %% der Höhe", corner >= 0 && corner < 4 ? kPlaces[corner] : "",
                             scene.state->settings.webcamSize * 100);
        }
    }
    return {};
}

std::string stepName(const PreviewHit& hit) {
    const bool moves = hit.part == Part::body;
    switch (hit.item.kind) {
        case Kind::focus:
            return moves ? "Ausschnitt des Zooms verschieben" : "Größe des Ausschnitts";
        case Kind::mask:
            return moves ? "Bereich verschieben" : "Größe des Bereichs";
        case Kind::bubble:
            return moves ? "Kamera-Bild verschieben" : "Größe des Kamera-Bilds";
    }
    return {};
}

}  // namespace lumivastor::editor
