// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/help/help.h"

#include <algorithm>
#include <array>
#include <ostream>
#include <string>

namespace lumivastor::cli {

namespace {

constexpr std::array kVerbs = {&kSourcesVerb, &kRecordVerb, &kStopVerb,  &kVerifyVerb,  &kRecoverVerb,
                               &kRenderVerb,  &kCheckVerb,  &kFrameVerb, &kInspectVerb, &kDoctorVerb};

constexpr std::array kProgramOptions = {
    OptionSpec{"--open-editor", "ORDNER", "startet die Anwendung und öffnet diese Aufnahme im Editor"},
    OptionSpec{"--choose-recording", "", "startet die Anwendung und zeigt die Liste der Aufnahmen"},
    OptionSpec{"--help", "", "diese Erklärung"},
    OptionSpec{"--version", "", "die Version"},
};

constexpr std::array kExitStatuses = {
    HelpEntry{"0", "fertig"},
    HelpEntry{"1", "misslungen; die letzte Zeile der Fehlerausgabe sagt, warum"},
    HelpEntry{"2", "falscher Aufruf"},
};

constexpr std::array kUsedFiles = {
    HelpEntry{"~/Movies/LumiVastor", "die Aufnahmen, jede in einem Ordner"},
    HelpEntry{"~/Library/Logs/LumiVastor.log", "das Protokoll"},
};

// Fields of text padded to a number of characters; German letters take two bytes each.
std::string padded(std::string_view text, std::size_t columns) {
    const auto characters = static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
    return std::string(text) + std::string(characters < columns ? columns - characters : 0, ' ');
}

void printEntry(std::string_view name, std::string_view help, std::size_t columns, std::ostream& out) {
    out << "  " << padded(name, columns) << help << "\n";
}

void printOption(const OptionSpec& option, std::ostream& out) {
    std::string name(option.name);
    if (!option.value.empty()) name += " " + std::string(option.value);
    printEntry(name, option.help, 24, out);
}

}  // namespace

constinit const std::string_view kProgramSummary = "Bildschirmaufnahmen aufnehmen, bearbeiten und als Video ausgeben";
constinit const OptionSpec kHelpOption = {"--help", "", "diese Erklärung"};

std::span<const Verb* const> allVerbs() {
    return kVerbs;
}

std::span<const OptionSpec> programOptions() {
    return kProgramOptions;
}

std::span<const HelpEntry> exitStatuses() {
    return kExitStatuses;
}

std::span<const HelpEntry> usedFiles() {
    return kUsedFiles;
}

ValueKind valueKind(std::string_view value) {
    using Kind = ValueKind::Kind;
    if (value.empty()) return {};
    if (value == "ORDNER") return {Kind::folder, {}};
    if (value.starts_with("DATEI")) return {Kind::file, {}};
    if (value.find('|') != std::string_view::npos) return {Kind::choice, value};
    return {Kind::free, {}};
}

void printOverview(std::ostream& out) {
    out << "LumiVastor – " << kProgramSummary << "\n\n"
        << "Aufruf: lumivastor [OPTIONEN]                  startet die Anwendung\n"
        << "        lumivastor BEFEHL [ANGABEN]\n\nBefehle:\n";
    for (const Verb* verb : kVerbs) printEntry(verb->name, verb->summary, 12, out);
    out << "\nOptionen ohne Befehl:\n";
    for (const OptionSpec& option : kProgramOptions) printOption(option, out);
    out << "\nRückgabewert:\n";
    for (const HelpEntry& entry : kExitStatuses) printEntry(entry.name, entry.help, 3, out);
    out << "\nDateien:\n";
    for (const HelpEntry& entry : kUsedFiles) printEntry(entry.name, entry.help, 32, out);
    out << "\nlumivastor BEFEHL --help erklärt einen Befehl.\n";
}

void printHelp(const Verb& verb, std::ostream& out) {
    out << "Aufruf: lumivastor " << verb.name << (verb.positional.empty() ? "" : " ") << verb.positional
        << " [OPTIONEN]\n\n"
        << verb.summary << "\n\n";
    for (const OptionSpec& option : verb.options) printOption(option, out);
    printOption(kHelpOption, out);
}

}  // namespace lumivastor::cli
