// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "imaging/pixel_buffer.h"
#include "model/capture_info.h"
#include "support/desktop_rig/desktop_rig.h"
#include "support/program_run.h"
#include "support/sound_rig.h"
#include "support/temporary_folder.h"

namespace lumivastor {

/// How long and how often a test does something: a little in every test run, more where somebody wants figures and sets
/// this environment variable.
int trialSetting(const char* name, int otherwise);

/// What a movie shows at one place.
struct SeenBrightness {
    double hostSeconds;
    int brightness;  // 0 to 255
};

/// The program itself records an X11 desktop and a PulseAudio server of the test's own.
class RecordingOnDesktop : public testing::Test {
  protected:
    std::map<std::string, std::string> environment() const;

    /// The program with its arguments: a recording into `folder_`.
    std::vector<std::string> recordWords(const std::vector<std::string>& options) const;
    /// Returns when the first pictures are in the movie.
    std::unique_ptr<ProgramRun> startRecording(const std::vector<std::string>& options);
    std::unique_ptr<ProgramRun> startProgram(const std::vector<std::string>& words);

    /// The exit status of the program's recovery of `folder_`.
    int recover(std::string* err = nullptr);

    model::CaptureInfo info() const { return model::CaptureInfo::load(folder_); }
    /// Host times.
    std::vector<SeenBrightness> picturesAt(int x, int y) const;
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> lastPicture() const;
    /// Decodes all of them, from front to back.
    std::int64_t decodedPictures() const;
    /// The beeps in a sound track, host times.
    std::vector<double> beepsIn(std::size_t track) const;

    /// The result has the sentence that was said.
    static void expectEndedEarly(const ProgramRun& run);
    void expectCompleteFolder() const;

    TemporaryFolder temporary_;
    std::filesystem::path folder_ = temporary_ / "recording";
    DesktopRig desktop_;
    PulseRig sound_;
};

}  // namespace lumivastor
