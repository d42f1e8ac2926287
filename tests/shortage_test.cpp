// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/log.h"
#include "base/pixel_size.h"
#include "base/recorder_error.h"
#include "media/reading/asset.h"
#include "model/pointer_track.h"
#include "render/cursor_renderer.h"
#include "render/movie_renderer.h"
#include "support/export_fixture.h"
#include "support/failing_allocations.h"

// Exports while memory is short: whichever allocation fails, on whichever thread, they end with a whole film or with an
// error, and with an error the earlier film is still there and nothing else. A program that is ended by an exception
// nobody catches, or that waits for ever, fails these tests as well.

namespace lumivastor {
namespace {

namespace fs = std::filesystem;
using Mode = FailingAllocations::Mode;

constexpr PixelSize kCanvas{192, 108};
constexpr int kPictures = 24;

class Shortage : public ExportFixture {
  protected:
    Shortage() {
        options_.sounds = {{}, {}};
        info_.systemAudio = info_.microphone = true;
        info_.pointPixelScale = 1;
        makeRecording(kPictures / 30.0);
        makeWebcam(kPictures, 0);
        settings_.cuts = {{0.3, 0.4}};
        composition_ = open(kCanvas);
        model::PointerTrack track;
        track.events = {{0, 10, 20, 0, 0, model::PointerKind::move, {}, {}, {}},
                        {0.2, 60, 50, 0, 0, model::PointerKind::down, {}, {}, {}}};
        track.save(folder_.path());
        Log::drain();
    }

    // One export; its error, or none when there is a film. Takes no memory of its own.
    using Job = std::function<std::optional<RecorderError>()>;

    Job studioFilm() const {
        return [this]() -> std::optional<RecorderError> {
            try {
                render::renderMovieSync(*composition_);
                return std::nullopt;
            } catch (const RecorderError& error) {
                return error;
            }
        };
    }
    Job checkVideo() const {
        return [this]() -> std::optional<RecorderError> {
            try {
                render::CursorRenderer::renderSync(folder_.path());
                return std::nullopt;
            } catch (const RecorderError& error) {
                return error;
            }
        };
    }

    // Which allocations to fail of so many: the first ones, and ever fewer of those that come later.
    static std::vector<std::int64_t> chosenOf(std::int64_t all) {
        std::vector<std::int64_t> chosen;
        for (std::int64_t number = 0; number < all; number += 1 + number / kSparseness) chosen.push_back(number);
        chosen.push_back(2 * all);  // none: the one after all those errors still works
        return chosen;
    }

    struct Film {
        std::string name;
        int pictures;
        int leftOut;  // how many there may be less
        std::size_t tracks;
    };

    void expectToEndWell(const Film& film, const Job& job) {
        std::int64_t all = 0;
        {
            const FailingAllocations none(std::int64_t{1} << 40, Mode::one);
            ASSERT_FALSE(job());
            all = none.count();
        }
        ASSERT_GT(all, 300);
        int films = 0;
        int errors = 0;
        for (const Mode mode : {Mode::one, Mode::all}) {
            for (const std::int64_t number : chosenOf(all)) {
                SCOPED_TRACE(testing::Message() << film.name << ", allocation " << number << " of " << all
                                                << (mode == Mode::one ? "" : " and all behind it"));
                folder_.write(film.name, "earlier");
                const auto before = names();
                std::optional<RecorderError> error;
                {
                    const FailingAllocations failing(number, mode);
                    error = job();
                }
                ASSERT_EQ(names(), before);
                if (error) {
                    ++errors;
                    EXPECT_TRUE(saysWhatIsShort(error->message())) << error->message();
                    ASSERT_EQ(folder_.read(film.name), "earlier");
                } else {
                    ++films;
                    expectWhole(film);
                }
            }
        }
        EXPECT_GT(errors, 10);
        EXPECT_GE(films, 2);
    }

  private:
    static constexpr std::int64_t kSparseness = 3;

    std::vector<std::string> names() const {
        std::vector<std::string> all;
        for (const auto& each : fs::directory_iterator(folder_.path())) all.push_back(each.path().filename());
        std::sort(all.begin(), all.end());
        return all;
    }

    // Pools of pictures and readers of documents say it in words of their own.
    static bool saysWhatIsShort(const std::string& message) {
        return message.find("Der Arbeitsspeicher reicht nicht.") != std::string::npos ||
               message == "Kein Speicher für die Ausgabebilder." ||
               message.find(".json“ konnte nicht gelesen werden: Das Dokument ist zu groß.") != std::string::npos;
    }

    void expectWhole(const Film& film) const {
        const media::Asset movie(folder_ / film.name);
        EXPECT_EQ(movie.tracks().size(), film.tracks);
        const std::int64_t pictures = movie.tracks(media::TrackKind::video).at(0).sampleCount;
        EXPECT_LE(pictures, film.pictures);
        EXPECT_GE(pictures, film.pictures - film.leftOut);
        for (const media::AssetTrack& track : movie.tracks())
            EXPECT_NEAR(track.end.seconds(), film.pictures / 30.0, 0.05);
    }

    std::unique_ptr<edit::Composition> composition_;
};

TEST_F(Shortage, AStudioFilmIsWholeOrThereIsAnError) {
    expectToEndWell({"studio-output.mp4", 21, 0, 2}, studioFilm());
}

TEST_F(Shortage, ACheckVideoIsWholeOrThereIsAnError) {
    // A picture for which there is no buffer is left out; the next one shows its own time.
    expectToEndWell({"test-output.mov", kPictures, 1, 3}, checkVideo());
}

}  // namespace
}  // namespace lumivastor
