// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "media/reading/asset.h"
#include "media/writing/asset_writer.h"
#include "support/temporary_folder.h"

extern "C" {
#include <libavformat/avformat.h>
}

namespace lumivastor::media {
namespace {

std::vector<std::pair<double, std::string>> chaptersOf(const std::filesystem::path& path) {
    AVFormatContext* movie = nullptr;
    EXPECT_EQ(avformat_open_input(&movie, path.c_str(), nullptr, nullptr), 0);
    std::vector<std::pair<double, std::string>> chapters;
    for (unsigned i = 0; movie != nullptr && i < movie->nb_chapters; ++i) {
        const AVChapter& each = *movie->chapters[i];
        const AVDictionaryEntry* const title = av_dict_get(each.metadata, "title", nullptr, 0);
        chapters.emplace_back(static_cast<double>(each.start) * av_q2d(each.time_base),
                              title == nullptr ? "" : title->value);
    }
    avformat_close_input(&movie);
    return chapters;
}

TEST(MovieChapters, AreThereInBothContainers) {
    const TemporaryFolder folder;
    for (const auto container : {MovieContainer::mp4, MovieContainer::quickTime}) {
        const std::filesystem::path path = folder / "film";
        AssetWriter writer(path, container);
        VideoSettings settings;
        settings.width = 64;
        settings.height = 64;
        settings.frameRate = 30;
        settings.averageBitRate = 100000;
        settings.maxKeyFrameInterval = 60;
        VideoWriterInput& video = writer.addVideoInput(settings);
        writer.setChapters({{0, "Anfang"}, {0.5, "Größe"}}, 1);
        ASSERT_TRUE(writer.startWriting());
        writer.startSession({});
        for (const int frame : {0, 15}) ASSERT_TRUE(video.append(video.pool().makePlanar(), {frame, 30}));
        writer.endSession({1, 1});
        ASSERT_TRUE(writer.finishWriting());
        EXPECT_EQ(chaptersOf(path), (std::vector<std::pair<double, std::string>>{{0, "Anfang"}, {0.5, "Größe"}}));
        EXPECT_EQ(Asset(path).tracks().size(), 1U) << "chapters are no track to play";
    }
}

}  // namespace
}  // namespace lumivastor::media
