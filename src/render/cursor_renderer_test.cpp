// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/cursor_renderer.h"

#include <gtest/gtest.h>
#include <sys/fsuid.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "base/log.h"
#include "base/serial_queue.h"
#include "imaging/png_file.h"
#include "media/reading/asset_reader.h"
#include "support/temporary_folder.h"
#include "support/test_movie.h"
#include "support/text_file.h"

extern "C" {
#include <libavcodec/packet.h>
}

namespace lumivastor::render::CursorRenderer {
namespace {

namespace fs = std::filesystem;
using Movie = media::Asset;

constexpr int kWidth = 320;
constexpr int kHeight = 240;
constexpr int kGrey = 109;  // of the plain source pictures

struct Shown {
    MediaTime time;
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> picture;
};

std::vector<Shown> picturesOf(const fs::path& path) {
    const auto asset = std::make_shared<const Movie>(path);
    media::AssetReader reader(asset);
    auto& output =
        reader.addVideoOutput(asset->tracks(media::TrackKind::video).at(0).id, media::PictureFormat::bgraPremultiplied);
    if (!reader.startReading()) throw *reader.error();
    std::vector<Shown> pictures;
    while (const auto sample = output.copyNextSample()) {
        pictures.push_back({sample->presentationTime,
                            std::get<std::shared_ptr<const imaging::BgraPremultipliedBuffer>>(sample->picture)});
    }
    return pictures;
}

// Mean difference of all colour values.
double difference(const imaging::BgraPremultipliedBuffer& a, const imaging::BgraPremultipliedBuffer& b) {
    double sum = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int i = 0; i < a.width() * 4; ++i) sum += std::abs(a.row(y)[i] - b.row(y)[i]);
    }
    return sum / (3.0 * a.width() * a.height());
}

struct Colour {
    int blue, green, red;
};
std::ostream& operator<<(std::ostream& out, const Colour& colour) {
    return out << "b " << colour.blue << " g " << colour.green << " r " << colour.red;
}
Colour at(const Shown& shown, double x, double y) {
    const std::uint8_t* const pixel =
        shown.picture->pixel(static_cast<int>(std::lround(x)), static_cast<int>(std::lround(y)));
    return {pixel[0], pixel[1], pixel[2]};
}
bool isNear(const Colour& a, const Colour& b, int tolerance = 12) {
    return std::abs(a.blue - b.blue) <= tolerance && std::abs(a.green - b.green) <= tolerance &&
           std::abs(a.red - b.red) <= tolerance;
}
constexpr Colour kPlain{kGrey, kGrey, kGrey};

int brightest(const Shown& shown, const Rect& rect) {
    int maximum = 0;
    for (int y = static_cast<int>(rect.minY()); y < rect.maxY(); ++y) {
        for (int x = static_cast<int>(rect.minX()); x < rect.maxX(); ++x)
            maximum = std::max(maximum, at(shown, x, y).green);
    }
    return maximum;
}

// A recording of a plain grey screen, 45 pictures at 30 a second. The pointer rests and clicks once, after half a
// second; its cursor is in four colours, so that any turn or mirroring shows.
class CheckVideo : public testing::Test {
  protected:
    CheckVideo() {
        movie_.width = kWidth;
        movie_.height = kHeight;
        movie_.pictures = 45;
        movie_.paint = [](int, const imaging::YuvDestination& picture) {
            for (int y = 0; y < picture.height; ++y) {
                std::memset(picture.luma + y * picture.lumaStride, 110, static_cast<std::size_t>(picture.width));
            }
            for (int y = 0; y < picture.height / 2; ++y) {
                const auto width = static_cast<std::size_t>(picture.width / 2);
                std::memset(picture.cb + y * picture.chromaStride, 128, width);
                std::memset(picture.cr + y * picture.chromaStride, 128, width);
            }
        };
        info_.createdAt = "2024-05-01T09:30:12Z";
        info_.pixelWidth = kWidth;
        info_.pixelHeight = kHeight;
        info_.fps = 30;
        info_.duration = 44.0 / 30;
        addEvent(0, model::PointerKind::move);
        addEvent(0.5, model::PointerKind::down);
        addEvent(0.6, model::PointerKind::up);
        track_.cursorChanges = {{0, "arrow"}};
        track_.cursorImages = {{"arrow", "cursors/arrow.png", 16, 24, 4, 6, 1, true}};
        fs::create_directories(folder_ / "cursors");
        imaging::writePng(folder_ / "cursors/arrow.png", fourColours());
    }

    static imaging::BgraPremultipliedBuffer fourColours() {
        imaging::BgraPremultipliedBuffer picture(16, 24);
        for (int y = 0; y < 24; ++y) {
            for (int x = 0; x < 16; ++x) {
                // White and red above green and blue.
                constexpr std::uint8_t kQuarters[4][3] = {{255, 255, 255}, {0, 0, 255}, {0, 255, 0}, {255, 0, 0}};
                std::memcpy(picture.pixel(x, y), kQuarters[(y >= 12 ? 2 : 0) + (x >= 8 ? 1 : 0)], 3);
                picture.pixel(x, y)[3] = 255;
            }
        }
        return picture;
    }

    void addEvent(double t, model::PointerKind kind) {
        model::PointerSample sample;
        sample.t = t;
        sample.px = 160;
        sample.py = 130;
        sample.nx = 0.5;
        sample.ny = 130.0 / kHeight;
        sample.kind = kind;
        if (kind != model::PointerKind::move) sample.button = model::PointerButton::left;
        track_.events.push_back(sample);
    }

    void save() {
        info_.save(folder_.path());
        track_.save(folder_.path());
        makeTestMovie(folder_ / "source.mov", movie_);
    }

    std::string messageOfRender(const Options& options = {}) {
        try {
            renderSync(folder_.path(), options);
        } catch (const RecorderError& error) {
            return error.message();
        }
        return "";
    }

    fs::path output() const { return folder_ / "test-output.mov"; }

    TemporaryFolder folder_;
    TestMovieOptions movie_;
    model::CaptureInfo info_;
    model::PointerTrack track_;
};

std::string lastLogLine() {
    Log::drain();
    std::string text = readText(Log::url());
    text.pop_back();
    return text.substr(text.rfind('\n') + 1);
}

TEST_F(CheckVideo, ShowsEveryMarkInItsPlace) {
    save();
    const Result result = renderSync(folder_.path());
    EXPECT_EQ(result.url, output());
    EXPECT_EQ(result.frames, 45);
    EXPECT_NEAR(result.seconds, 44.0 / 30, 1e-9);
    EXPECT_TRUE(lastLogLine().ends_with("[Render] test-output.mov: 45 Bilder, 1.5 s")) << lastLogLine();

    const auto shown = picturesOf(output());
    ASSERT_EQ(shown.size(), 45u);
    const edit::Recording recording = edit::Recording::load(folder_.path());
    const Assets assets = loadCursorImages(recording.track, folder_.path());
    ASSERT_EQ(assets.size(), 1u);
    for (std::size_t i = 0; i < shown.size(); ++i) {
        EXPECT_EQ(shown[i].time, (MediaTime{static_cast<std::int64_t>(i), 30}));
        const double t = shown[i].time.seconds();
        // The whole picture is what the marks of this moment make of the plain one.
        imaging::BgraPremultipliedBuffer expected(kWidth, kHeight);
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) std::memcpy(expected.pixel(x, y), "mmm\xff", 4);  // 'm' is 109
        }
        paintMarks(*marksAt(recording, assets, t), expected);
        EXPECT_LT(difference(*shown[i].picture, expected), 1.5) << i;

        // The cursor, upright, its hot spot at (160, 130).
        EXPECT_TRUE(isNear(at(shown[i], 160, 130), {255, 255, 255}, 40)) << i << ": " << at(shown[i], 160, 130);
        EXPECT_TRUE(isNear(at(shown[i], 168, 130), {0, 0, 255}, 40)) << i << ": " << at(shown[i], 168, 130);
        EXPECT_TRUE(isNear(at(shown[i], 160, 142), {0, 255, 0}, 40)) << i << ": " << at(shown[i], 160, 142);
        EXPECT_TRUE(isNear(at(shown[i], 168, 142), {255, 0, 0}, 40)) << i << ": " << at(shown[i], 168, 142);

        // The indicator, and grey around it.
        const bool isLit = i >= 15 && i < 19;
        EXPECT_TRUE(isNear(at(shown[i], 25, 25), isLit ? Colour{0, 89, 255} : Colour{49, 70, 70}))
            << i << ": " << at(shown[i], 25, 25);
        EXPECT_TRUE(isNear(at(shown[i], 6, 25), kPlain)) << i << ": " << at(shown[i], 6, 25);
        EXPECT_TRUE(isNear(at(shown[i], 25, 44), kPlain)) << i << ": " << at(shown[i], 25, 44);

        // The label, on its baseline.
        EXPECT_GT(brightest(shown[i], {48, 17, 92, 17}), 180) << i;
        EXPECT_LT(brightest(shown[i], {48, 42, 92, 20}), kGrey + 25) << i;
        EXPECT_LT(brightest(shown[i], {200, 4, 100, 40}), kGrey + 25) << i;
    }
}

TEST_F(CheckVideo, RingsGrowAroundTheClickAndGo) {
    track_.cursorChanges.clear();  // with the dot, which is small
    save();
    renderSync(folder_.path());
    const auto shown = picturesOf(output());
    ASSERT_EQ(shown.size(), 45u);
    const auto redness = [](const Colour& colour) { return colour.red - colour.blue; };
    for (std::size_t i = 0; i < shown.size(); ++i) {
        EXPECT_TRUE(isNear(at(shown[i], 160, 130), {248, 248, 248})) << i << ": " << at(shown[i], 160, 130);
        const double age = shown[i].time.seconds() - 0.5;
        const bool isSeen = age >= -1e-9 && age < 0.33;  // the very last one has faded to nothing
        const double radius = isSeen ? age / 0.35 * 46 + 14 : 40;
        const double part = isSeen ? age / 0.35 : 1;
        for (int direction = 0; direction < 8; ++direction) {
            const double angle = direction * std::acos(-1.0) / 4;
            const auto on = [&](double r) {
                return at(shown[i], 159.5 + r * std::cos(angle), 129.5 + r * std::sin(angle));
            };
            if (isSeen && part < 0.7) {
                EXPECT_GT(redness(on(radius)), 100 * (1 - part)) << i << " " << direction << ": " << on(radius);
            }
            if (!isSeen && (age < 0 || age > 0.36)) {
                EXPECT_LT(std::abs(redness(on(radius))), 12) << i << " " << direction << ": " << on(radius);
            }
            EXPECT_LT(std::abs(redness(on(radius + 9))), 15) << i << " " << direction << ": " << on(radius + 9);
        }
    }
}

// How many chroma samples, and parts of one, lie left of the edge between two colours, below all marks.
double colourEdgeIn(const fs::path& path) {
    const auto asset = std::make_shared<const Movie>(path);
    media::AssetReader reader(asset);
    auto& output = reader.addVideoOutput(asset->tracks(media::TrackKind::video).at(0).id, media::PictureFormat::planar);
    if (!reader.startReading()) throw *reader.error();
    const auto sample = output.copyNextSample();
    const imaging::YuvPlane& plane = sample->planar().cb;
    double left = 0;
    constexpr int kFirst = 90;
    constexpr int kLast = 115;
    for (int y = kFirst; y < kLast; ++y) {
        const std::uint8_t* const row = plane.samples + y * plane.stride;
        const double last = row[kWidth / 2 - 1];
        for (int x = 0; x < kWidth / 2; ++x) left += (row[x] - last) / (row[0] - last);
    }
    return left / (kLast - kFirst);
}

TEST_F(CheckVideo, LeavesColoursWhereTheRecordingHasThem) {
    movie_.pictures = 2;
    movie_.bitRate = 4000000;
    movie_.paint = [](int, const imaging::YuvDestination& picture) {
        for (int y = 0; y < picture.height; ++y) {
            std::memset(picture.luma + y * picture.lumaStride, 110, static_cast<std::size_t>(picture.width));
        }
        for (int y = 0; y < picture.height / 2; ++y) {
            for (int x = 0; x < picture.width / 2; ++x) {
                const bool isLeft = x < 61;
                picture.cb[y * picture.chromaStride + x] = isLeft ? 160 : 100;
                picture.cr[y * picture.chromaStride + x] = isLeft ? 110 : 150;
            }
        }
    };
    save();
    renderSync(folder_.path());
    // A quarter of a sample is half a pixel.
    EXPECT_NEAR(colourEdgeIn(output()), colourEdgeIn(folder_ / "source.mov"), 0.1);
}

TEST_F(CheckVideo, CursorShapesWithoutPictureAreTheDot) {
    for (const bool isVisible : {true, false}) {
        track_.cursorImages[0].visible = isVisible;
        if (isVisible) fs::remove(folder_ / "cursors/arrow.png");
        movie_.pictures = 5;
        save();
        renderSync(folder_.path());
        const auto shown = picturesOf(output());
        ASSERT_EQ(shown.size(), 5u);
        EXPECT_TRUE(isNear(at(shown[2], 160, 130), {248, 248, 248})) << at(shown[2], 160, 130);
        EXPECT_TRUE(isNear(at(shown[2], 155, 130), {248, 248, 248})) << at(shown[2], 155, 130);
        EXPECT_TRUE(isNear(at(shown[2], 172, 130), kPlain)) << at(shown[2], 172, 130);
        EXPECT_TRUE(isNear(at(shown[2], 160, 142), kPlain)) << at(shown[2], 160, 142);
        imaging::writePng(folder_ / "cursors/arrow.png", fourColours());
    }
}

TEST_F(CheckVideo, ScalesMarksWithTheRecordingsPoints) {
    info_.pointPixelScale = 2;
    movie_.pictures = 3;
    save();
    renderSync(folder_.path());
    const auto shown = picturesOf(output());
    ASSERT_EQ(shown.size(), 3u);
    EXPECT_TRUE(isNear(at(shown[1], 68, 68), {49, 70, 70})) << at(shown[1], 68, 68);
    EXPECT_TRUE(isNear(at(shown[1], 20, 50), kPlain)) << at(shown[1], 20, 50);
    // The cursor from (152, 118) to (184, 166).
    EXPECT_TRUE(isNear(at(shown[1], 156, 122), {255, 255, 255}, 30)) << at(shown[1], 156, 122);
    EXPECT_TRUE(isNear(at(shown[1], 180, 162), {255, 0, 0}, 40)) << at(shown[1], 180, 162);
    EXPECT_TRUE(isNear(at(shown[1], 190, 162), kPlain)) << at(shown[1], 190, 162);
}

TEST_F(CheckVideo, WithoutPointerEventsThePicturesStayPlain) {
    track_.events.clear();
    movie_.paint = nullptr;  // numbered pictures
    info_.fps = 300;         // for a bit rate that such small pictures can be read at
    save();
    const Result result = renderSync(folder_.path());
    EXPECT_EQ(result.frames, 45);
    const auto before = picturesOf(folder_ / "source.mov");
    const auto after = picturesOf(output());
    ASSERT_EQ(after.size(), 45u);
    for (std::size_t i = 0; i < after.size(); ++i) {
        EXPECT_EQ(testPictureNumber(*after[i].picture), static_cast<int>(i));
        EXPECT_LT(difference(*before[i].picture, *after[i].picture), 3) << i;
    }
}

TEST_F(CheckVideo, KeepsTheSourcesPictureTimesExactly) {
    movie_.videoEncoder = "libx265";
    movie_.reorderedPictures = 2;
    movie_.timescale = 90000;
    movie_.pictureTicks = {0, 1501, 3000, 4500, 30001, 30002, 45000, 91234, 91235, 200000};
    info_.duration = 200000 / 90000.0;
    save();
    const Result result = renderSync(folder_.path());
    EXPECT_EQ(result.frames, 10);
    EXPECT_EQ(result.seconds, 200000 / 90000.0);
    const auto shown = picturesOf(output());
    ASSERT_EQ(shown.size(), movie_.pictureTicks.size());
    for (std::size_t i = 0; i < shown.size(); ++i) {
        EXPECT_EQ(shown[i].time, (MediaTime{movie_.pictureTicks[i], 90000})) << i;
    }
    const media::AssetTrack track = Movie(output()).tracks(media::TrackKind::video).at(0);
    EXPECT_EQ(track.codec, "h264");
    EXPECT_EQ(track.width, kWidth);
    EXPECT_EQ(track.height, kHeight);
    EXPECT_TRUE(track.colourTagged);
}

TEST_F(CheckVideo, CopiesEverySoundTrackByteForByte) {
    movie_.sounds = {{}, {1, 44100, 2000}};
    movie_.sounds[0].continuous = true;
    movie_.pictures = 75;  // longer than the tracks may run ahead of each other
    save();
    renderSync(folder_.path());
    const auto source = std::make_shared<const Movie>(folder_ / "source.mov");
    const auto copy = std::make_shared<const Movie>(output());
    ASSERT_EQ(copy->tracks(media::TrackKind::audio).size(), 2u);
    ASSERT_EQ(copy->tracks(media::TrackKind::video).size(), 1u);
    for (std::size_t i = 0; i < 2; ++i) {
        const media::AssetTrack a = source->tracks(media::TrackKind::audio)[i];
        const media::AssetTrack b = copy->tracks(media::TrackKind::audio)[i];
        EXPECT_EQ(a.codec, b.codec);
        EXPECT_EQ(a.sampleRate, b.sampleRate);
        EXPECT_EQ(a.channels, b.channels);
        EXPECT_EQ(a.start, b.start);
        EXPECT_EQ(a.end, b.end);
        media::AssetReader first(source);
        media::AssetReader second(copy);
        auto& from = first.addStoredSampleOutput(a.id);
        auto& to = second.addStoredSampleOutput(b.id);
        ASSERT_TRUE(first.startReading() && second.startReading());
        int count = 0;
        for (;; ++count) {
            const auto x = from.copyNextSample();
            const auto y = to.copyNextSample();
            ASSERT_EQ(x.has_value(), y.has_value()) << i << " " << count;
            if (!x) break;
            EXPECT_EQ(x->presentationTime, y->presentationTime) << i << " " << count;
            EXPECT_EQ(x->duration, y->duration) << i << " " << count;
            ASSERT_EQ(x->packet->size, y->packet->size) << i << " " << count;
            EXPECT_EQ(std::memcmp(x->packet->data, y->packet->data, static_cast<std::size_t>(x->packet->size)), 0)
                << i << " " << count;
        }
        EXPECT_GT(count, 100);
    }
}

TEST_F(CheckVideo, ASilentRecordingGivesASilentVideo) {
    movie_.pictures = 3;
    save();
    renderSync(folder_.path());
    EXPECT_EQ(Movie(output()).tracks().size(), 1u);
}

TEST_F(CheckVideo, SoundMayBeLongerOrShorterThanThePictures) {
    for (const double seconds : {0.2, 5.0}) {
        movie_.pictures = 60;
        movie_.sounds = {{}};
        movie_.soundSeconds = seconds;
        save();
        EXPECT_EQ(renderSync(folder_.path()).frames, 60);
        EXPECT_EQ(Movie(output()).tracks(media::TrackKind::audio).at(0).end,
                  Movie(folder_ / "source.mov").tracks(media::TrackKind::audio).at(0).end);
    }
}

TEST_F(CheckVideo, TakesTheBottomLeftOfAPictureLargerThanTheDocumentSays) {
    const auto plain = movie_.paint;
    movie_.paint = [&](int index, const imaging::YuvDestination& picture) {
        plain(index, picture);
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                std::uint8_t& luma = picture.luma[y * picture.lumaStride + x];
                if (y < 140 || x >= 200) luma = 16;  // not to be seen
                if (x < 40 && y >= 200) luma = 235;
            }
        }
    };
    movie_.pictures = 3;
    track_.events.clear();
    info_.pixelWidth = 200;
    info_.pixelHeight = 100;
    save();
    renderSync(folder_.path());
    const auto shown = picturesOf(output());
    ASSERT_EQ(shown.size(), 3u);
    EXPECT_EQ(shown[1].picture->width(), 200);
    EXPECT_EQ(shown[1].picture->height(), 100);
    for (const Point& point : {Point{0, 0}, {199, 0}, {199, 99}, {100, 0}, {199, 50}, {60, 80}, {20, 50}}) {
        EXPECT_TRUE(isNear(at(shown[1], point.x, point.y), kPlain)) << at(shown[1], point.x, point.y);
    }
    EXPECT_TRUE(isNear(at(shown[1], 20, 80), {255, 255, 255})) << at(shown[1], 20, 80);
    EXPECT_TRUE(isNear(at(shown[1], 1, 98), {255, 255, 255})) << at(shown[1], 1, 98);
}

TEST_F(CheckVideo, ReplacesAnEarlierOne) {
    movie_.pictures = 3;
    save();
    folder_.write("test-output.mov", "something else");
    EXPECT_EQ(renderSync(folder_.path()).frames, 3);
    EXPECT_EQ(picturesOf(output()).size(), 3u);
}

TEST_F(CheckVideo, SaysWhatIsMissing) {
    EXPECT_NE(messageOfRender().find("capture.json"), std::string::npos) << messageOfRender();
    info_.save(folder_.path());
    EXPECT_NE(messageOfRender().find("pointer.json"), std::string::npos) << messageOfRender();
    track_.save(folder_.path());
    EXPECT_NE(messageOfRender().find("source.mov"), std::string::npos) << messageOfRender();
    folder_.write("source.mov", "no movie at all");
    EXPECT_NE(messageOfRender().find("source.mov"), std::string::npos) << messageOfRender();
    movie_.videoEncoder.clear();
    movie_.sounds = {{}};
    movie_.soundSeconds = 1;
    makeTestMovie(folder_ / "source.mov", movie_);
    EXPECT_EQ(messageOfRender(), "In source.mov ist keine Videospur.");
    EXPECT_FALSE(fs::exists(output()));
}

TEST_F(CheckVideo, EndsWhereTheSourceIsDamaged) {
    movie_.paint = nullptr;
    movie_.pictures = 90;
    movie_.keyFrameInterval = 30;
    movie_.indexFirst = true;
    save();
    // Cut off in the middle; the index still promises the rest.
    fs::resize_file(folder_ / "source.mov", fs::file_size(folder_ / "source.mov") / 2);
    const Result result = renderSync(folder_.path());
    EXPECT_GT(result.frames, 10);
    EXPECT_LT(result.frames, 80);
    EXPECT_EQ(picturesOf(output()).size(), static_cast<std::size_t>(result.frames));
    Log::drain();
    EXPECT_NE(readText(Log::url()).find("[Render] source.mov: Lesefehler bei "), std::string::npos);
}

TEST_F(CheckVideo, AReadOnlyFolderIsNamed) {
    movie_.pictures = 3;
    save();
    Log::write("Render", "vorher");  // the log's thread is to start with the rights of the program
    Log::drain();
    ASSERT_EQ(::chmod(folder_.path().c_str(), 0555), 0);
    // Documents are their owner's alone, and it is as nobody that they are read below.
    for (const char* document : {"capture.json", "pointer.json"}) {
        ASSERT_EQ(::chmod((folder_ / document).c_str(), 0644), 0);
    }
    // Root writes anywhere; as nobody, the thread does not.
    constexpr uid_t kNobody = 65534;
    const bool isRoot = ::geteuid() == 0;
    if (isRoot) ::setfsuid(kNobody);
    const std::string message = messageOfRender();
    if (isRoot) ::setfsuid(0);
    ::chmod(folder_.path().c_str(), 0755);
    EXPECT_EQ(message, "test-output.mov konnte nicht angelegt werden: Zugriff verweigert.");
    EXPECT_FALSE(fs::exists(output()));
}

TEST_F(CheckVideo, ReportsEveryFifteenPicturesAndKeepsOneForTheEnd) {
    save();
    std::mutex lock;
    std::vector<double> parts;
    Options options;
    options.progress = [&](double part) {
        const std::lock_guard hold(lock);
        parts.push_back(part);
    };
    renderSync(folder_.path(), options);
    ASSERT_EQ(parts.size(), 4u);
    EXPECT_NEAR(parts[0], 14.0 / 44, 1e-9);
    EXPECT_NEAR(parts[1], 29.0 / 44, 1e-9);
    EXPECT_EQ(parts[2], 0.95);
    EXPECT_EQ(parts[3], 1);
    EXPECT_EQ(progressAt(0.0005, 0), 0.5);
    EXPECT_EQ(progressAt(0.1, 0), 0.95);
    EXPECT_EQ(progressAt(0.1, -3), 0.95);
}

TEST_F(CheckVideo, CancelledBeforeItStartsTouchesNothing) {
    save();
    folder_.write("test-output.mov", "an earlier one");
    std::stop_source source;
    source.request_stop();
    Options options;
    options.stop = source.get_token();
    EXPECT_EQ(messageOfRender(options), "Abgebrochen.");
    EXPECT_EQ(folder_.read("test-output.mov"), "an earlier one");
}

TEST_F(CheckVideo, CancelledOnTheWayLeavesNoFile) {
    movie_.sounds = {{}};
    movie_.pictures = 120;
    save();
    std::stop_source source;
    folder_.write("test-output.mov", "an earlier one");
    std::atomic<int> reports = 0;
    std::vector<std::string> onTheWay;
    Options options;
    options.stop = source.get_token();
    options.progress = [&](double) {
        ++reports;
        for (const auto& each : fs::directory_iterator(folder_.path())) onTheWay.push_back(each.path().filename());
        source.request_stop();
    };
    EXPECT_EQ(messageOfRender(options), "Abgebrochen.");
    EXPECT_EQ(reports, 1);
    const auto isHidden = [](const std::string& name) { return name.starts_with(".lumivastor-export-"); };
    EXPECT_EQ(std::count_if(onTheWay.begin(), onTheWay.end(), isHidden), 1);
    for (const auto& each : fs::directory_iterator(folder_.path())) {
        EXPECT_FALSE(isHidden(each.path().filename())) << each.path();
    }
    EXPECT_EQ(folder_.read("test-output.mov"), "an earlier one");
}

TEST_F(CheckVideo, TheEarlierOneStaysUntilTheNewOneIsWhole) {
    movie_.sounds = {{}};
    save();
    folder_.write("test-output.mov", "an earlier one");
    std::vector<bool> whole;
    Options options;
    options.progress = [&](double) { whole.push_back(folder_.read("test-output.mov") != "an earlier one"); };
    EXPECT_EQ(renderSync(folder_.path(), options).url, output());
    EXPECT_EQ(whole, (std::vector<bool>{false, false, false, true}));
    EXPECT_EQ(picturesOf(output()).size(), 45u);
}

TEST_F(CheckVideo, AFolderInItsPlaceIsSaid) {
    save();
    fs::create_directory(output());
    EXPECT_EQ(messageOfRender(),
              "test-output.mov kann nicht ersetzt werden: Ein Ordner steht an der Stelle der Datei.");
}

// Delivers results like an application's main thread.
class OnMain {
  public:
    Options options() {
        Options options;
        options.postToMain = [this](std::function<void()> work) { main_.async(std::move(work)); };
        options.progress = [this](double part) {
            EXPECT_TRUE(main_.isCurrent());
            parts.push_back(part);
        };
        return options;
    }
    std::function<void(const Outcome&)> completion() {
        return [this](const Outcome& outcome) {
            EXPECT_TRUE(main_.isCurrent());
            delivered_.set_value(outcome);
        };
    }
    Outcome outcome() { return delivered_.get_future().get(); }

    std::vector<double> parts;  // complete once the outcome is there

  private:
    std::promise<Outcome> delivered_;
    SerialQueue main_{"test.main"};
};

TEST_F(CheckVideo, RunsInTheBackgroundAndDeliversOnTheMainThread) {
    save();
    OnMain main;
    const std::jthread thread = render(folder_.path(), main.options(), main.completion());
    const Outcome outcome = main.outcome();
    ASSERT_TRUE(std::holds_alternative<Result>(outcome));
    EXPECT_EQ(std::get<Result>(outcome).frames, 45);
    ASSERT_EQ(main.parts.size(), 4u);
    EXPECT_EQ(main.parts.back(), 1);
}

TEST_F(CheckVideo, DeliversErrorsInTheBackgroundToo) {
    save();
    fs::remove(folder_ / "source.mov");
    OnMain main;
    const std::jthread thread = render(folder_.path(), main.options(), main.completion());
    const Outcome outcome = main.outcome();
    ASSERT_TRUE(std::holds_alternative<RecorderError>(outcome));
    EXPECT_NE(std::get<RecorderError>(outcome).message().find("source.mov"), std::string::npos);
}

TEST_F(CheckVideo, LettingTheThreadGoCancels) {
    movie_.pictures = 300;
    save();
    OnMain main;
    { const std::jthread thread = render(folder_.path(), main.options(), main.completion()); }
    const Outcome outcome = main.outcome();
    ASSERT_TRUE(std::holds_alternative<RecorderError>(outcome));
    EXPECT_EQ(std::get<RecorderError>(outcome).message(), "Abgebrochen.");
    EXPECT_FALSE(fs::exists(output()));
}

TEST(CheckVideoSettings, FollowTheDocument) {
    model::CaptureInfo info;
    info.pixelWidth = 2560;
    info.pixelHeight = 1440;
    info.fps = 60;
    const media::VideoSettings settings = videoSettings(info, 600);
    EXPECT_EQ(settings.width, 2560);
    EXPECT_EQ(settings.height, 1440);
    EXPECT_EQ(settings.averageBitRate, 22118400);
    EXPECT_EQ(settings.maxKeyFrameInterval, 120);
    EXPECT_EQ(settings.frameRate, 60);
    EXPECT_EQ(settings.timescale, 600);
    info.pixelWidth = 11;
    info.pixelHeight = 3;
    info.fps = 1;
    EXPECT_EQ(videoSettings(info, 600).averageBitRate, 3);
    for (const std::int64_t fps : {std::int64_t{0}, std::int64_t{-7}}) {
        info.fps = fps;
        EXPECT_EQ(videoSettings(info, 600).frameRate, 1);
    }
    info.fps = std::int64_t{1} << 60;
    EXPECT_EQ(videoSettings(info, 600).frameRate, 1000);
}

TEST_F(CheckVideo, LoadsTheLastOfSeveralShapesWithOneId) {
    track_.cursorImages.push_back({"arrow", "cursors/arrow.png", 99, 24, 4, 6, 1, true});
    track_.cursorImages.push_back({"arrow", "cursors/missing.png", 50, 24, 4, 6, 1, true});
    track_.cursorImages.push_back({"hidden", "", 0, 0, 0, 0, 1, true});
    track_.cursorImages.push_back({"off", "cursors/arrow.png", 16, 24, 4, 6, 1, false});
    const Assets assets = loadCursorImages(track_, folder_.path());
    ASSERT_EQ(assets.size(), 1u);
    EXPECT_EQ(assets.at("arrow").info.width, 99);
    EXPECT_EQ(assets.at("arrow").image->height(), 24);
}

}  // namespace
}  // namespace lumivastor::render::CursorRenderer
