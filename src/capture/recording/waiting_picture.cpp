// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/waiting_picture.h"

#include <utility>

namespace lumivastor::capture {

void WaitingPicture::keepForStart(Image image, const MediaTime& sessionStart, std::uint64_t number) {
    early_ = std::move(image);
    late_.reset();
    number_ = number;
    first_ = sessionStart;
    again_.reset();
}

std::int64_t WaitingPicture::keep(const Image& image, const MediaTime& time, std::uint64_t number) {
    if (first_ && late_.lock() == image) return std::exchange(again_, time) ? 1 : 0;
    const std::int64_t lost = giveUp();
    late_ = image;
    number_ = number;
    first_ = time;
    return lost;
}

std::optional<WaitingPicture::Picture> WaitingPicture::next(const MediaTime& now) {
    auto& time = first_ ? first_ : again_;
    if (!time || *time > now) return std::nullopt;
    Image image = early_ ? early_ : late_.lock();
    if (!image) return std::nullopt;
    Picture picture{std::move(image), *std::exchange(time, std::nullopt), number_};
    if (isEmpty()) giveUp();
    return picture;
}

std::int64_t WaitingPicture::giveUp() {
    const std::int64_t lost = count();
    *this = {};
    return lost;
}

}  // namespace lumivastor::capture
