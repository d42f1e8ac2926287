// SPDX-License-Identifier: GPL-3.0-or-later

// Holds the manual against the program: what it puts between quotation marks has to stand in the sources, commands and
// options have to be taken, and its pictures have to be there.

#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "cli/help/help.h"
#include "editor/session/command_table.h"
#include "editor/session/control_table.h"
#include "platform/input/input_device.h"
#include "support/text_file.h"

namespace lumivastor {
namespace {

namespace fs = std::filesystem;

const fs::path kTree = LUMI_SOURCE_FOLDER;

const std::string& manual() {
    static const std::string text = readText(kTree / "docs/handbuch.md");
    return text;
}

std::vector<std::string> matches(const std::string& text, const char* form) {
    const std::regex expression(form);
    std::vector<std::string> found;
    for (std::sregex_iterator at(text.begin(), text.end(), expression), end; at != end; ++at) {
        found.push_back((*at)[1]);
    }
    return found;
}

// What is written between quotation marks in the sources, pieces that follow each other joined. Tests and comments do
// not count.
std::vector<std::string> literals() {
    std::vector<std::string> found;
    for (const auto& entry : fs::recursive_directory_iterator(kTree / "src")) {
        const std::string file = entry.path().string();
        if ((!file.ends_with(".cpp") && !file.ends_with(".h")) || file.ends_with("_test.cpp")) continue;
        const std::string text = readText(entry.path());
        std::size_t end = std::string::npos;  // of the piece before
        for (std::size_t i = 0; i < text.size(); ++i) {
            if (text.compare(i, 2, "//") == 0) {
                i = std::min(text.find('\n', i), text.size());
                continue;
            }
            if (text[i] == '\'' && i + 2 < text.size() && (text[i + 1] == '"' || text[i + 1] == '\\')) {
                i = text.find('\'', i + 2);
                continue;
            }
            if (text[i] != '"') continue;
            const bool follows = end != std::string::npos && text.find_first_not_of(" \n", end + 1) == i;
            std::string piece;
            for (++i; i < text.size() && text[i] != '"' && text[i] != '\n'; ++i) {
                if (text[i] != '\\') {
                    piece += text[i];
                } else if (++i < text.size()) {
                    piece += text[i] == 'n' ? '\n' : text[i];
                }
            }
            if (follows) {
                found.back() += piece;
            } else {
                found.push_back(piece);
            }
            end = i;
        }
    }
    return found;
}

// Short ones have to stand alone, or any word would be found somewhere.
bool standsIn(const std::vector<std::string>& sources, const std::string& quotation) {
    constexpr std::size_t kLong = 14;
    for (const std::string& literal : sources) {
        if (literal == quotation) return true;
        if (quotation.size() >= kLong && literal.find(quotation) != std::string::npos) return true;
    }
    return false;
}

TEST(Manual, QuotesTheProgramWordForWord) {
    const std::vector<std::string> sources = literals();
    ASSERT_GT(sources.size(), 1000U);
    EXPECT_TRUE(standsIn(sources, "Aufnahme starten"));
    EXPECT_FALSE(standsIn(sources, "Aufnahme beginnen"));
    EXPECT_FALSE(standsIn(sources, "fnahm"));
    std::set<std::string> quotations;
    for (const std::string& each : matches(manual(), "„([^“]*)“")) quotations.insert(each);
    // A phrase about quotation marks, and what file managers say.
    for (const char* other : {"Anführungszeichen", "Öffnen mit"}) EXPECT_EQ(quotations.erase(other), 1U) << other;
    EXPECT_GT(quotations.size(), 60U);
    for (const std::string& each : quotations) EXPECT_TRUE(standsIn(sources, each)) << "nowhere in src: " << each;
}

TEST(Manual, NamesEveryControlOfTheEditor) {
    const std::string tools = readText(kTree / "src/editor/editor_tools.cpp");
    std::vector<std::string> titles = matches(tools, "addTools\\(\\*grid, \"([^\"]+)\"");
    std::set<std::string_view> cards;
    for (const editor::Control& control : editor::controlTable()) {
        if (cards.insert(control.card).second) titles.emplace_back(control.card);
    }
    EXPECT_EQ(titles.size(), 11U) << "cards and rows of tools";
    for (const editor::Control& control : editor::controlTable()) titles.emplace_back(control.caption);
    EXPECT_EQ(titles.size(), 32U);
    for (const std::string& title : titles) {
        EXPECT_NE(manual().find(title), std::string::npos) << "not in the manual: " << title;
    }
}

// Each key stands in the first column of the table, and what it does in the second.
TEST(Manual, ListsEveryKeyOfTheEditor) {
    const std::size_t from = manual().find("### Alle Tasten");
    ASSERT_NE(from, std::string::npos);
    const std::string table = manual().substr(from, manual().find("\n## ", from) - from);
    std::size_t keys = 0;
    for (const editor::CommandEntry& entry : editor::commandTable()) {
        if (entry.keys[0].empty()) continue;
        std::string row = editor::keyText(entry.keys[0]);
        if (!entry.keys[1].empty()) row += ", " + editor::keyText(entry.keys[1]);
        row = "| " + row + " | „" + std::string(entry.title) + "“";
        EXPECT_NE(table.find("\n" + row), std::string::npos) << "not in the manual: " << row;
        ++keys;
    }
    for (const editor::OtherKey& key : editor::otherKeys()) {
        EXPECT_NE(table.find("\n| " + std::string(key.keys) + " |"), std::string::npos) << key.keys;
        ++keys;
    }
    std::size_t rows = 0;
    for (std::size_t at = table.find("\n| "); at != std::string::npos; at = table.find("\n| ", at + 1)) ++rows;
    EXPECT_EQ(rows, keys + 1) << "no key is listed that there is not";
}

TEST(Manual, ShowsCommandsThatAreTaken) {
    std::set<std::string> verbs;
    for (const cli::Verb* verb : cli::allVerbs()) verbs.insert(std::string(verb->name));
    std::set<std::string> shown;
    for (const std::string& word : matches(manual(), "lumivastor ([a-z]+)")) {
        EXPECT_TRUE(verbs.contains(word)) << word;
        shown.insert(word);
    }
    EXPECT_EQ(shown, verbs);
    for (const std::string& line : matches(manual(), "\\n(lumivastor [^\\n]*)")) {
        const auto words = matches(line, "(--?[a-z-]+|[a-z]+)");
        for (const std::string& option : matches(line, "(--[a-z-]+)")) {
            bool isTaken = false;
            for (const cli::OptionSpec& each : cli::programOptions()) isTaken = isTaken || each.name == option;
            for (const cli::Verb* verb : cli::allVerbs()) {
                if (words.size() < 2 || verb->name != words[1]) continue;
                for (const cli::OptionSpec& each : verb->options) isTaken = isTaken || each.name == option;
            }
            EXPECT_TRUE(isTaken) << line;
        }
    }
}

TEST(Manual, NamesTheRuleForPointerDevicesThatThePackageHas) {
    const std::string rule = platform::kPointerRule;
    EXPECT_NE(manual().find("sudo cp " + rule + " " + platform::kRuleFolder), std::string::npos);
    const std::string name = rule.substr(rule.rfind('/') + 1);
    // Behind the rules that say what a device is, before those that open devices to users.
    EXPECT_GT(name, "60-input-id.rules");
    EXPECT_LT(name, "73-seat-late.rules");
    const std::string text = readText(kTree / "packaging" / name);
    for (const char* kind : {"MOUSE", "TOUCHPAD", "POINTINGSTICK"}) {
        EXPECT_NE(text.find("\nENV{ID_INPUT_" + std::string(kind) + R"(}=="1", TAG+="uaccess")"), std::string::npos);
    }
    const auto keyboards = text.find(R"(ENV{ID_INPUT_KEYBOARD}=="1", GOTO="lumivastor_pointer_end")");
    EXPECT_LT(keyboards, text.find("\nENV{ID_INPUT_MOUSE}")) << "keyboards leave first";
    EXPECT_NE(readText(kTree / "packaging/CMakeLists.txt").find("install(FILES " + name + " DESTINATION"),
              std::string::npos);
}

TEST(Manual, HasItsPicturesAndNoOthersAndTheyAreSmall) {
    std::set<std::string> wanted;
    for (const std::string& name : matches(manual(), "\\]\\(images/([^)]+)\\)")) wanted.insert(name);
    EXPECT_GE(wanted.size(), 6U);
    std::set<std::string> there;
    std::uintmax_t bytes = 0;
    for (const auto& entry : fs::directory_iterator(kTree / "docs/images")) {
        there.insert(entry.path().filename().string());
        EXPECT_LE(entry.file_size(), 200'000U) << entry.path();
        bytes += entry.file_size();
    }
    EXPECT_EQ(there, wanted);
    EXPECT_LE(bytes, 2'000'000U);
    // One is made, by its name, in the script.
    const std::string script = readText(kTree / "tools/manual-pictures");
    for (const std::string& name : wanted) {
        EXPECT_NE(script.find(" " + name.substr(0, name.size() - 4) + "\n"), std::string::npos) << name;
    }
}

TEST(Manual, LeadsToPlacesThatExist) {
    for (const std::string& target : matches(manual(), "\\]\\(#([^)]+)\\)")) {
        // A heading in small letters with hyphens for blanks is its address.
        bool exists = false;
        for (std::string heading : matches(manual(), "\\n##+ ([^\\n]+)")) {
            for (char& c : heading) c = c == ' ' ? '-' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
            exists = exists || heading == target;
        }
        EXPECT_TRUE(exists) << target;
    }
}

}  // namespace
}  // namespace lumivastor
