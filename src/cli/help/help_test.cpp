// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/help/help.h"

#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>

#include "cli/help/manual_page.h"
#include "cli/help/shell_completions.h"
#include "cli/verbs/command_line.h"

namespace lumivastor::cli {
namespace {

std::string overview() {
    std::ostringstream out;
    printOverview(out);
    return out.str();
}

bool contains(const std::string& text, std::string_view part) {
    return text.find(part) != std::string::npos;
}

TEST(Help, TheOverviewNamesEverythingThatStandsAlone) {
    for (const Verb* verb : allVerbs()) EXPECT_TRUE(contains(overview(), verb->summary)) << verb->name;
    for (const OptionSpec& option : programOptions()) EXPECT_TRUE(contains(overview(), option.name)) << option.name;
    for (const HelpEntry& entry : exitStatuses()) EXPECT_TRUE(contains(overview(), entry.help)) << entry.help;
    for (const HelpEntry& entry : usedFiles()) EXPECT_TRUE(contains(overview(), entry.name)) << entry.name;
}

TEST(Help, OptionsWithoutAVerbAreTaken) {
    for (const OptionSpec& option : programOptions()) {
        const std::vector<std::string> words = {std::string(option.name)};
        if (startsApplication(words)) continue;
        std::ostringstream out;
        std::ostringstream err;
        EXPECT_EQ(runCommandLine(words, out, err), 0) << option.name;
    }
}

TEST(Help, NamesStandOnce) {
    std::set<std::string_view> verbs;
    for (const Verb* verb : allVerbs()) {
        EXPECT_TRUE(verbs.insert(verb->name).second) << verb->name;
        std::set<std::string_view> options = {kHelpOption.name};
        for (const OptionSpec& option : verb->options) EXPECT_TRUE(options.insert(option.name).second) << option.name;
    }
}

TEST(Help, ValuesSayWhatTheyCanBeCompletedTo) {
    using Kind = ValueKind::Kind;
    EXPECT_EQ(valueKind("").kind, Kind::none);
    EXPECT_EQ(valueKind("ORDNER").kind, Kind::folder);
    EXPECT_EQ(valueKind("DATEI.png").kind, Kind::file);
    EXPECT_EQ(valueKind("60|30").kind, Kind::choice);
    EXPECT_EQ(valueKind("60|30").choices, "60|30");
    EXPECT_EQ(valueKind("T,T,…").kind, Kind::free);
}

TEST(HelpFiles, TheManualPageHoldsEveryWordOfTheHelp) {
    const std::string page = manualPage("1.2");
    EXPECT_TRUE(page.starts_with(".TH LUMIVASTOR 1 \"\" \"LumiVastor 1.2\""));
    EXPECT_TRUE(contains(page, "\\fB\\-\\-open\\-editor\\fR \\fIORDNER\\fR\n"));
    EXPECT_TRUE(contains(page, ".SS render\n.B lumivastor render\n.I ORDNER\n"));
    EXPECT_TRUE(contains(page, "\\(ti/Movies/LumiVastor"));
    for (const Verb* verb : allVerbs()) {
        for (const OptionSpec& option : verb->options) EXPECT_TRUE(contains(page, option.value)) << option.name;
    }
}

TEST(HelpFiles, NoLineOfTheManualPageIsACommandByAccident) {
    std::istringstream page(manualPage("1.2"));
    const std::set<std::string> commands = {".TH", ".SH", ".SS", ".TP", ".PP", ".B", ".I", ".RI", ".br"};
    for (std::string line; std::getline(page, line);) {
        if (line.starts_with(".")) {
            EXPECT_TRUE(commands.contains(line.substr(0, line.find(' ')))) << line;
        }
        EXPECT_FALSE(line.starts_with("'")) << line;
    }
}

TEST(HelpFiles, CompletionsOfferChoicesFilesAndFolders) {
    EXPECT_TRUE(contains(bashCompletion(), "compgen -W '1080 1440 2160'"));
    EXPECT_TRUE(contains(bashCompletion(), "'frame --out')"));
    EXPECT_TRUE(contains(zshCompletion(),
                         "'--height=[Zeilen des Videos, statt der Einstellung des Projekts]:"
                         "1080|1440|2160:(1080 1440 2160)'"));
    EXPECT_TRUE(contains(zshCompletion(), "'1:ORDNER:_directories'"));
    EXPECT_TRUE(contains(fishCompletion(), "-l format -x -a 'mp4 mov'"));
    EXPECT_TRUE(contains(fishCompletion(), "-l source -r -F"));
}

}  // namespace
}  // namespace lumivastor::cli
