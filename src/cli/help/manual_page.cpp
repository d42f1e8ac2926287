// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/help/manual_page.h"

#include "cli/help/help.h"

namespace lumivastor::cli {

namespace {

// Escapes text for man: hyphens stay ASCII, so that they can be searched and copied, and no line becomes a command.
std::string set(std::string_view text) {
    std::string made;
    if (text.starts_with('.') || text.starts_with('\'')) made += "\\&";
    for (const char c : text) {
        if (c == '\\') {
            made += "\\e";
        } else if (c == '-') {
            made += "\\-";
        } else if (c == '~') {
            made += "\\(ti";
        } else {
            made += c;
        }
    }
    return made;
}

std::string bold(std::string_view text) {
    return "\\fB" + set(text) + "\\fR";
}

std::string italic(std::string_view text) {
    return "\\fI" + set(text) + "\\fR";
}

std::string entry(const std::string& name, std::string_view help) {
    return ".TP\n" + name + "\n" + set(help) + "\n";
}

std::string option(const OptionSpec& option) {
    return entry(bold(option.name) + (option.value.empty() ? "" : " " + italic(option.value)), option.help);
}

std::string verbSection(const Verb& verb) {
    std::string text = ".SS " + std::string(verb.name) + "\n.B lumivastor " + set(verb.name) + "\n";
    if (!verb.positional.empty()) text += ".I " + set(verb.positional) + "\n";
    text += ".RI [ OPTIONEN ]\n.PP\n" + set(verb.summary) + "\n";
    for (const OptionSpec& each : verb.options) text += option(each);
    return text + option(kHelpOption);
}

}  // namespace

std::string manualPage(std::string_view version) {
    std::string text = ".TH LUMIVASTOR 1 \"\" \"LumiVastor " + std::string(version) + "\" \"Befehle\"\n";
    // The manual's index is made from this heading, also in German pages.
    text += ".SH NAME\nlumivastor \\- " + set(kProgramSummary) + "\n";
    text +=
        ".SH ÜBERSICHT\n.B lumivastor\n.RI [ OPTIONEN ]\n.br\n.B lumivastor\n.I BEFEHL\n.RI [ ANGABEN ]\n"
        ".SH BESCHREIBUNG\nOhne Befehl startet die Anwendung. Ein Befehl erledigt eine Arbeit, ohne ein Fenster zu "
        "öffnen.\n.SH OPTIONEN\n";
    for (const OptionSpec& each : programOptions()) text += option(each);
    text += ".SH BEFEHLE\n";
    for (const Verb* verb : allVerbs()) text += verbSection(*verb);
    text += ".SH RÜCKGABEWERT\n";
    for (const HelpEntry& each : exitStatuses()) text += entry(bold(each.name), each.help);
    text += ".SH DATEIEN\n";
    for (const HelpEntry& each : usedFiles()) text += entry(italic(each.name), each.help);
    return text;
}

}  // namespace lumivastor::cli
