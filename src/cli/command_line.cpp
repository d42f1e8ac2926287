#include "cli/command_line.h"

#include <algorithm>
#include <array>
#include <ostream>
#include <string_view>

#include "base/formatted.h"
#include "base/recorder_error.h"
#include "cli/arguments.h"
#include "cli/verb.h"
#include "model/json_writer.h"

namespace lumivastor {

namespace {

constexpr std::array kVerbs = {&kSourcesVerb, &kRecordVerb, &kRecoverVerb, &kRenderVerb,
                               &kCheckVerb,   &kFrameVerb,  &kInspectVerb, &kDoctorVerb};

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

// Fields of text padded to a number of characters; German letters take two bytes each.
std::string padded(std::string_view text, std::size_t columns) {
    const auto characters = static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
    return std::string(text) + std::string(characters < columns ? columns - characters : 0, ' ');
}

void printOverview(std::ostream& out) {
    out << "LumiVastor – Bildschirmaufnahmen aufnehmen, bearbeiten und als Video ausgeben\n\n"
        << "Aufruf: lumivastor [--open-editor ORDNER]      startet die Anwendung\n"
        << "        lumivastor BEFEHL [ANGABEN]\n\nBefehle:\n";
    for (const Verb* verb : kVerbs) out << "  " << padded(verb->name, 12) << verb->summary << "\n";
    out << "\nlumivastor BEFEHL --help erklärt einen Befehl, --version nennt die Version.\n";
}

void printHelp(const Verb& verb, std::ostream& out) {
    out << "Aufruf: lumivastor " << verb.name << (verb.positional.empty() ? "" : " ") << verb.positional
        << " [OPTIONEN]\n\n"
        << verb.summary << "\n\n";
    for (const OptionSpec& option : verb.options) {
        std::string name(option.name);
        if (!option.value.empty()) name += " " + std::string(option.value);
        out << "  " << padded(name, 24) << option.help << "\n";
    }
    out << "  " << padded("--help", 24) << "diese Erklärung\n";
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
    } catch (const std::exception& error) {
        if (json) {
            JsonWriter writer([&out](std::string_view piece) { out << piece; });
            writer.beginObject();
            writer.key("error");
            writer.text(error.what());
            writer.endObject();
            writer.finish();
            out << "\n" << std::flush;
        }
        err << error.what() << "\n";
        return kFailed;
    }
}

}  // namespace

bool startsApplication(std::span<const std::string> words) {
    return words.empty() || words.front() == "--open-editor" || words.front() == "--test-region";
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
    const auto verb = std::find_if(kVerbs.begin(), kVerbs.end(), [&](const Verb* each) { return each->name == first; });
    if (verb == kVerbs.end()) {
        err << "Unbekannter Befehl: " << first << "\nlumivastor --help nennt alle Befehle.\n";
        return kWrongUsage;
    }
    return runVerb(**verb, words.subspan(1), out, err);
}

}  // namespace lumivastor
