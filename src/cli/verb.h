#pragma once

#include <iosfwd>
#include <span>
#include <string_view>

#include "cli/arguments.h"

namespace lumivastor {

/// One job of the command line. `run` does it: results go to `out`, everything else to the error stream. It throws
/// `UsageError` for a wrong command line and `RecorderError` when the job fails.
struct Verb {
    std::string_view name;
    /// What follows the name in the help, for example "ORDNER".
    std::string_view positional;
    /// One German sentence.
    std::string_view summary;
    std::span<const OptionSpec> options;
    void (*run)(const Arguments& arguments, std::ostream& out);
};

/// Prints a composition's derived state; opens no movie.
extern const Verb kInspectVerb;
/// Composes one finished frame into a PNG file.
extern const Verb kFrameVerb;
/// Exports the studio movie.
extern const Verb kRenderVerb;
/// Writes the check video.
extern const Verb kCheckVerb;

}  // namespace lumivastor
