// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <iosfwd>
#include <span>
#include <string_view>

#include "cli/verb.h"

// The tables of the program's help. --help prints them; the manual page (manual_page.h) and the shell completions
// (shell_completions.h) are made from them.

namespace lumivastor::cli {

/// A description of the program in a few German words.
extern const std::string_view kProgramSummary;

/// One line of a list in the help: a term and its meaning.
struct HelpEntry {
    std::string_view name;
    std::string_view help;
};

/// All verbs, in the order in which the help lists them.
std::span<const Verb* const> allVerbs();
/// The options that replace a verb.
std::span<const OptionSpec> programOptions();
/// The option that every verb has besides its own.
extern const OptionSpec kHelpOption;
/// The meanings of the exit statuses.
std::span<const HelpEntry> exitStatuses();
/// The files and folders that the program uses.
std::span<const HelpEntry> usedFiles();

/// How a shell can complete the value of an option or a verb's positional argument.
struct ValueKind {
    enum class Kind { none, free, folder, file, choice };
    Kind kind = Kind::none;
    /// The values of a choice, separated by "|".
    std::string_view choices;
};
/// `value` as the tables name it: "ORDNER" is a folder, "DATEI…" a file, words with "|" between them are a choice.
ValueKind valueKind(std::string_view value);

/// The answer to --help.
void printOverview(std::ostream& out);
/// The answer to --help behind a verb.
void printHelp(const Verb& verb, std::ostream& out);

}  // namespace lumivastor::cli
