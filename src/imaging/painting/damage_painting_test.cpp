// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <random>
#include <vector>

#include "imaging/damage_history.h"
#include "imaging/painting/painter.h"
#include "imaging/painting/prepared_layers.h"
#include "imaging/picture_difference.h"
#include "imaging/picture_pool.h"

// Random films, of which each frame is painted into a buffer with an earlier one, only where the recipes differ: it
// must hold what painting the whole recipe gives, bit for bit.

namespace lumivastor::imaging {
namespace {

class Random {
  public:
    explicit Random(unsigned seed) : random_(seed) {}

    int between(int low, int high) { return std::uniform_int_distribution<int>(low, high)(random_); }
    double real(double low, double high) { return std::uniform_real_distribution<double>(low, high)(random_); }
    bool oneIn(int times) { return between(1, times) == 1; }

  private:
    std::mt19937 random_;
};

// A decoded picture of noise, which the slightest change of place shows.
class Noise {
  public:
    Noise(Random& random, int width, int height, YuvEncoding encoding)
        : random_(random), width_(width), height_(height), encoding_(encoding) {
        next(std::nullopt);
    }

    Picture picture() const { return Picture(picture_); }

    // The next picture of the stream: with all samples new, or only those in the areas, which it says.
    void next(const std::optional<DamageArea>& areas) {
        const int half = picture_.chromaWidth();
        auto samples = std::make_shared<std::vector<std::uint8_t>>();
        YuvPicture made;
        made.width = width_;
        made.height = height_;
        made.encoding = encoding_;
        const std::size_t luma = static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_);
        const std::size_t chroma =
            static_cast<std::size_t>(made.chromaWidth()) * static_cast<std::size_t>(made.chromaHeight());
        if (areas) {
            *samples = *samples_;
            for (const PixelRect& rect : areas->rects()) {
                fill(samples->data(), width_, rect);
                const PixelRect small{rect.x / 2, rect.y / 2, (rect.maxX() + 1) / 2 - rect.x / 2,
                                      (rect.maxY() + 1) / 2 - rect.y / 2};
                fill(samples->data() + luma, half, small);
                fill(samples->data() + luma + chroma, half, small);
            }
            made.change = std::make_shared<const YuvChange>(YuvChange{samples_, *areas});
        } else {
            samples->resize(luma + 2 * chroma);
            for (std::uint8_t& sample : *samples) sample = anySample();
        }
        made.luma = {samples->data(), width_};
        made.cb = {samples->data() + luma, made.chromaWidth()};
        made.cr = {samples->data() + luma + chroma, made.chromaWidth()};
        made.owner = samples;
        samples_ = std::move(samples);
        picture_ = std::move(made);
    }

    DamageArea someAreas() {
        DamageArea areas(DamageArea::kManyRects);
        for (int count = random_.between(1, 3); count > 0; --count) {
            const int x = random_.between(0, width_ - 1);
            const int y = random_.between(0, height_ - 1);
            areas.add(
                {x, y, std::min(random_.between(1, 30), width_ - x), std::min(random_.between(1, 30), height_ - y)});
        }
        return areas;
    }

  private:
    std::uint8_t anySample() { return static_cast<std::uint8_t>(random_.between(16, 235)); }

    void fill(std::uint8_t* plane, int stride, const PixelRect& rect) {
        for (int y = rect.y; y < rect.maxY(); ++y) {
            for (int x = rect.x; x < rect.maxX(); ++x) plane[y * stride + x] = anySample();
        }
    }

    Random& random_;
    int width_, height_;
    YuvEncoding encoding_;
    std::shared_ptr<const std::vector<std::uint8_t>> samples_;
    YuvPicture picture_;
};

std::shared_ptr<const BgraPremultipliedBuffer> noisyShape(Random& random, int width, int height, bool isOpaque) {
    auto buffer = std::make_shared<BgraPremultipliedBuffer>(width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            std::uint8_t* const pixel = buffer->pixel(x, y);
            pixel[3] = static_cast<std::uint8_t>(isOpaque || random.oneIn(2) ? 255 : random.between(0, 255));
            for (int i = 0; i < 3; ++i) pixel[i] = static_cast<std::uint8_t>(random.between(0, pixel[3]));
        }
    }
    return buffer;
}

// The layers of a film frame, and some that none has.
class Film {
  public:
    Film(unsigned seed, int width, int height)
        : random_(seed),
          width_(width),
          height_(height),
          source_(random_, random_.between(40, 2 * width), random_.between(40, 2 * height), anyEncoding()),
          webcam_(random_, 64, 48, anyEncoding()) {
        const Rect whole = source_.picture().extent();
        crop_ =
            random_.oneIn(2) ? whole : Rect{whole.width / 8, 7, std::floor(whole.width / 2) + 0.5, whole.height / 2};
        fit_ = std::min(width * 0.9 / crop_.width, height * 0.9 / crop_.height);
        screen_ = {(width - crop_.width * fit_) / 2, (height - crop_.height * fit_) / 2, crop_.width * fit_,
                   crop_.height * fit_};
        const double side = height * 0.4;
        bubble_ = {width - side * 1.2, side * 0.1, side, side};
        for (int masks = random_.between(0, 3); masks > 0; --masks) {
            masks_.push_back(integral({random_.real(-20, whole.width), random_.real(-20, whole.height),
                                       random_.real(1, whole.width / 2), random_.real(1, whole.height / 2)}));
        }
        side_ = random_.between(2, 25);
        background_ = Picture(layers_.background(width, height, {0.25, 0.35, 0.6}));
        matte_ = Picture(layers_.roundedMatte(width, height, screen_, 12));
        shadow_ = Picture(layers_.roundedShadow(width, height, screen_, 12));
        bubbleMatte_ = Picture(layers_.ellipseMatte(width, height, bubble_));
        border_ = Picture(layers_.bubbleBorder(width, height, bubble_));
        ring_ = Picture(layers_.ring());
        for (int i = 0; i < 2; ++i) shapes_[i] = Picture(noisyShape(random_, 24 + 9 * i, 30, i == 1));
        cursor_ = anyPlace();
        stackLook_ = random_.between(0, 4);
    }

    YuvEncoding anyEncoding() {
        return {random_.oneIn(3) ? YuvMatrix::bt601 : YuvMatrix::bt709,
                random_.oneIn(3) ? YuvRange::full : YuvRange::limited};
    }

    // One to three things happen.
    void step() {
        for (int count = random_.between(1, 3); count > 0; --count) {
            switch (random_.between(0, 11)) {
                case 0:
                    if (random_.oneIn(4)) moveCamera();
                    break;
                case 1:
                case 2:
                    source_.next(source_.someAreas());
                    break;
                case 3:
                    if (random_.oneIn(5)) source_.next(std::nullopt);
                    break;
                case 4:
                    webcam_.next(std::nullopt);
                    break;
                case 5:
                    hasWebcam_ = !hasWebcam_;
                    break;
                case 6:
                    shape_ = random_.between(0, 2);
                    break;
                case 7:
                    rings_.push_back({anyPlace(), random_.real(20, 60), random_.real(0.1, 1)});
                    break;
                case 8:
                    if (!rings_.empty()) rings_.erase(rings_.begin());
                    for (Ring& ring : rings_) ring.alpha *= 0.8;
                    break;
                case 9:
                    moveStack();
                    break;
                default:
                    cursor_ = random_.oneIn(3)
                                  ? anyPlace()
                                  : Point{cursor_.x + random_.real(-3, 3), cursor_.y + random_.real(-3, 3)};
            }
        }
    }

    Picture frame() const {
        const AffineTransform placement = AffineTransform::translation(-crop_.x, -crop_.y)
                                              .then(AffineTransform::scaling(fit_))
                                              .then(AffineTransform::translation(screen_.x, screen_.y));
        Picture picture = shadow_.transformed(camera_).over(background_);
        picture = source_.picture()
                      .pixellated(masks_, side_)
                      .cropped(crop_)
                      .transformed(placement.then(camera_))
                      .clampedToExtent()
                      .blendedWithMatte(matte_.transformed(camera_))
                      .over(picture);
        picture = stack().over(picture);
        for (const Ring& ring : rings_) {
            const double scale = ring.diameter / 256;
            picture = ring_.transformed({scale, scale, ring.place.x, ring.place.y}).faded(ring.alpha).over(picture);
        }
        if (shape_ < 2) picture = shapes_[shape_].transformed({1.3, 1.3, cursor_.x, cursor_.y}).over(picture);
        if (!hasWebcam_) return picture;
        const double cover = bubble_.height / 48;
        const Picture face = webcam_.picture().transformed({cover, cover, bubble_.x - 5, bubble_.y});
        return border_.over(face.blendedWithMatte(bubbleMatte_).over(picture));
    }

  private:
    struct Ring {
        Point place;
        double diameter;
        double alpha;
    };

    Point anyPlace() { return {random_.real(-20, width_), random_.real(-20, height_)}; }

    void moveCamera() {
        const double scale = random_.oneIn(2) ? 1 : random_.real(1, 3);
        camera_ = {scale, scale, -random_.real(0, width_ * (scale - 1)), -random_.real(0, height_ * (scale - 1))};
    }

    // Layers that are faded or cut out together.
    Picture stack() const {
        const Picture some =
            shapes_[0].transformed({2, 2, stackAt_.x, stackAt_.y}).over(shapes_[1].transformed({3.1, 2.3, 9.4, 9.7}));
        switch (stackLook_) {
            case 0:
                return some.faded(0.7);
            case 1:
                return some.over(Picture(source_.picture()).cropped({0, 0, 70, 50})).blendedWithMatte(bubbleMatte_);
            case 2:
                return shapes_[0].transformed({2, 2, 30, 30}).faded(0.6);
            case 3:
                // Over parts of a tile the matte lets everything through, and all layers are half transparent.
                return some.over(shapes_[0].transformed({9, 4, 20, 5})).blendedWithMatte(matte_);
            default:
                return {};
        }
    }
    void moveStack() {
        // Half of the time beside the canvas.
        stackAt_ = random_.oneIn(2) ? anyPlace() : Point{width_ + 9.5, 3.3};
        if (random_.oneIn(3)) stackLook_ = random_.between(0, 4);
    }

    Random random_;
    int width_, height_;
    Noise source_, webcam_;
    Rect crop_, screen_, bubble_;
    double fit_ = 1;
    std::vector<Rect> masks_;
    int side_ = 1;
    PreparedLayers layers_;
    Picture background_, matte_, shadow_, bubbleMatte_, border_, ring_;
    Picture shapes_[2];
    AffineTransform camera_;
    std::vector<Ring> rings_;
    Point cursor_;
    int shape_ = 0;
    bool hasWebcam_ = false;
    Point stackAt_{30, 30};
    int stackLook_ = 4;
};

// The first differing sample, in words.
std::string differenceBetween(const YuvDestination& a, const YuvDestination& b) {
    const auto compare = [](const char* name, const std::uint8_t* one, const std::uint8_t* other, std::ptrdiff_t stride,
                            int width, int height) -> std::string {
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                const int first = one[y * stride + x];
                const int second = other[y * stride + x];
                if (first != second) {
                    return std::string(name) + " " + std::to_string(x) + "," + std::to_string(y) + ": " +
                           std::to_string(first) + " instead of " + std::to_string(second);
                }
            }
        }
        return {};
    };
    const int halfWidth = (a.width + 1) / 2;
    const int halfHeight = (a.height + 1) / 2;
    std::string found = compare("luma", a.luma, b.luma, a.lumaStride, a.width, a.height);
    if (found.empty()) found = compare("cb", a.cb, b.cb, a.chromaStride, halfWidth, halfHeight);
    if (found.empty()) found = compare("cr", a.cr, b.cr, a.chromaStride, halfWidth, halfHeight);
    return found;
}

struct Course {
    int steps = 0;
    int partly = 0;          // painted only where something changed
    double paintedPart = 0;  // of all these canvases together, in canvases
};

Course paintFilm(unsigned seed, PixelSize canvas, int steps, int threads) {
    Film film(seed, canvas.width, canvas.height);
    const YuvEncoding encoding{YuvMatrix::bt709, YuvRange::limited};
    std::vector<PlanarBuffer> buffers;
    for (int i = 0; i < 3; ++i) buffers.emplace_back(canvas.width, canvas.height, encoding);
    PlanarBuffer whole(canvas.width, canvas.height, encoding);
    Painter painter(threads);
    Painter other(1);
    DamageHistory history;
    std::optional<Picture> last;
    Course course;
    std::mt19937 random(seed);
    for (; course.steps < steps; ++course.steps) {
        const Picture frame = film.frame();
        const std::uint64_t number = history.add(last ? differenceOf(*last, frame, canvas) : std::nullopt);
        PlanarBuffer& buffer = buffers[random() % buffers.size()];
        if (const KnownDamage missed = history.since(buffer.number)) {
            painter.paint(frame, buffer.destination(), *missed);
            ++course.partly;
            course.paintedPart += double(missed->area()) / (double(canvas.width) * canvas.height);
        } else {
            painter.paint(frame, buffer.destination());
        }
        buffer.number = number;
        other.paint(frame, whole.destination());
        const std::string found = differenceBetween(buffer.destination(), whole.destination());
        EXPECT_EQ(found, "") << "seed " << seed << ", step " << course.steps << ", canvas " << canvas.width << " x "
                             << canvas.height;
        if (!found.empty()) return course;
        last = frame;
        film.step();
    }
    return course;
}

TEST(DamagePainting, GivesWhatPaintingTheWholeGives) {
    constexpr PixelSize kCanvases[] = {{301, 187}, {640, 130}, {1101, 71}, {96, 96}};
    Course all;
    for (unsigned seed = 1; seed <= 20; ++seed) {
        const Course course = paintFilm(seed, kCanvases[seed % 4], 16, 1 + static_cast<int>(seed % 2));
        all.steps += course.steps;
        all.partly += course.partly;
        all.paintedPart += course.paintedPart;
        if (testing::Test::HasFailure()) return;
    }
    // Otherwise the comparison would mean little.
    EXPECT_GT(all.partly, all.steps / 3);
    EXPECT_LT(all.paintedPart, all.partly * 0.5);
}

TEST(DamagePainting, LeavesAllElseAsItIs) {
    const Picture grey(noisyShape(*std::make_unique<Random>(5), 90, 70, true));
    PlanarBuffer buffer(90, 70, {});
    Painter painter(1);
    painter.paint(grey, buffer.destination());
    const YuvDestination& to = buffer.destination();
    for (int y = 0; y < 70; ++y) std::fill_n(to.luma + y * to.lumaStride, 90, std::uint8_t{1});
    for (int y = 0; y < 35; ++y) std::fill_n(to.cb + y * to.chromaStride, 45, std::uint8_t{2});
    DamageArea damage;
    damage.add({31, 21, 11, 3});
    damage.add({-9, 66, 20, 90});
    painter.paint(grey, to, damage);
    const auto isInside = [](int x, int y) { return (x >= 31 && x < 42 && y >= 21 && y < 24) || (x < 11 && y >= 66); };
    for (int y = 0; y < 70; ++y) {
        for (int x = 0; x < 90; ++x) ASSERT_EQ(to.luma[y * to.lumaStride + x] != 1, isInside(x, y)) << x << "," << y;
    }
    const auto hasInside = [&](int x, int y) {
        return isInside(2 * x, 2 * y) || isInside(2 * x + 1, 2 * y) || isInside(2 * x, 2 * y + 1) ||
               isInside(2 * x + 1, 2 * y + 1);
    };
    for (int y = 0; y < 35; ++y) {
        for (int x = 0; x < 45; ++x) ASSERT_EQ(to.cb[y * to.chromaStride + x] != 2, hasInside(x, y)) << x << "," << y;
    }
    painter.paint(grey, to, DamageArea());
    EXPECT_EQ(to.luma[0], 1);
}

}  // namespace
}  // namespace lumivastor::imaging
