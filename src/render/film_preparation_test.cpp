// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/film_preparation.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/resource.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <variant>
#include <vector>

#include "base/formatted.h"
#include "media/reading/asset.h"
#include "render/movie_renderer.h"
#include "render/overview/overview_cache.h"
#include "render/reuse/film_record.h"
#include "render/reuse/kept_groups.h"
#include "support/export_fixture.h"

namespace lumivastor::render {
namespace {

namespace fs = std::filesystem;
using End = PreparationResult::End;

class FilmPreparation : public ExportFixture {
  protected:
    static constexpr int kPictures = 210;

    FilmPreparation() {
        settings_.zooms.emplace();
        makeRecording(7);
    }

    PreparationOptions options() const {
        PreparationOptions options;
        options.cacheFolder = cache_.path();
        options.chooseEncoder = [](const media::VideoSettings&) { return media::softwareExportEncoder("Test"); };
        return options;
    }
    PreparationResult prepare() { return prepareFilmSync(*open(), options()); }
    RenderResult exported() {
        RenderOptions rendering;
        rendering.cacheFolder = cache_.path();
        return renderMovieSync(*open(), rendering);
    }
    /// The checksum of a film's pictures: of the last one, and of one that is made without what is prepared.
    static std::string picturesOf(const fs::path& film) {
        const media::Asset movie(film);
        return checksumOfSamples(movie, movie.tracks(media::TrackKind::video).front().id).text();
    }
    std::string lastFilm() const { return picturesOf(folder_ / "studio-output.mp4"); }
    std::string freshFilm() {
        RenderOptions fresh;
        fresh.file = elsewhere_ / "film.mp4";
        EXPECT_EQ(renderMovieSync(*open(), fresh).reusedFrames, 0);
        return picturesOf(fresh.file);
    }
    fs::path keptFile() const {
        const std::uint64_t movie = movieIdentity(folder_ / "source.mov").value();
        return cache_ / formatted("%016llx.groups", static_cast<unsigned long long>(movie));
    }

    TemporaryFolder cache_;
    TemporaryFolder elsewhere_;
};

TEST_F(FilmPreparation, TheExportTakesAllOfIt) {
    PreparationOptions watched = options();
    std::vector<double> parts;
    watched.progress = [&](double part) { parts.push_back(part); };
    const PreparationResult first = prepareFilmSync(*open(), watched);
    EXPECT_EQ(first.end, End::whole);
    EXPECT_EQ(first.pictures, kPictures);
    EXPECT_EQ(first.made, kPictures);
    EXPECT_TRUE(std::ranges::is_sorted(parts));
    EXPECT_EQ(parts.back(), 1);
    EXPECT_FALSE(fs::exists(folder_ / "studio-output.mp4"));
    // There is nothing more to do.
    EXPECT_EQ(prepare().made, 0);
    EXPECT_EQ(exported().reusedFrames, kPictures);
    EXPECT_EQ(lastFilm(), freshFilm());
    // The film has it now, and what was kept for it is gone.
    EXPECT_LT(fs::file_size(keptFile()), 100u);
    EXPECT_EQ(prepare().made, 0);
}

TEST_F(FilmPreparation, MakesOnlyWhatAnEditHasChanged) {
    ASSERT_EQ(prepare().end, End::whole);
    settings_.zooms->push_back({5.5, 6.5, 1.8, {model::FocusKey{5.5, 0.4, 0.6}}});
    const PreparationResult result = prepare();
    EXPECT_EQ(result.end, End::whole);
    EXPECT_GT(result.made, 0);
    EXPECT_LE(result.made, kPictures - 2 * 60);
    EXPECT_EQ(exported().reusedFrames, kPictures);
    EXPECT_EQ(lastFilm(), freshFilm());
}

TEST_F(FilmPreparation, KeepsWhatIsFinishedWhenItIsStopped) {
    std::stop_source stop;
    PreparationOptions stopped = options();
    stopped.stop = stop.get_token();
    stopped.progress = [&](double part) {
        if (part > 0.5) stop.request_stop();
    };
    const PreparationResult first = prepareFilmSync(*open(), stopped);
    EXPECT_EQ(first.end, End::stopped);
    EXPECT_EQ(first.pictures, 120);
    const PreparationResult second = prepare();
    EXPECT_EQ(second.end, End::whole);
    EXPECT_EQ(second.made, kPictures - 120);
    EXPECT_EQ(prepareFilmSync(*open(), stopped).end, End::stopped);
}

TEST_F(FilmPreparation, DoesNotDisturbAnExportThatBeginsMeanwhile) {
    std::optional<RenderResult> film;
    PreparationOptions interrupted = options();
    interrupted.progress = [&](double part) {
        if (part > 0.5 && !film) film = exported();
    };
    const PreparationResult result = prepareFilmSync(*open(), interrupted);
    EXPECT_EQ(result.end, End::whole);
    ASSERT_TRUE(film);
    EXPECT_EQ(film->frames, kPictures);
    EXPECT_EQ(film->reusedFrames, 120);
    EXPECT_EQ(lastFilm(), freshFilm());
    EXPECT_EQ(exported().reusedFrames, kPictures);
}

TEST_F(FilmPreparation, EndsWhereNothingCanBeKept) {
    KeptGroups other(keptFile());
    ASSERT_TRUE(other.mayKeep());
    const PreparationResult result = prepare();
    EXPECT_EQ(result.end, End::full);
    EXPECT_EQ(result.pictures, 60);
    EXPECT_TRUE(KeptGroups(keptFile()).places().empty());
    // What is there already is not worth a word.
    ASSERT_EQ(exported().reusedFrames, 0);
    EXPECT_EQ(prepare().end, End::whole);
}

TEST_F(FilmPreparation, IsOnlyForFilmsInGroups) {
    for (const FilmForm form : {FilmForm::webm, FilmForm::webp, FilmForm::gif}) {
        PreparationOptions other = options();
        other.form = form;
        EXPECT_EQ(prepareFilmSync(*open(), other).end, End::impossible);
    }
    PreparationOptions hardware = options();
    hardware.chooseEncoder = [](const media::VideoSettings&) {
        media::EncoderChoice choice = media::softwareExportEncoder("Test");
        choice.make = [](const media::VideoSettings&) -> std::unique_ptr<media::PictureEncoder> { return nullptr; };
        return choice;
    };
    EXPECT_EQ(prepareFilmSync(*open(), hardware).end, End::impossible);
    PreparationOptions nowhere = options();
    nowhere.cacheFolder.clear();
    EXPECT_EQ(prepareFilmSync(*open(), nowhere).end, End::impossible);
    EXPECT_TRUE(fs::is_empty(cache_.path()));
}

TEST_F(FilmPreparation, RunsQuietlyOnOneProcessorAndMakesTheSame) {
    const std::shared_ptr<const edit::Composition> composition = open();
    int processors = 0;
    int niceness = 0;
    std::optional<PreparationOutcome> outcome;
    prepareFilm(
        [&] {
            cpu_set_t set;
            CPU_ZERO(&set);
            if (::sched_getaffinity(0, sizeof set, &set) == 0) processors = CPU_COUNT(&set);
            niceness = ::getpriority(PRIO_PROCESS, 0);
            return composition;
        },
        options(), [&](const PreparationOutcome& result) { outcome = result; })
        .join();
    EXPECT_EQ(processors, 1);
    EXPECT_GE(niceness, 10);
    ASSERT_TRUE(outcome);
    ASSERT_TRUE(std::holds_alternative<PreparationResult>(*outcome));
    EXPECT_EQ(std::get<PreparationResult>(*outcome).made, kPictures);
    EXPECT_EQ(exported().reusedFrames, kPictures);
    EXPECT_EQ(lastFilm(), freshFilm());
}

TEST_F(FilmPreparation, WhatCannotBeExportedIsNotPrepared) {
    fs::remove(folder_ / "source.mov");
    const std::shared_ptr<const edit::Composition> composition = open();
    std::optional<PreparationOutcome> outcome;
    prepareFilm([&] { return composition; }, options(), [&](const PreparationOutcome& result) { outcome = result; })
        .join();
    ASSERT_TRUE(outcome);
    EXPECT_TRUE(std::holds_alternative<RecorderError>(*outcome));
}

}  // namespace
}  // namespace lumivastor::render
