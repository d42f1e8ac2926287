// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <simdjson.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "cli/verbs/command_line.h"
#include "model/capture_info.h"
#include "model/recording_quality.h"
#include "support/folder_listing.h"
#include "support/outcome.h"
#include "support/small_recording.h"
#include "support/temporary_folder.h"

namespace lumivastor::cli {
namespace {

class VerifyVerb : public testing::Test {
  protected:
    void SetUp() override { makeSmallRecording(folder_.path(), 90, 90); }

    static Outcome run(const std::vector<std::string>& words) {
        std::ostringstream out;
        std::ostringstream err;
        const int status = runCommandLine(words, out, err);
        return {status, out.str(), err.str()};
    }
    std::string folder() const { return folder_.path().string(); }
    void change(const std::function<void(model::CaptureInfo&)>& change) {
        model::CaptureInfo info = model::CaptureInfo::load(folder_.path());
        change(info);
        info.save(folder_.path());
    }

    TemporaryFolder folder_;
};

TEST_F(VerifyVerb, PrintsOneDocumentWithChecksAndFigures) {
    change([](model::CaptureInfo& info) { info.framesWritten = 90; });
    const auto before = namesIn(folder_.path());
    const Outcome outcome = run({"verify", folder(), "--json"});
    ASSERT_EQ(outcome.status, 0) << outcome.out << outcome.err;
    EXPECT_EQ(outcome.err, "");
    simdjson::dom::parser parser;
    const simdjson::dom::element json = parser.parse(outcome.out);
    EXPECT_TRUE(bool(json["ok"]));
    EXPECT_EQ(std::int64_t(json["pictures"]), 90);
    EXPECT_EQ(std::int64_t(json["picturesCounted"]), 90);
    EXPECT_NEAR(double(json["pictureEnd"]), 3, 0.01);
    EXPECT_EQ(std::string_view(json["sounds"].at(0)["source"]), "system");
    EXPECT_LT(double(json["integratedLoudness"]), 0);
    std::size_t checks = 0;
    for (const simdjson::dom::element check : simdjson::dom::array(json["checks"])) {
        EXPECT_TRUE(bool(check["ok"])) << std::string_view(check["detail"]);
        EXPECT_FALSE(std::string_view(check["name"]).empty());
        ++checks;
    }
    EXPECT_GE(checks, 7U);
    // The recording stays as it is.
    EXPECT_EQ(namesIn(folder_.path()), before);
    EXPECT_FALSE(std::filesystem::exists(folder_ / "quality.json"));
}

TEST_F(VerifyVerb, AFaultIsStatusOneWithTheWholeDocument) {
    change([](model::CaptureInfo& info) { info.framesWritten = 100; });
    const Outcome outcome = run({"verify", folder(), "--json"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "Die Prüfung fand Fehler: Im Film: 90 Bilder statt 100.\n");
    simdjson::dom::parser parser;
    const simdjson::dom::element json = parser.parse(outcome.out);
    EXPECT_FALSE(bool(json["ok"]));
    EXPECT_EQ(std::string_view(json["checks"].at(1)["name"]), "pictures");
    EXPECT_FALSE(bool(json["checks"].at(1)["ok"]));
}

TEST_F(VerifyVerb, ReportsInGerman) {
    const Outcome well = run({"verify", folder(), "--thorough"});
    EXPECT_EQ(well.status, 0) << well.err;
    EXPECT_NE(well.out.find("  ✓ Im Film: 90 Bilder; gezählt wurden sie nicht.\n"), std::string::npos) << well.out;
    EXPECT_NE(well.out.find("90 dekodiert."), std::string::npos) << well.out;
    EXPECT_NE(well.out.find("\nGeprüft: 0:03 min, 90 Bilder, Ton vollständig, "), std::string::npos) << well.out;
    change([](model::CaptureInfo& info) { info.framesWritten = 100; });
    const Outcome faulty = run({"verify", folder()});
    EXPECT_EQ(faulty.status, 1);
    EXPECT_NE(faulty.out.find("  ✗ Im Film: 90 Bilder statt 100.\n"), std::string::npos) << faulty.out;
}

TEST_F(VerifyVerb, WhatIsNoRecordingIsAFailedJob) {
    std::filesystem::remove(folder_ / "capture.json");
    const Outcome outcome = run({"verify", folder(), "--json"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(outcome.out.starts_with("{")) << outcome.out;
    EXPECT_NE(outcome.out.find("\"error\""), std::string::npos) << outcome.out;
    EXPECT_EQ(run({"verify"}).status, 2);
    EXPECT_EQ(run({"verify", folder(), folder()}).status, 2);
    EXPECT_EQ(run({"verify", folder(), "--deep"}).status, 2);
}

TEST_F(VerifyVerb, InspectShowsWhatTheLastCheckFound) {
    EXPECT_EQ(run({"inspect", folder(), "--json"}).out.find("\"quality\""), std::string::npos);
    model::RecordingQuality quality;
    quality.summary = "Geprüft: 0:03 min, 90 Bilder, Ton vollständig, −14,0 LUFS.";
    quality.pictures = 90;
    quality.save(folder_.path());
    const Outcome outcome = run({"inspect", folder(), "--json"});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    simdjson::dom::parser parser;
    const simdjson::dom::element json = parser.parse(outcome.out);
    EXPECT_EQ(std::string_view(json["quality"]["summary"]), quality.summary);
    EXPECT_EQ(std::int64_t(json["quality"]["pictures"]), 90);
    EXPECT_NE(run({"inspect", folder()}).out.find(quality.summary), std::string::npos);
    // Nothing depends on it.
    folder_.write("quality.json", "[");
    const Outcome faulty = run({"inspect", folder(), "--json"});
    EXPECT_EQ(faulty.status, 0);
    EXPECT_EQ(faulty.out.find("\"quality\""), std::string::npos);
}

TEST_F(VerifyVerb, RenderLevelsTheSoundWhenAsked) {
    const std::string film = (folder_ / "film.mp4").string();
    ASSERT_EQ(run({"render", folder(), "--out", film, "--loudness"}).status, 0);
    std::filesystem::rename(film, folder_ / "source.mov");
    change([](model::CaptureInfo& info) {
        info.pixelWidth = 160;
        info.pixelHeight = 90;
    });
    simdjson::dom::parser parser;
    const Outcome outcome = run({"verify", folder(), "--json"});
    const simdjson::dom::element json = parser.parse(outcome.out);
    EXPECT_NEAR(double(json["integratedLoudness"]), -16, 0.5) << outcome.out;
}

}  // namespace
}  // namespace lumivastor::cli
