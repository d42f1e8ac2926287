// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "media/reading/asset_reader.h"
#include "media/writing/asset_writer.h"
#include "support/temporary_folder.h"
#include "support/test_movie.h"

// Movies whose edit lists cut into a group of pictures, or begin with nothing.

namespace lumivastor::media {
namespace {

// Copies all samples so that `zero` of the old movie becomes the new one's time zero. What lies before goes along, for
// the decoder, and the edit list leaves it out.
void copyFrom(const std::filesystem::path& from, const std::filesystem::path& to, const MediaTime& zero) {
    const auto asset = std::make_shared<const Asset>(from);
    AssetReader reader(asset);
    AssetWriter writer(to, MovieContainer::quickTime);
    struct Copy {
        StoredSampleOutput* output;
        StoredWriterInput* input;
        bool ended = false;
    };
    std::vector<Copy> copies;
    for (const AssetTrack& track : asset->tracks()) {
        copies.push_back(
            {&reader.addStoredSampleOutput(track.id), &writer.addStoredInput(storedFormatOf(*asset, track.id))});
    }
    ASSERT_TRUE(reader.startReading() && writer.startWriting());
    writer.startSession(zero);
    while (!std::all_of(copies.begin(), copies.end(), [](const Copy& copy) { return copy.ended; })) {
        for (Copy& copy : copies) {
            if (copy.ended || !copy.input->isReadyForMoreMediaData()) continue;
            auto sample = copy.output->copyNextSample();
            if (sample) {
                EXPECT_TRUE(copy.input->append(std::move(*sample)));
            } else {
                copy.input->markAsFinished();
                copy.ended = true;
            }
        }
        ::usleep(10);
    }
    ASSERT_TRUE(writer.finishWriting()) << (writer.error() ? writer.error()->message() : "");
}

struct Contents {
    std::vector<std::pair<double, int>> pictures;
    std::vector<double> flashes;
    std::vector<double> beeps;
};

Contents contentsOf(const std::filesystem::path& path) {
    const auto asset = std::make_shared<const Asset>(path);
    AssetReader reader(asset);
    auto& pictures = reader.addVideoOutput(asset->tracks(TrackKind::video).at(0).id, PictureFormat::planar);
    auto& sound = reader.addAudioOutput(asset->tracks(TrackKind::audio).at(0).id);
    EXPECT_TRUE(reader.startReading());
    Contents contents;
    while (const auto sample = pictures.copyNextSample()) {
        contents.pictures.emplace_back(sample->presentationTime.seconds(), testPictureNumber(sample->planar()));
        if (isTestFlash(sample->planar())) contents.flashes.push_back(sample->presentationTime.seconds());
    }
    std::vector<float> values;
    while (const auto sample = sound.copyNextSample()) {
        for (std::size_t i = 0; i < sample->frames(); ++i) values.push_back(sample->values[2 * i]);
    }
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (std::abs(values[i]) < 0.1F) continue;
        contents.beeps.push_back(static_cast<double>(i) / 48000);
        i += 24000;
    }
    EXPECT_EQ(reader.status(), AssetReader::Status::completed);
    return contents;
}

class EditList : public testing::TestWithParam<int> {};

INSTANTIATE_TEST_SUITE_P(Reordered, EditList, testing::Values(0, 3));

TEST_P(EditList, ACutIntoAGroupBeginsWithTheRightPictureAndSound) {
    const TemporaryFolder folder;
    TestMovieOptions options;
    options.pictures = 130;
    options.reorderedPictures = GetParam();
    options.sounds = {{}};
    makeTestMovie(folder / "a.mov", options);
    copyFrom(folder / "a.mov", folder / "b.mov", {300, 600});
    const Contents contents = contentsOf(folder / "b.mov");
    ASSERT_EQ(contents.pictures.size(), 115u);
    for (std::size_t i = 0; i < contents.pictures.size(); ++i) {
        EXPECT_EQ(contents.pictures[i].second, static_cast<int>(i) + 15);
        EXPECT_NEAR(contents.pictures[i].first, static_cast<double>(i) / 30, 1e-9);
    }
    ASSERT_EQ(contents.flashes.size(), 4u);
    ASSERT_EQ(contents.beeps.size(), 4u);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_NEAR(contents.flashes[i], static_cast<double>(i) + 0.5, 1e-9);
        EXPECT_NEAR(contents.beeps[i], contents.flashes[i], 0.005);
    }
}

TEST_P(EditList, ALateStartKeepsPicturesAndSoundTogether) {
    const TemporaryFolder folder;
    TestMovieOptions options;
    options.pictures = 130;
    options.reorderedPictures = GetParam();
    options.sounds = {{}};
    makeTestMovie(folder / "a.mov", options);
    copyFrom(folder / "a.mov", folder / "b.mov", {-420, 600});
    const Contents contents = contentsOf(folder / "b.mov");
    ASSERT_EQ(contents.pictures.size(), 130u);
    for (std::size_t i = 0; i < contents.pictures.size(); ++i) {
        EXPECT_EQ(contents.pictures[i].second, static_cast<int>(i));
        EXPECT_NEAR(contents.pictures[i].first, 0.7 + static_cast<double>(i) / 30, 1e-9);
    }
    ASSERT_EQ(contents.beeps.size(), 4u);
    ASSERT_EQ(contents.flashes.size(), 4u);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_NEAR(contents.flashes[i], static_cast<double>(i) + 1.7, 1e-9);
        EXPECT_NEAR(contents.beeps[i], contents.flashes[i], 0.005);
    }
}

}  // namespace
}  // namespace lumivastor::media
