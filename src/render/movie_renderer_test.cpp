#include "render/movie_renderer.h"

#include <gtest/gtest.h>
#include <sys/fsuid.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <future>
#include <mutex>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "app/log/log.h"
#include "media/asset_reader.h"
#include "render/finished_movie.h"
#include "support/temporary_folder.h"
#include "support/test_movie.h"
#include "support/text_file.h"

// Whole exports of small recordings, decoded again.

namespace lumivastor {
namespace {

namespace fs = std::filesystem;

constexpr int kWidth = 128;
constexpr int kHeight = 96;

Picture sourceOnly(const Picture& source, const std::optional<Picture>&, double) {
    return source.transformed(
        AffineTransform::scaling(kWidth / source.extent().width, kHeight / source.extent().height));
}

class MovieRendererTest : public testing::Test {
  protected:
    MovieRendererTest() {
        info_.createdAt = "2024-05-01T09:30:12Z";
        info_.pixelWidth = kWidth;
        info_.pixelHeight = kHeight;
        info_.fps = 30;
        options_.keyFrameInterval = 30;
        Log::drain();
        if (fs::exists(Log::url())) logStart_ = readText(Log::url()).size();
    }

    // `seconds` of pictures at the recording's rate, unless options_ has its own times.
    void makeRecording(double seconds) {
        options_.pictures = static_cast<int>(std::lround(seconds * options_.frameRate));
        makeTestMovie(folder_ / "source.mov", options_);
        info_.duration = seconds;
    }

    void makeWebcam(int pictures, double offset, bool indexFirst = false) {
        TestMovieOptions webcam;
        webcam.pictures = pictures;
        webcam.keyFrameInterval = 30;
        webcam.indexFirst = indexFirst;
        makeTestMovie(folder_ / "webcam.mov", webcam);
        info_.webcamFile = "webcam.mov";
        info_.webcamOffset = offset;
    }

    std::unique_ptr<Composition> open() {
        info_.save(folder_.path());
        PointerTrack().save(folder_.path());
        settings_.save(folder_.path());
        return std::make_unique<Composition>(folder_.path(), kWidth, kHeight);
    }

    RenderResult render(const RenderOptions& options = {}, const FrameMaker& makeFrame = sourceOnly) {
        return renderMovieSync(*open(), makeFrame, options);
    }

    std::string messageOf(const RenderOptions& options = {}, const FrameMaker& makeFrame = sourceOnly) {
        try {
            render(options, makeFrame);
        } catch (const RecorderError& error) {
            return error.message();
        }
        return "no error";
    }

    // The number of the source picture that is shown at an output time.
    int expectedNumber(double outputSeconds) {
        constexpr double kTolerance = 0.00011;
        const auto segments = keptSegments(effectiveTrim(settings_, info_.duration), settings_.cuts);
        const double source = sourceTime(segments, outputSeconds + 1e-7);
        const int count =
            static_cast<int>(options_.pictureTicks.empty() ? options_.pictures : options_.pictureTicks.size());
        int number = 0;
        for (int i = 0; i < count; ++i) {
            if (testPictureSeconds(options_, i) <= source + kTolerance) number = i;
        }
        return number;
    }

    std::vector<int> exportedNumbers(const std::string& name = "studio-output.mp4") {
        std::vector<int> numbers;
        for (const auto& picture : decodeTestMovie(folder_ / name)) {
            EXPECT_NEAR(picture.seconds, static_cast<double>(numbers.size()) / static_cast<double>(info_.fps), 0.0009);
            numbers.push_back(testPictureNumber(picture.picture));
        }
        return numbers;
    }

    void expectCutTimeline(std::size_t frames) {
        const std::vector<int> numbers = exportedNumbers();
        ASSERT_EQ(numbers.size(), frames);
        for (std::size_t i = 0; i < frames; ++i) {
            EXPECT_EQ(numbers[i], expectedNumber(static_cast<double>(i) / static_cast<double>(info_.fps))) << i;
        }
    }

    // Noise over a part of the file, given as fractions of its length.
    void damage(const std::string& name, double from, double to) {
        std::string bytes = folder_.read(name);
        std::mt19937 random(7);
        const auto at = [&](double part) { return static_cast<std::size_t>(part * static_cast<double>(bytes.size())); };
        for (std::size_t i = at(from); i < at(to); ++i) bytes[i] = static_cast<char>(random());
        folder_.write(name, bytes);
    }

    struct Sound {
        std::vector<float> left, right;
        double seconds() const { return static_cast<double>(left.size()) / 48000; }
    };

    Sound exportedSound() {
        const auto asset = std::make_shared<const Asset>(folder_ / "studio-output.mp4");
        AssetReader reader(asset);
        auto& output = reader.addAudioOutput(asset->tracks(TrackKind::audio).at(0).id);
        EXPECT_TRUE(reader.startReading());
        Sound sound;
        while (const auto sample = output.copyNextSample()) {
            for (std::size_t i = 0; i < sample->frames(); ++i) {
                sound.left.push_back(sample->values[2 * i]);
                sound.right.push_back(sample->values[2 * i + 1]);
            }
        }
        return sound;
    }

    // The amplitude of one frequency over a second in the middle.
    static double amplitude(const std::vector<float>& values, double hertz) {
        constexpr std::size_t kFrames = 48000;
        const std::size_t from = (values.size() - kFrames) / 2;
        double real = 0;
        double imaginary = 0;
        for (std::size_t i = 0; i < kFrames; ++i) {
            const double phase = 2 * std::numbers::pi * hertz * static_cast<double>(i) / 48000;
            real += values[from + i] * std::cos(phase);
            imaginary += values[from + i] * std::sin(phase);
        }
        return 2 * std::hypot(real, imaginary) / kFrames;
    }

    static double decibels(double ratio) { return 20 * std::log10(ratio); }

    // What this test has logged.
    std::string logText() const {
        Log::drain();
        return readText(Log::url()).substr(logStart_);
    }

    static int count(const std::string& text, const std::string& part) {
        int found = 0;
        for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++found;
        return found;
    }

    std::size_t logStart_ = 0;
    TemporaryFolder folder_;
    CaptureInfo info_;
    ProjectSettings settings_;
    TestMovieOptions options_;
};

TEST_F(MovieRendererTest, EveryFrameShowsWhatTheCutTimelineSays) {
    settings_.trimStart = 0.25;
    settings_.trimEnd = 4.5;
    settings_.cuts = {{1, 1.51}, {2.013, 2.9}, {2.5, 3.1}};
    makeRecording(5);
    const RenderResult result = render();
    EXPECT_EQ(result.url, folder_ / "studio-output.mp4");
    EXPECT_EQ(result.frames, 79);  // 0.25-1, 1.51-2.013, 3.1-4.5
    EXPECT_NEAR(result.seconds, 79.0 / 30, 1e-9);
    EXPECT_EQ(result.zoomCount, 0);
    expectCutTimeline(79);
    EXPECT_NE(logText().find("[Studio] fertig: 79 Bilder, 3 Schnitte, 0 Auto-Zooms"), std::string::npos);
}

TEST_F(MovieRendererTest, VariableFrameRatesKeepTheirTimes) {
    options_.pictureTicks = {0, 10, 20, 50, 53, 57, 90, 200, 210, 219, 230, 400, 401, 402, 403, 404, 500, 640, 900};
    settings_.cuts = {{0.7, 0.95}};
    makeRecording(2);
    EXPECT_EQ(render().frames, 52);
    expectCutTimeline(52);
}

TEST_F(MovieRendererTest, OtherRatesAndReorderedPicturesAsWell) {
    options_.frameRate = 25;
    options_.videoEncoder = "libx265";
    options_.reorderedPictures = 2;
    info_.fps = 60;
    settings_.cuts = {{0.5, 1.02}};
    makeRecording(2);
    EXPECT_EQ(render().frames, 88);
    expectCutTimeline(88);
}

TEST_F(MovieRendererTest, TheFrameMakerGetsSourceTimes) {
    settings_.cuts = {{0.5, 1.5}};
    makeRecording(2);
    std::vector<double> times;
    render({}, [&](const Picture& source, const std::optional<Picture>& webcam, double t) {
        EXPECT_FALSE(webcam);
        times.push_back(t);
        return sourceOnly(source, webcam, t);
    });
    ASSERT_EQ(times.size(), 30u);
    for (std::size_t i = 0; i < times.size(); ++i) {
        EXPECT_NEAR(times[i], static_cast<double>(i) / 30 + (i < 15 ? 0 : 1), 1e-9) << i;
    }
}

TEST_F(MovieRendererTest, TheMovieHasTheLaidDownForm) {
    settings_.exportFormat = ExportFormat::mov;
    options_.sounds = {{}};
    info_.systemAudio = true;
    makeRecording(1);
    EXPECT_EQ(render().url, folder_ / "studio-output.mov");
    const Asset movie(folder_ / "studio-output.mov");
    ASSERT_EQ(movie.tracks().size(), 2u);
    const AssetTrack video = movie.tracks(TrackKind::video).at(0);
    EXPECT_EQ(video.codec, "h264");
    EXPECT_EQ(video.width, kWidth);
    EXPECT_EQ(video.height, kHeight);
    EXPECT_TRUE(video.colourTagged);
    EXPECT_EQ(video.sampleCount, 30);
    EXPECT_NEAR(video.end.seconds(), 1, 1e-9);
    const AssetTrack audio = movie.tracks(TrackKind::audio).at(0);
    EXPECT_EQ(audio.codec, "aac");
    EXPECT_EQ(audio.sampleRate, 48000);
    EXPECT_EQ(audio.channels, 2);
    // The container may be another than the settings', and only the file of that name is replaced.
    RenderOptions options;
    options.format = ExportFormat::mp4;
    EXPECT_EQ(render(options).url, folder_ / "studio-output.mp4");
    EXPECT_TRUE(fs::exists(folder_ / "studio-output.mov"));
    EXPECT_EQ(ProjectSettings::load(folder_.path()).exportFormat, ExportFormat::mov);
}

TEST_F(MovieRendererTest, FlashesAndBeepsStayTogether) {
    options_.sounds = {{}, {1, 44100, 2000}};
    info_.systemAudio = info_.microphone = true;
    settings_.cuts = {{1.5, 2.25}, {5.5, 5.8}};
    makeRecording(8);
    render();
    std::vector<double> flashes;
    for (const auto& picture : decodeTestMovie(folder_ / "studio-output.mp4")) {
        if (isTestFlash(picture.picture)) flashes.push_back(picture.seconds);
    }
    const Sound sound = exportedSound();
    std::vector<double> beeps;
    constexpr std::size_t kQuiet = 24000;  // between two beeps
    std::size_t last = 0;
    for (std::size_t i = 0; i < sound.left.size(); ++i) {
        if (std::abs(sound.left[i]) < 0.2F) continue;
        if (beeps.empty() || i - last > kQuiet) beeps.push_back(static_cast<double>(i) / 48000);
        last = i;
    }
    ASSERT_EQ(flashes.size(), 6u);  // those at 1, 3, 4, 5, 6 and 7 s
    ASSERT_EQ(beeps.size(), 6u);
    for (std::size_t i = 0; i < flashes.size(); ++i) {
        // A flash is shown on the first frame at or after its moment: up to one frame later.
        EXPECT_GE(flashes[i] - beeps[i], -0.005) << i;
        EXPECT_LE(flashes[i] - beeps[i], 1.0 / 30 + 0.005) << i;
    }
    // Where no cut has moved the flash off the frames' grid they are together to the millisecond.
    EXPECT_NEAR(flashes[0], beeps[0], 0.002);
    EXPECT_NEAR(sound.seconds(), 6.95, 0.03);
}

TEST_F(MovieRendererTest, VolumesAreAsLoudAsTheySay) {
    options_.sounds = {{2, 48000, 500, 0.3, true}, {2, 48000, 1500, 0.3, true}};
    info_.systemAudio = info_.microphone = true;
    makeRecording(2);
    struct Case {
        double system, microphone;
    };
    for (const Case& volumes : {Case{1, 1}, Case{0, 0.5}, Case{0.5, 0}, Case{1.5, 1}, Case{0.5, 1.5}}) {
        settings_.systemVolume = volumes.system;
        settings_.micVolume = volumes.microphone;
        render();
        const Sound sound = exportedSound();
        for (const auto* channel : {&sound.left, &sound.right}) {
            const double system = amplitude(*channel, 500);
            const double microphone = amplitude(*channel, 1500);
            if (volumes.system == 0) {
                EXPECT_LT(decibels(system / 0.3), -50);
            } else {
                EXPECT_NEAR(decibels(system / 0.3), decibels(volumes.system), 0.2);
            }
            if (volumes.microphone == 0) {
                EXPECT_LT(decibels(microphone / 0.3), -50);
            } else {
                EXPECT_NEAR(decibels(microphone / 0.3), decibels(volumes.microphone), 0.2);
            }
        }
    }
}

TEST_F(MovieRendererTest, WhatIsTooLoudIsLimited) {
    options_.sounds = {{2, 48000, 500, 0.8, true}};
    info_.systemAudio = true;
    settings_.systemVolume = 1.5;
    makeRecording(2);
    render();
    const Sound sound = exportedSound();
    // The first harmonic of a sine of height a that is cut off at 1.
    const double a = 0.8 * 1.5;
    const double expected = 2 * a / std::numbers::pi * (std::asin(1 / a) + std::sqrt(1 - 1 / (a * a)) / a);
    // The encoder lowers what reaches full scale by up to a decibel, but never raises it.
    EXPECT_LT(decibels(amplitude(sound.left, 500)), decibels(expected) + 0.1);
    EXPECT_GT(decibels(amplitude(sound.left, 500)), decibels(expected) - 1);
    // A sine that was cut off has a third harmonic; one that was only made quieter has none.
    EXPECT_GT(decibels(amplitude(sound.left, 1500)), -30);
}

TEST_F(MovieRendererTest, AMicrophoneAloneGetsItsVolumeAndAMonoTrackKeepsItsLevel) {
    options_.sounds = {{1, 44100, 700, 0.4, true}};
    info_.microphone = true;
    settings_.systemVolume = 0;
    settings_.micVolume = 0.5;
    makeRecording(2);
    render();
    const Sound sound = exportedSound();
    EXPECT_NEAR(decibels(amplitude(sound.left, 700) / 0.4), -6.02, 0.2);
    EXPECT_NEAR(decibels(amplitude(sound.right, 700) / 0.4), -6.02, 0.2);
    info_.microphone = false;
    info_.systemAudio = true;
    settings_.systemVolume = 1;
    settings_.micVolume = 0;
    render();
    EXPECT_NEAR(decibels(amplitude(exportedSound().left, 700) / 0.4), 0, 0.2);
}

TEST_F(MovieRendererTest, WithoutSoundThereIsNoSoundTrack) {
    info_.systemAudio = true;  // said, but not there
    makeRecording(1);
    render();
    EXPECT_EQ(Asset(folder_ / "studio-output.mp4").tracks().size(), 1u);
    expectCutTimeline(30);
}

TEST_F(MovieRendererTest, NothingLeftIsSaidAndNoFileIsMade) {
    makeRecording(1);
    settings_.cuts = {{0, 0.4}, {0.3, 1}};
    const std::string message = "Es bleibt nichts übrig - alles ist weggeschnitten.";
    EXPECT_EQ(messageOf(), message);
    settings_.cuts.clear();
    info_.duration = 0;
    EXPECT_EQ(messageOf(), message);
    EXPECT_FALSE(fs::exists(folder_ / "studio-output.mp4"));
}

TEST_F(MovieRendererTest, LessThanAFrameIsOneFrame) {
    makeRecording(1);
    info_.duration = 0.02;
    const RenderResult result = render();
    EXPECT_EQ(result.frames, 1);
    EXPECT_EQ(exportedNumbers(), std::vector<int>{0});
}

TEST_F(MovieRendererTest, ASourceThatEndsEarlyHoldsItsLastPicture) {
    options_.sounds = {{}};
    info_.systemAudio = true;
    makeRecording(1);
    info_.duration = 3;
    EXPECT_EQ(render().frames, 90);
    expectCutTimeline(90);
    EXPECT_EQ(exportedNumbers().back(), 29);
    EXPECT_EQ(count(logText(), "neu gestartet"), 0);
}

TEST_F(MovieRendererTest, ASegmentBehindTheEndOfTheSourceShowsItsLastPicture) {
    makeRecording(1);
    info_.duration = 5;
    settings_.trimStart = 3;
    EXPECT_EQ(render().frames, 60);
    EXPECT_EQ(exportedNumbers().front(), 29);
}

TEST_F(MovieRendererTest, DamageInTheMiddleRestartsTheReader) {
    options_.indexFirst = true;
    makeRecording(6);
    damage("source.mov", 0.45, 0.5);
    EXPECT_EQ(render().frames, 180);
    const std::vector<int> numbers = exportedNumbers();
    ASSERT_EQ(numbers.size(), 180u);
    int held = 0;
    for (int i = 0; i < 180; ++i) {
        const int number = numbers[static_cast<std::size_t>(i)];
        EXPECT_LE(number, i);
        if (number != i) ++held;
        if (i < 60 || i >= 150) {
            EXPECT_EQ(number, i);
        }
    }
    EXPECT_GT(held, 0);
    EXPECT_LT(held, 60);
    const std::string log = logText();
    EXPECT_GE(count(log, "Videoleser bei "), 1);
    EXPECT_LE(count(log, "Videoleser bei "), 12);
    EXPECT_EQ(count(log, "neu gestartet (Versuch 1) - Grund: Optional(Das Video konnte nicht dekodiert werden: "), 1);
}

TEST_F(MovieRendererTest, DamageEverywhereEndsWithTheLastGoodSecond) {
    options_.indexFirst = true;
    makeRecording(12);
    damage("source.mov", 0.22, 1);
    const std::string message = messageOf();
    const std::string log = logText();
    EXPECT_EQ(count(log, "Videoleser bei "), 12) << log;
    EXPECT_EQ(count(log, "(Versuch 12)"), 1);
    EXPECT_TRUE(message == "Das Video lässt sich ab Sekunde 2 nicht mehr dekodieren." ||
                message == "Das Video lässt sich ab Sekunde 3 nicht mehr dekodieren.")
        << message;
}

TEST_F(MovieRendererTest, TheWebcamAppearsWithItsFirstPictureAndIsHeldAfterItsLast) {
    makeRecording(4);
    makeWebcam(30, 1.5);  // source time 1.5 to 2.5
    settings_.cuts = {{0.5, 1}};
    bool before = false;
    // The webcam instead of the screen.
    const FrameMaker webcamOnly = [&](const Picture& source, const std::optional<Picture>& webcam, double t) {
        EXPECT_TRUE(webcam || t < 1.5) << t;
        EXPECT_TRUE(webcam || !before) << t;
        before = webcam.has_value();
        return sourceOnly(webcam ? *webcam : source, {}, t);
    };
    EXPECT_EQ(render({}, webcamOnly).frames, 105);
    const std::vector<int> numbers = exportedNumbers();
    for (int i = 0; i < 105; ++i) {
        const int expected = i < 30 ? expectedNumber(i / 30.0) : std::min(i - 30, 29);
        EXPECT_EQ(numbers.at(static_cast<std::size_t>(i)), expected) << i;
    }
}

TEST_F(MovieRendererTest, DamageInTheWebcamCostsItsOwnPicturesOnly) {
    makeRecording(4);
    makeWebcam(120, 0, true);
    damage("webcam.mov", 0.45, 0.55);
    std::vector<bool> hasWebcam;
    render({}, [&](const Picture& source, const std::optional<Picture>& webcam, double t) {
        hasWebcam.push_back(webcam.has_value());
        return sourceOnly(source, webcam, t);
    });
    expectCutTimeline(120);
    EXPECT_TRUE(std::all_of(hasWebcam.begin(), hasWebcam.end(), [](bool has) { return has; }));
    EXPECT_GE(count(logText(), "Webcamleser bei "), 1);
    EXPECT_EQ(count(logText(), "Videoleser bei "), 0);
}

TEST_F(MovieRendererTest, EqualRecipesAreRepeatedAndStillCounted) {
    makeRecording(2);
    std::optional<Picture> first;
    const RenderResult result = render({}, [&](const Picture& source, const std::optional<Picture>& webcam, double t) {
        if (!first || t >= 1) first = sourceOnly(source, webcam, t);
        return *first;
    });
    EXPECT_EQ(result.frames, 60);
    const std::vector<int> numbers = exportedNumbers();
    ASSERT_EQ(numbers.size(), 60u);
    for (int i = 0; i < 60; ++i) EXPECT_EQ(numbers[static_cast<std::size_t>(i)], i < 30 ? 0 : i);
}

TEST_F(MovieRendererTest, ProgressRisesToOneOnTheThreadThatWasNamed) {
    makeRecording(4);
    std::mutex lock;
    std::vector<std::function<void()>> posted;
    std::vector<double> values;
    RenderOptions options;
    options.progress = [&](double value) { values.push_back(value); };
    options.postToMain = [&](std::function<void()> call) {
        const std::scoped_lock guard(lock);
        posted.push_back(std::move(call));
    };
    render(options);
    EXPECT_TRUE(values.empty()) << "nothing is called elsewhere";
    for (const auto& call : posted) call();
    EXPECT_EQ(values, (std::vector<double>{0.25, 0.5, 0.75, 0.97, 1}));
}

TEST_F(MovieRendererTest, ACancelledExportLeavesNoFile) {
    options_.sounds = {{}};
    info_.systemAudio = true;
    makeRecording(6);
    std::stop_source source;
    RenderOptions options;
    options.stop = source.get_token();
    int frames = 0;
    const FrameMaker stopping = [&](const Picture& picture, const std::optional<Picture>& webcam, double t) {
        if (++frames == 45) source.request_stop();
        return sourceOnly(picture, webcam, t);
    };
    EXPECT_EQ(messageOf(options, stopping), "Abgebrochen.");
    EXPECT_EQ(frames, 45);
    EXPECT_FALSE(fs::exists(folder_ / "studio-output.mp4"));
    // Asked for beforehand it does not even touch the movie of an earlier export.
    folder_.write("studio-output.mp4", "earlier");
    EXPECT_EQ(messageOf(options), "Abgebrochen.");
    EXPECT_EQ(folder_.read("studio-output.mp4"), "earlier");
}

TEST_F(MovieRendererTest, InTheBackgroundTheCompletionComesLast) {
    makeRecording(2);
    const auto composition = open();
    std::promise<RenderOutcome> done;
    std::vector<double> values;
    RenderOptions options;
    options.progress = [&](double value) { values.push_back(value); };
    const std::jthread thread =
        renderMovie(*composition, sourceOnly, options, [&](const RenderOutcome& outcome) { done.set_value(outcome); });
    const RenderOutcome outcome = done.get_future().get();
    ASSERT_TRUE(std::holds_alternative<RenderResult>(outcome));
    EXPECT_EQ(std::get<RenderResult>(outcome).frames, 60);
    EXPECT_EQ(values, (std::vector<double>{0.5, 0.97, 1}));
}

TEST_F(MovieRendererTest, InTheBackgroundItIsCancelledByItsThread) {
    makeRecording(4);
    const auto composition = open();
    std::promise<std::string> done;
    std::promise<void> begun;
    std::promise<void> asked;
    std::once_flag once;
    auto askedFor = asked.get_future().share();
    std::jthread thread = renderMovie(
        *composition,
        [&](const Picture& source, const std::optional<Picture>& webcam, double t) {
            std::call_once(once, [&] { begun.set_value(); });
            askedFor.wait();
            return sourceOnly(source, webcam, t);
        },
        {}, [&](const RenderOutcome& outcome) { done.set_value(std::get<RecorderError>(outcome).message()); });
    begun.get_future().wait();
    thread.request_stop();
    asked.set_value();
    EXPECT_EQ(done.get_future().get(), "Abgebrochen.");
    EXPECT_FALSE(fs::exists(folder_ / "studio-output.mp4"));
}

TEST_F(MovieRendererTest, AnErrorOfTheFrameMakerEndsTheExport) {
    options_.sounds = {{}};
    makeRecording(5);
    EXPECT_EQ(messageOf({},
                        [](const Picture& source, const std::optional<Picture>& webcam, double t) {
                            if (t > 1) throw RecorderError("Ein Fehler.");
                            return sourceOnly(source, webcam, t);
                        }),
              "Ein Fehler.");
    EXPECT_EQ(
        messageOf({}, [](const Picture&, const std::optional<Picture>&, double) -> Picture { throw std::bad_alloc(); }),
        "Der Arbeitsspeicher reicht nicht.");
}

TEST_F(MovieRendererTest, AReadOnlyFolderIsSaid) {
    makeRecording(1);
    const auto composition = open();
    ASSERT_EQ(::chmod(folder_.path().c_str(), 0555), 0);
    // Root writes anywhere; as nobody, the thread does not.
    constexpr uid_t kNobody = 65534;
    const bool isRoot = ::geteuid() == 0;
    if (isRoot) ::setfsuid(kNobody);
    std::string message;
    try {
        renderMovieSync(*composition, sourceOnly);
    } catch (const RecorderError& error) {
        message = error.message();
    }
    if (isRoot) ::setfsuid(0);
    ::chmod(folder_.path().c_str(), 0755);
    EXPECT_EQ(message, "studio-output.mp4 konnte nicht angelegt werden: Zugriff verweigert.");
}

TEST_F(MovieRendererTest, AFileThatCannotGrowEndsTheExportWithItsReason) {
    options_.sounds = {{}};
    makeRecording(10);
    open();
    // Like a full disk, but without one: files may not become longer than this.
    const auto previous = std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit unlimited {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &unlimited), 0);
    struct rlimit small = unlimited;
    small.rlim_cur = 20000;
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    const std::string message = messageOf();
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &unlimited), 0);
    std::signal(SIGXFSZ, previous);
    EXPECT_TRUE(message.starts_with("studio-output.mp4 konnte nicht geschrieben werden: ")) << message;
}

TEST_F(MovieRendererTest, WhatCannotBeRenderedIsSaid) {
    info_.duration = 1;
    EXPECT_EQ(messageOf(), "source.mov konnte nicht gelesen werden: Datei oder Ordner nicht gefunden.");
    TestMovieOptions soundOnly;
    soundOnly.videoEncoder = "";
    soundOnly.pictures = 0;
    soundOnly.soundSeconds = 1;
    soundOnly.sounds = {{}};
    makeTestMovie(folder_ / "source.mov", soundOnly);
    EXPECT_EQ(messageOf(), "Die Schnittfassung hat keine Videospur.");
    makeRecording(1);
    info_.fps = 0;
    EXPECT_EQ(messageOf(), "Die Bildrate der Aufnahme ist unzulässig: 0.");
}

TEST(FinishedMovieCheck, WhatDiffersIsAnError) {
    const TemporaryFolder folder;
    TestMovieOptions options;
    options.sounds = {{}};
    makeTestMovie(folder / "a.mov", options);  // 60 pictures in 2 s
    const FinishedMovie right{{128, 96}, 60, 2, 1.0 / 30, 2};
    EXPECT_NO_THROW(checkFinishedMovie(folder / "a.mov", right));
    const auto isRefused = [&](auto change) {
        FinishedMovie expected = right;
        change(expected);
        try {
            checkFinishedMovie(folder / "a.mov", expected);
        } catch (const RecorderError& error) {
            return error.message() == "Das Studio-Video konnte nicht geschrieben werden.";
        }
        return false;
    };
    EXPECT_TRUE(isRefused([](FinishedMovie& movie) { movie.canvas.width = 126; }));
    EXPECT_TRUE(isRefused([](FinishedMovie& movie) { movie.pictures = 61; }));
    EXPECT_TRUE(isRefused([](FinishedMovie& movie) { movie.pictures = 59; }));
    EXPECT_TRUE(isRefused([](FinishedMovie& movie) { movie.seconds = 2.1; }));
    EXPECT_TRUE(isRefused([](FinishedMovie& movie) { movie.soundSeconds.reset(); }));
    EXPECT_TRUE(isRefused([](FinishedMovie& movie) { movie.soundSeconds = 1.9; }));
    EXPECT_THROW(checkFinishedMovie(folder / "missing.mov", right), RecorderError);
    folder.write("broken.mov", folder.read("a.mov").substr(0, 5000));
    EXPECT_THROW(checkFinishedMovie(folder / "broken.mov", right), RecorderError);
}

}  // namespace
}  // namespace lumivastor
