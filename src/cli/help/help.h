// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <iosfwd>
#include <span>
#include <string_view>

#include "cli/verb.h"

// Everything that the program says about its own use is written down once, in these tables. --help prints them; the
// manual page and the completions of shells (help_files.h) are made from them.

namespace lumivastor::cli {

/// What the program is, in a few German words.
extern const std::string_view kProgramSummary;

/// One line of a list in the help: what stands for itself, and what it means.
struct HelpEntry {
    std::string_view name;
    std::string_view help;
};

/// All verbs, in the order in which the help lists them.
std::span<const Verb* const> allVerbs();
/// What the program takes in place of a verb.
std::span<const OptionSpec> programOptions();
/// What every verb takes besides its own options.
extern const OptionSpec kHelpOption;
/// What the exit status says.
std::span<const HelpEntry> exitStatuses();
/// Where the program keeps what.
std::span<const HelpEntry> usedFiles();

/// What the values of an option, or what stands behind a verb, can be completed to.
struct ValueKind {
    enum class Kind { none, free, folder, file, choice };
    Kind kind = Kind::none;
    /// Of a choice, with "|" between them.
    std::string_view choices;
};
/// `value` as the tables name it: "ORDNER" is a folder, "DATEI…" a file, words with "|" between them are a choice.
ValueKind valueKind(std::string_view value);

/// The answer to --help.
void printOverview(std::ostream& out);
/// The answer to --help behind a verb.
void printHelp(const Verb& verb, std::ostream& out);

}  // namespace lumivastor::cli
