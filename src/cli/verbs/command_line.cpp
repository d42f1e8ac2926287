// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/verbs/command_line.h"

#include <algorithm>
#include <new>
#include <ostream>
#include <string_view>

#include "base/handled_error.h"
#include "base/recorder_error.h"
#include "cli/arguments.h"
#include "cli/help/help.h"
#include "cli/verb.h"
#include "model/json_writer.h"

namespace lumivastor::cli {

namespace {

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

// If memory is too short for the document, only standard error has the sentence.
void writeError(std::ostream& out, const RecorderError& error) {
    try {
        model::JsonWriter writer([&out](std::string_view piece) { out << piece; });
        writer.beginObject();
        writer.key("error");
        writer.text(error.what());
        writer.endObject();
        writer.finish();
        out << "\n" << std::flush;
    } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch)
    }
}

int runVerb(const Verb& verb, std::span<const std::string> words, std::ostream& out, std::ostream& err) {
    if (std::find(words.begin(), words.end(), "--help") != words.end()) {
        printHelp(verb, out);
        return kDone;
    }
    bool json = false;
    try {
        const Arguments arguments(words, verb.options);
        json = arguments.has("--json");
        verb.run(arguments, out);
        if (!out.flush()) throw RecorderError("Die Ausgabe konnte nicht geschrieben werden.");
        return kDone;
    } catch (const UsageError& error) {
        err << error.what() << "\nlumivastor " << verb.name << " --help erklärt den Befehl.\n";
        return kWrongUsage;
    } catch (const JobFailed& error) {
        out << std::flush;
        err << error.what() << "\n";
        return kFailed;
    } catch (const std::exception&) {
        const RecorderError error = handledError("Unerwarteter Fehler");
        if (json) writeError(out, error);
        err << error.what() << "\n";
        return kFailed;
    }
}

}  // namespace

bool startsApplication(std::span<const std::string> words) {
    return words.empty() || words.front() == "--open-editor" || words.front() == "--choose-recording" ||
           words.front() == "--test-region";
}

int runCommandLine(std::span<const std::string> words, std::ostream& out, std::ostream& err) {
    if (words.empty()) {
        printOverview(err);
        return kWrongUsage;
    }
    const std::string& first = words.front();
    if (first == "--help") {
        printOverview(out);
        return kDone;
    }
    if (first == "--version") {
        out << "LumiVastor " LUMI_VERSION "\n";
        return kDone;
    }
    const auto verbs = allVerbs();
    const auto verb = std::find_if(verbs.begin(), verbs.end(), [&](const Verb* each) { return each->name == first; });
    if (verb == verbs.end()) {
        err << "Unbekannter Befehl: " << first << "\nlumivastor --help nennt alle Befehle.\n";
        return kWrongUsage;
    }
    return runVerb(**verb, words.subspan(1), out, err);
}

}  // namespace lumivastor::cli
