// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <iosfwd>
#include <span>
#include <stdexcept>
#include <string_view>

#include "cli/arguments.h"

namespace lumivastor::cli {

/// A job that has printed its result but failed: exit status 1 and this sentence on the error stream.
class JobFailed : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// One job of the command line. `run` does it: results go to `out`, everything else to the error stream. It throws
/// `UsageError` for a wrong command line, and `RecorderError` or `JobFailed` when the job fails.
struct Verb {
    std::string_view name;
    /// The placeholder behind the name in the help, for example "ORDNER".
    std::string_view positional;
    /// One German sentence.
    std::string_view summary;
    std::span<const OptionSpec> options;
    void (*run)(const Arguments& arguments, std::ostream& out);
};

/// Lists what can be recorded.
extern const Verb kSourcesVerb;
/// Records into a new folder.
extern const Verb kRecordVerb;
/// Stops the recording that is running.
extern const Verb kStopVerb;
/// Checks a recording.
extern const Verb kVerifyVerb;
/// Completes a recording whose process was ended.
extern const Verb kRecoverVerb;
/// Reports which services this machine offers.
extern const Verb kDoctorVerb;
/// Prints a composition's derived state; opens no movie.
extern const Verb kInspectVerb;
/// Composes one finished frame into a PNG file.
extern const Verb kFrameVerb;
/// Exports the studio movie.
extern const Verb kRenderVerb;
/// Writes the check video.
extern const Verb kCheckVerb;

}  // namespace lumivastor::cli
