// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/animation_renderer.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>

#include "base/formatted.h"
#include "base/log.h"
#include "base/recorder_error.h"
#include "imaging/painting/painter.h"
#include "imaging/picture_difference.h"
#include "media/animation/animated_picture.h"
#include "render/export_plan.h"
#include "render/film_target.h"
#include "render/pending_movie.h"

namespace lumivastor::render {

namespace {

// Pictures from which the colours of a GIF are chosen, this many seconds apart.
constexpr double kSampleSeconds = 1;
// How much of the progress these are.
constexpr double kSampling = 0.1;

// One animated picture. Made and run on the calling thread.
class Animation {
  public:
    Animation(const edit::Composition& composition, const FrameMaker& makeFrame, const RenderOptions& options)
        : composition_(composition),
          makeFrame_(makeFrame),
          options_(options),
          form_(*options.form),
          canvas_{composition.canvasWidth(), composition.canvasHeight()},
          size_(animationSize(options.animation, canvas_)),
          part_(animatedPart(options.animation, composition.outputDuration())),
          pixels_(canvas_.width, canvas_.height) {}

    RenderResult run() {
        throwIfStopped();
        PendingMovie file(filmTarget(composition_.recording(), form_, options_.file));
        const media::AnimationForm kind =
            form_ == FilmForm::gif ? media::AnimationForm::gif : media::AnimationForm::webp;
        const auto writer = media::makeAnimatedPicture(kind, file.path(), file.target().filename().string(), size_);
        if (writer->wantsSamples()) sample(*writer);
        write(*writer);
        writer->finish(part_.length());
        check(media::readAnimatedPicture(kind, file.path()), *writer);
        throwIfStopped();
        const auto zooms = static_cast<std::int64_t>(composition_.state()->zoomEngine->events().size());
        RenderResult result{file.target(), writer->pictures(), part_.length(), zooms};
        file.putInPlace();
        report(1);
        Log::write("Studio", formatted("fertig: %lld Bilder, %dx%d Pixel", static_cast<long long>(result.frames),
                                       size_.width, size_.height));
        return result;
    }

  private:
    void throwIfStopped() const {
        if (options_.stop.stop_requested()) throw RecorderError("Abgebrochen.");
    }

    void report(double progress) const {
        if (!options_.progress) return;
        if (!options_.postToMain) return options_.progress(progress);
        options_.postToMain([report = options_.progress, progress] { report(progress); });
    }

    void sample(media::AnimatedPictureWriter& writer) {
        ComposedFrames frames(composition_, makeFrame_);
        frames.open(part_.start);
        const int samples = std::max(1, static_cast<int>(std::ceil(part_.length() / kSampleSeconds)));
        for (int i = 0; i < samples; ++i) {
            throwIfStopped();
            painter_.paint(frames.at(part_.start + i * kSampleSeconds), pixels_);
            writer.addSample(pixels_);
            report(kSampling * i / samples);
        }
        done_ = kSampling;
    }

    void write(media::AnimatedPictureWriter& writer) {
        ComposedFrames frames(composition_, makeFrame_);
        frames.open(part_.start);
        const int rate = options_.animation.rate;
        const std::int64_t total = frameCount(part_.length(), rate);
        std::optional<imaging::Picture> last;
        for (std::int64_t i = 0; i < total; ++i) {
            throwIfStopped();
            const double t = frameSeconds(i, rate);
            imaging::Picture picture = frames.at(part_.start + t);
            const imaging::KnownDamage damage =
                last ? imaging::differenceOf(*last, picture, canvas_) : imaging::KnownDamage{};
            if (!damage || !damage->isEmpty()) {
                painter_.paint(picture, pixels_);
                writer.add(pixels_, t);
            }
            last = std::move(picture);
            if (i % rate == 0)
                report(done_ + (kUnfinished - done_) * static_cast<double>(i) / static_cast<double>(total));
        }
    }

    void check(const media::AnimationFacts& facts, const media::AnimatedPictureWriter& writer) const {
        std::string wrong;
        // WebP drops a picture that its encoding makes equal to the last one; a single one has no duration.
        const std::int64_t least = form_ == FilmForm::gif ? writer.pictures() : 1;
        const double tolerance = 1.5 / options_.animation.rate;
        if (facts.size.width != size_.width || facts.size.height != size_.height) {
            wrong = formatted("%dx%d Pixel", facts.size.width, facts.size.height);
        } else if (facts.pictures < least || facts.pictures > writer.pictures()) {
            wrong = formatted("%lld Bilder statt %lld", static_cast<long long>(facts.pictures),
                              static_cast<long long>(writer.pictures()));
        } else if (facts.pictures > 1 && !(std::abs(facts.seconds - part_.length()) <= tolerance)) {
            wrong = formatted("%.2f s statt %.2f s", facts.seconds, part_.length());
        } else if (facts.pictures > 1 && facts.loops != 0) {
            wrong = formatted("%d Durchläufe", facts.loops);
        }
        if (wrong.empty()) return;
        Log::write("Studio", "Prüfung des fertigen Bildes: " + wrong);
        throw RecorderError("Das bewegte Bild konnte nicht geschrieben werden.");
    }

    static constexpr double kUnfinished = 0.97;

    const edit::Composition& composition_;
    const FrameMaker& makeFrame_;
    const RenderOptions& options_;
    const FilmForm form_;
    const PixelSize canvas_;
    const PixelSize size_;
    const Interval part_;
    imaging::Painter painter_{imaging::paintingThreads()};
    imaging::BgraPremultipliedBuffer pixels_;
    double done_ = 0;  // of the progress, before the pictures
};

}  // namespace

RenderResult renderAnimation(const edit::Composition& composition, const FrameMaker& makeFrame,
                             const RenderOptions& options) {
    return Animation(composition, makeFrame, options).run();
}

}  // namespace lumivastor::render
