// SPDX-License-Identifier: GPL-3.0-or-later

// What saving does to the files, which is the same for all three documents.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cmath>
#include <functional>
#include <limits>
#include <ostream>
#include <string>
#include <vector>

#include "base/recorder_error.h"
#include "model/capture_info.h"
#include "model/pointer_track.h"
#include "model/project_settings.h"
#include "support/file_size_limit.h"
#include "support/folder_listing.h"
#include "support/temporary_folder.h"

namespace lumivastor::model {
namespace {

struct Document {
    const char* name;
    std::function<void(const std::filesystem::path&)> save;
    /// With a number that JSON cannot express.
    std::function<void(const std::filesystem::path&)> saveImpossible;
};

void PrintTo(const Document& document, std::ostream* out) {
    *out << document.name;
}

CaptureInfo captureOf(double duration) {
    CaptureInfo info;
    info.duration = duration;
    return info;
}

// Long enough that its beginning is written before its end is encoded.
PointerTrack trackEndingAt(double last) {
    PointerTrack track;
    for (int i = 0; i < 5000; ++i) track.events.push_back({i / 100.0, 1, 2, 0.5, 0.5, PointerKind::move, {}, {}, {}});
    track.events.push_back({last, 1, 2, 0.5, 0.5, PointerKind::move, {}, {}, {}});
    return track;
}

ProjectSettings settingsWith(double padding) {
    ProjectSettings settings;
    settings.padding = padding;
    return settings;
}

std::vector<Document> documents() {
    const double infinity = std::numeric_limits<double>::infinity();
    return {
        {"capture.json", [](const auto& folder) { captureOf(12).save(folder); },
         [](const auto& folder) { captureOf(std::nan("")).save(folder); }},
        {"pointer.json", [](const auto& folder) { trackEndingAt(100).save(folder); },
         [=](const auto& folder) { trackEndingAt(infinity).save(folder); }},
        {"project.json", [](const auto& folder) { settingsWith(0.1).save(folder); },
         [=](const auto& folder) { settingsWith(infinity).save(folder); }},
    };
}

// Whether it was told: a project document's saving swallows what went wrong.
bool throws(const std::function<void(const std::filesystem::path&)>& save, const TemporaryFolder& folder) {
    try {
        save(folder.path());
    } catch (const RecorderError&) {
        return true;
    }
    return false;
}

class DocumentSaving : public testing::TestWithParam<Document> {
  protected:
    bool tells() const { return GetParam().name != std::string("project.json"); }
    using Names = std::vector<std::string>;

    const TemporaryFolder folder_;
};

TEST_P(DocumentSaving, OnAFullDiskTheOldDocumentStays) {
    folder_.write(GetParam().name, "old");
    bool told = false;
    {
        const FileSizeLimit full(100);
        told = throws(GetParam().save, folder_);
    }
    EXPECT_EQ(told, tells());
    EXPECT_EQ(folder_.read(GetParam().name), "old");
    EXPECT_EQ(namesIn(folder_.path()), Names{GetParam().name});
}

TEST_P(DocumentSaving, WhatCannotBeEncodedLeavesTheOldDocument) {
    folder_.write(GetParam().name, "old");
    EXPECT_EQ(throws(GetParam().saveImpossible, folder_), tells());
    EXPECT_EQ(folder_.read(GetParam().name), "old");
    EXPECT_EQ(namesIn(folder_.path()), Names{GetParam().name});
}

TEST_P(DocumentSaving, ALinkLeadsToNobodysFile) {
    const TemporaryFolder foreign;
    foreign.write("file", "foreign");
    std::filesystem::create_symlink(foreign / "file", folder_ / GetParam().name);
    EXPECT_FALSE(throws(GetParam().save, folder_));
    EXPECT_EQ(foreign.read("file"), "foreign");
    EXPECT_FALSE(std::filesystem::is_symlink(folder_ / GetParam().name));
    EXPECT_GT(folder_.read(GetParam().name).size(), 100u);
}

TEST_P(DocumentSaving, ANewDocumentIsItsOwnersAloneAndAnOldOneStaysWhoseItIs) {
    EXPECT_FALSE(throws(GetParam().save, folder_));
    EXPECT_EQ(modeOf(folder_ / GetParam().name), 0600u);
    ASSERT_EQ(chmod((folder_ / GetParam().name).c_str(), 0644), 0);
    EXPECT_FALSE(throws(GetParam().save, folder_));
    EXPECT_EQ(modeOf(folder_ / GetParam().name), 0644u);
    EXPECT_EQ(namesIn(folder_.path()), Names{GetParam().name});
}

INSTANTIATE_TEST_SUITE_P(Each, DocumentSaving, testing::ValuesIn(documents()), [](const auto& each) {
    const std::string name = each.param.name;
    return name.substr(0, name.find('.'));
});

}  // namespace
}  // namespace lumivastor::model
