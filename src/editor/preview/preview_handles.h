// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "base/geometry.h"
#include "edit/edit_state.h"
#include "edit/studio_layout.h"
#include "model/capture_info.h"
#include "model/project_settings.h"

// What of the picture can be taken hold of in the preview: where it lies, what the pointer hits, and which settings a
// drag or a key makes of it. Rectangles and points without another name are in points of the view, origin top-left.

namespace lumivastor::editor {

/// Something in the picture that can be selected.
struct PreviewItem {
    enum class Kind : std::uint8_t {
        focus,   // the part of the picture that the edited zoom shows
        mask,    // the mask with this index
        bubble,  // the webcam's picture
    };
    Kind kind = Kind::focus;
    std::size_t mask = 0;

    bool operator==(const PreviewItem&) const = default;
};

/// Where an item can be held. Corners and edges change its size.
enum class PreviewPart : std::uint8_t { body, topLeft, top, topRight, right, bottomRight, bottom, bottomLeft, left };

struct PreviewHit {
    PreviewItem item;
    PreviewPart part = PreviewPart::body;

    bool operator==(const PreviewHit&) const = default;
};

/// The preview at one moment, as far as handles need it.
struct PreviewScene {
    /// The zoom whose focus is edited, with its place in the list made by hand.
    struct Zoom {
        model::ZoomSpec spec;
        std::size_t index = 0;
    };
    /// What the controls of these settings allow.
    struct Limits {
        double leastScale = 1, mostScale = 3;
        double leastBubble = 0.14, mostBubble = 0.45;
    };

    model::CaptureInfo info;
    std::shared_ptr<const edit::EditState> state;
    double time = 0;
    /// The picture is shown without a zoom, because a zoom is edited.
    bool showsWhole = false;
    std::optional<Zoom> zoom;
    Rect shown;  // the canvas in the view
    Limits limits;
};

/// The items in the order in which a key goes through them: the focus, the masks that are in sight, the bubble.
std::vector<PreviewItem> previewItems(const PreviewScene& scene);

/// Where an item lies. The scene has it.
Rect itemRect(const PreviewScene& scene, const PreviewItem& item);

/// The corners and edges at which an item can be sized.
std::vector<PreviewPart> handlesOf(const PreviewScene& scene, const PreviewItem& item);

/// The middle of a handle of an item with this rectangle. The bubble's lies on its circle.
Point handlePoint(const PreviewItem& item, const Rect& rect, PreviewPart part);

/// What lies under the pointer: a handle of the selected item, the selected item, then the others from the topmost. The
/// focus is only hit while it is selected.
std::optional<PreviewHit> hitAt(const PreviewScene& scene, Point point, const std::optional<PreviewItem>& selected);

/// `before` after a drag of what `hit` names from one point to another. The scene is that of the drag's beginning, and
/// so are the settings; with a focus, their zooms are a list made by hand. Everything stays inside the picture.
model::ProjectSettings draggedSettings(const PreviewScene& scene, const model::ProjectSettings& before,
                                       const PreviewHit& hit, Point from, Point to);

/// Where the pointer has taken an item that does not follow it, but jumps from place to place: the bubble. nullopt for
/// all others.
std::optional<Rect> heldRect(const PreviewScene& scene, const PreviewHit& hit, Point from, Point to);

/// `before` after a key moved an item by these source pixels (right and down are positive). The bubble goes to the
/// corner in that direction.
model::ProjectSettings nudgedSettings(const PreviewScene& scene, const model::ProjectSettings& before,
                                      const PreviewItem& item, Point pixels);

/// `before` after a key made an item larger by these source pixels, or smaller: a mask at its right and lower edge, the
/// focus around its middle, the bubble from its corner of the canvas.
model::ProjectSettings resizedSettings(const PreviewScene& scene, const model::ProjectSettings& before,
                                       const PreviewItem& item, Point pixels);

/// A range of focus keys of a zoom, in their list, at which the camera rests: neighbours with one place.
struct FocusStop {
    std::size_t first = 0, last = 0;

    bool operator==(const FocusStop&) const = default;
};

/// The stop that is shown and edited at `t`: that of the keys around it; during a pan, the one that is nearer in time.
/// The keys are in the order of time.
FocusStop focusStop(std::span<const model::FocusKey> keys, double t);

/// "Bereich 2 von 3: links 120, oben 40, 300 × 80 Pixel", for assistive programs.
std::string itemText(const PreviewScene& scene, const PreviewItem& item);

/// The German name of the step that a drag or a key makes.
std::string stepName(const PreviewHit& hit);

}  // namespace lumivastor::editor
