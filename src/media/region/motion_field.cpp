// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/region/motion_field.h"

#include <algorithm>

namespace lumivastor::media {

namespace {

int median(int a, int b, int c) {
    return std::max(std::min(a, b), std::min(std::max(a, b), c));
}

}  // namespace

MotionField::MotionField(int widthInMbs, int heightInMbs)
    : widthInMbs_(widthInMbs), motions_(static_cast<std::size_t>(widthInMbs) * static_cast<std::size_t>(heightInMbs)) {}

MotionField::Motion& MotionField::place(int mbX, int mbY) {
    return motions_[static_cast<std::size_t>(mbY) * static_cast<std::size_t>(widthInMbs_) +
                    static_cast<std::size_t>(mbX)];
}

MotionField::Motion MotionField::at(int mbX, int mbY) const {
    if (mbX < 0 || mbX >= widthInMbs_ || mbY < 0) return {};
    return motions_[static_cast<std::size_t>(mbY) * static_cast<std::size_t>(widthInMbs_) +
                    static_cast<std::size_t>(mbX)];
}

void MotionField::setInter(int mbX, int mbY, MotionVector vector, int refIdx) {
    place(mbX, mbY) = {vector, refIdx};
}

void MotionField::setIntra(int mbX, int mbY) {
    place(mbX, mbY) = {{}, kIntra};
}

MotionVector MotionField::predicted(int mbX, int mbY, int refIdx) const {
    const Motion a = at(mbX - 1, mbY);
    const Motion b = at(mbX, mbY - 1);
    Motion c = at(mbX + 1, mbY - 1);
    if (c.refIdx == kNotAvailable) c = at(mbX - 1, mbY - 1);
    if (b.refIdx == kNotAvailable && c.refIdx == kNotAvailable && a.refIdx != kNotAvailable) return a.vector;
    const int matching = (a.refIdx == refIdx ? 1 : 0) + (b.refIdx == refIdx ? 1 : 0) + (c.refIdx == refIdx ? 1 : 0);
    if (matching == 1) return a.refIdx == refIdx ? a.vector : b.refIdx == refIdx ? b.vector : c.vector;
    return {median(a.vector.x, b.vector.x, c.vector.x), median(a.vector.y, b.vector.y, c.vector.y)};
}

MotionVector MotionField::ofSkipped(int mbX, int mbY) const {
    const Motion a = at(mbX - 1, mbY);
    const Motion b = at(mbX, mbY - 1);
    const auto rests = [](const Motion& motion) { return motion.refIdx == 0 && motion.vector == MotionVector{}; };
    if (a.refIdx == kNotAvailable || b.refIdx == kNotAvailable || rests(a) || rests(b)) return {};
    return predicted(mbX, mbY, 0);
}

}  // namespace lumivastor::media
