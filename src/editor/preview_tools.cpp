// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/preview_tools.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "editor/session/control_table.h"
#include "editor/session/control_values.h"

namespace lumivastor::editor {

namespace {

using Kind = PreviewItem::Kind;

// A press that moves less is a click, in points.
constexpr double kClick = 3;

PreviewScene::Limits limits() {
    const auto& zoom = std::get<ZoomControl>(controlTable()[controlIndex(kZoomSlider)].kind);
    const auto& bubble = std::get<SliderControl>(controlTable()[controlIndex("webcamSizeSlider")].kind);
    return {zoom.range.minimum, zoom.range.maximum, bubble.range.minimum, bubble.range.maximum};
}

bool isClick(Point a, Point b) {
    return std::hypot(a.x - b.x, a.y - b.y) < kClick;
}

}  // namespace

PreviewTools::PreviewTools(EditSession& session, Transport& transport, PreviewView& preview, PreviewHandlesView& view,
                           std::function<void()> changed)
    : session_(session), transport_(transport), preview_(preview), view_(view), changed_(std::move(changed)) {
    view_.onHover = [this](Point point) { return hover(point); };
    view_.onLeave = [this] {
        hovered_.reset();
        show();
    };
    view_.onPress = [this](Point point) { press(point); };
    view_.onDrag = [this](Point point) { drag(point); };
    view_.onRelease = [this](Point point) { release(point); };
    view_.onResize = [this] { show(); };
    view_.onAction = [this](PreviewHandlesView::Action action) { perform(action); };
}

PreviewScene PreviewTools::scene() const {
    PreviewScene scene;
    scene.info = session_.info();
    scene.state = session_.composition()->state();
    scene.time = transport_.playhead();
    scene.showsWhole = isEditingFocus();
    scene.shown = preview_.shownRect();
    scene.limits = limits();
    const int selected = zoomAtPlayhead();
    if (selected >= 0) {
        const model::ZoomSpec& spec = scene.state->zoomSpecs[static_cast<std::size_t>(selected)];
        const std::optional<std::vector<model::ZoomSpec>>& list = scene.state->settings.zooms;
        // Proposed zooms become a list in their own order.
        const int index = list ? indexInList(*list, selected) : selected;
        scene.zoom = PreviewScene::Zoom{spec, static_cast<std::size_t>(index)};
    }
    return scene;
}

// The selected zoom if the playhead is in it, or another that it is in.
int PreviewTools::zoomAtPlayhead() const {
    const auto state = session_.composition()->state();
    const double t = transport_.playhead();
    const auto holds = [&](int index) {
        const model::ZoomSpec& zoom = state->zoomSpecs[static_cast<std::size_t>(index)];
        return zoom.start <= t && t <= zoom.end;
    };
    const int selected = session_.selectedZoom();
    if (selected >= 0 && holds(selected)) return selected;
    for (int i = static_cast<int>(state->zoomSpecs.size()) - 1; i >= 0; --i) {
        if (holds(i)) return i;
    }
    return -1;
}

std::shared_ptr<const edit::Composition> PreviewTools::composition() {
    std::shared_ptr<const edit::Composition> inForce = session_.composition();
    if (!isEditingFocus()) return inForce;
    model::ProjectSettings settings = inForce->settings();
    settings.zooms.emplace();
    const bool fits =
        whole_ && whole_->canvasWidth() == inForce->canvasWidth() && whole_->canvasHeight() == inForce->canvasHeight();
    if (!fits) {
        whole_ =
            std::make_shared<edit::Composition>(*inForce, settings, inForce->canvasWidth(), inForce->canvasHeight());
    }
    whole_->setSettings(settings);
    return whole_;
}

bool PreviewTools::isInSight(const PreviewItem& item) const {
    const std::vector<PreviewItem> items = previewItems(scene());
    return std::find(items.begin(), items.end(), item) != items.end();
}

void PreviewTools::refresh() {
    if (!drag_ && selection_ && (transport_.isPlaying() || !isInSight(*selection_))) {
        select(std::nullopt);
        return;
    }
    show();
}

void PreviewTools::select(const std::optional<PreviewItem>& item) {
    if (item) {
        transport_.pause();
        // The focus that is edited is the selected zoom's.
        const int zoom = zoomAtPlayhead();
        if (item->kind == Kind::focus && zoom != session_.selectedZoom()) session_.selectZoom(zoom);
    }
    if (item == selection_) return;
    selection_ = item;
    hovered_.reset();
    show();
    changed_();
}

void PreviewTools::show() {
    PreviewHandlesView::Content content;
    const PreviewScene now = scene();
    content.shown = now.shown;
    if (!transport_.isPlaying()) {
        for (const PreviewItem& item : previewItems(now)) {
            if (item != selection_ && item != hovered_) continue;
            PreviewHandlesView::Outline outline{item, itemRect(now, item), item == selection_};
            if (outline.isSelected) {
                for (const PreviewPart part : handlesOf(now, item)) {
                    outline.handles.push_back(handlePoint(item, outline.rect, part));
                }
            }
            content.outlines.push_back(std::move(outline));
        }
    }
    if (drag_ && drag_->hasBegun) {
        if (const auto held = heldRect(drag_->scene, drag_->hit, drag_->from, drag_->to)) {
            content.held = PreviewHandlesView::Outline{drag_->hit.item, *held};
        }
    }
    view_.setContent(content);
    const bool isShown = selection_ && isInSight(*selection_);
    view_.setSelectedText(isShown ? QString::fromStdString(itemText(now, *selection_)) : QString("Nichts gewählt"));
}

void PreviewTools::selectNext() {
    transport_.pause();
    const std::vector<PreviewItem> items = previewItems(scene());
    auto next = items.begin();
    if (selection_) {
        next = std::find(items.begin(), items.end(), *selection_);
        if (next != items.end()) ++next;
    }
    select(next == items.end() ? std::nullopt : std::optional(*next));
}

void PreviewTools::choose(const PreviewItem& item) {
    transport_.pause();
    if (isInSight(item)) select(item);
}

void PreviewTools::perform(PreviewHandlesView::Action action) {
    using Action = PreviewHandlesView::Action;
    switch (action) {
        case Action::selectNext:
            return selectNext();
        case Action::left:
            nudge({-1, 0});
            return;
        case Action::right:
            nudge({1, 0});
            return;
        case Action::up:
            nudge({0, -1});
            return;
        case Action::down:
            nudge({0, 1});
            return;
        case Action::larger:
            resize({1, 1});
            return;
        case Action::smaller:
            resize({-1, -1});
            return;
        case Action::remove:
            deleteSelected();
            return;
    }
}

void PreviewTools::toggleFocus() {
    if (isEditingFocus()) return select(std::nullopt);
    transport_.pause();
    const int selected = session_.selectedZoom();
    if (selected < 0) return;
    if (zoomAtPlayhead() != selected) {
        const model::ZoomSpec zoom = session_.composition()->zoomSpecs()[static_cast<std::size_t>(selected)];
        transport_.jump(std::min(session_.selectedZoomMoment().value_or(zoom.start), zoom.end));
    }
    if (isInSight({Kind::focus})) select(PreviewItem{Kind::focus});
}

bool PreviewTools::escape() {
    if (drag_) {
        drag_.reset();
        session_.cancelDrag();
        return true;
    }
    if (!selection_) return false;
    select(std::nullopt);
    return true;
}

bool PreviewTools::deleteSelected() {
    if (!selection_) return false;
    const PreviewItem item = *selection_;
    select(std::nullopt);
    if (item.kind == Kind::focus) {
        session_.deleteSelectedZoom();
        return true;
    }
    model::ProjectSettings next = session_.settings();
    if (item.kind == Kind::bubble) {
        next.webcamEnabled = false;
        session_.change(next, "Kamera-Bild ausblenden");
        return true;
    }
    next.masks.erase(next.masks.begin() + static_cast<std::ptrdiff_t>(item.mask));
    session_.change(next, "Bereich entfernen");
    return true;
}

model::ProjectSettings PreviewTools::settingsFor(const PreviewItem& item) const {
    return item.kind == Kind::focus ? session_.withManualZooms() : session_.settings();
}

bool PreviewTools::nudge(Point pixels) {
    if (!selection_ || drag_) return false;
    const PreviewItem item = *selection_;
    const model::ProjectSettings before = settingsFor(item);
    changeTo(nudgedSettings(scene(), before, item, pixels), before, {item, PreviewPart::body});
    return true;
}

bool PreviewTools::resize(Point pixels) {
    if (!selection_ || drag_) return false;
    const PreviewItem item = *selection_;
    const model::ProjectSettings before = settingsFor(item);
    changeTo(resizedSettings(scene(), before, item, pixels), before, {item, PreviewPart::bottomRight});
    return true;
}

// Proposed zooms do not become a list made by hand when nothing moved.
void PreviewTools::changeTo(const model::ProjectSettings& next, const model::ProjectSettings& before,
                            const PreviewHit& hit) {
    if (next != before) session_.change(next, stepName(hit), true);
}

Qt::CursorShape PreviewTools::hover(Point point) {
    if (transport_.isPlaying()) return Qt::ArrowCursor;
    const PreviewScene now = scene();
    const std::optional<PreviewHit> hit = hitAt(now, point, selection_);
    const std::optional<PreviewItem> item = hit ? std::optional(hit->item) : std::nullopt;
    if (item != hovered_) {
        hovered_ = item;
        show();
    }
    if (!hit && !selection_ && now.zoom && now.shown.containsOrTouches(point)) return Qt::PointingHandCursor;
    return pointerShape(hit);
}

void PreviewTools::press(Point point) {
    click_.reset();
    if (transport_.isPlaying()) return;
    const std::optional<PreviewHit> hit = hitAt(scene(), point, selection_);
    if (!hit) {
        click_ = point;
        return;
    }
    select(hit->item);
    drag_ = Drag{scene(), *hit, point, settingsFor(hit->item), point};
}

void PreviewTools::drag(Point point) {
    if (click_ && !isClick(*click_, point)) click_.reset();
    if (!drag_) return;
    if (!drag_->hasBegun) {
        if (isClick(drag_->from, point)) return;
        drag_->hasBegun = true;
        session_.beginDrag(stepName(drag_->hit));
    }
    // Another command, such as undo, has ended it.
    if (!session_.isDragging()) return;
    const model::ProjectSettings next = draggedSettings(drag_->scene, drag_->before, drag_->hit, drag_->from, point);
    drag_->to = point;
    session_.dragTo(next == drag_->before ? session_.dragOrigin() : next);
    show();
}

void PreviewTools::release(Point point) {
    if (const auto held = std::exchange(drag_, std::nullopt)) {
        if (held->hasBegun) session_.endDrag();
        show();
        return;
    }
    const auto clicked = std::exchange(click_, std::nullopt);
    if (!clicked || !isClick(*clicked, point)) return;
    if (selection_) {
        select(std::nullopt);
    } else if (const PreviewScene now = scene(); now.zoom && now.shown.containsOrTouches(point)) {
        select(PreviewItem{Kind::focus});
    }
}

}  // namespace lumivastor::editor
