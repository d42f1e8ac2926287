// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "support/text_file.h"

// Rules that every source of the tree keeps.

namespace lumivastor {
namespace {

namespace fs = std::filesystem;

const fs::path kRoot = LUMI_SOURCE_FOLDER;

std::vector<fs::path> sourcesBelow(const std::vector<std::string>& folders) {
    std::vector<fs::path> sources;
    for (const auto& folder : folders) {
        for (const auto& entry : fs::recursive_directory_iterator(kRoot / folder)) {
            const auto extension = entry.path().extension();
            if (extension == ".h" || extension == ".cpp") sources.push_back(entry.path());
        }
    }
    return sources;
}

TEST(SourceRule, EverySourceSaysItsLicence) {
    const auto sources = sourcesBelow({"src", "tests", "tools", "bench", "fuzz", "examples", "packaging"});
    ASSERT_GT(sources.size(), 500u);
    for (const auto& source : sources) {
        EXPECT_TRUE(readText(source).starts_with("// SPDX-License-Identifier: GPL-3.0-or-later\n")) << source;
    }
}

// Types at the level of a namespace with the files that define them, by their full names. What lies in a namespace
// without a name belongs to its source alone.
std::map<std::string, std::vector<std::string>> definedTypes() {
    static const std::regex opens("^(?:inline )?namespace ?([\\w:]*) \\{$");
    static const std::regex declares("^(?:class|struct|enum class) [\\w: ]+;$");
    static const std::regex closes("^\\}  // namespace.*");
    static const std::regex defines("^(?:class|struct|union|enum|enum class) (\\w+)(?: final)?(?: ?:[^:].*)? ?\\{.*");
    std::map<std::string, std::vector<std::string>> types;
    for (const auto& source : sourcesBelow({"src"})) {
        std::vector<std::string> namespaces;
        // A block of forward declarations, which ends without saying so.
        bool onlyDeclares = false;
        std::istringstream text(readText(source));
        for (std::string line; std::getline(text, line);) {
            std::smatch match;
            if (std::regex_match(line, match, opens)) {
                namespaces.push_back(match[1]);
                onlyDeclares = true;
            } else if (onlyDeclares && std::regex_match(line, declares)) {
                continue;
            } else if (std::regex_match(line, match, closes) || (onlyDeclares && line == "}")) {
                onlyDeclares = false;
                EXPECT_FALSE(namespaces.empty()) << source << ": " << line;
                if (!namespaces.empty()) namespaces.pop_back();
            } else {
                onlyDeclares = onlyDeclares && line.empty();
                if (!std::regex_match(line, match, defines)) continue;
                std::string name;
                bool isPrivate = false;
                for (const auto& each : namespaces) {
                    isPrivate = isPrivate || each.empty();
                    name += each + "::";
                }
                if (!isPrivate) types[name + match[1].str()].push_back(fs::relative(source, kRoot).string());
            }
        }
        EXPECT_TRUE(namespaces.empty()) << source << " does not say at its end which namespace ends";
    }
    return types;
}

// Two types of one full name in one program are one for the linker, which takes the functions of either.
TEST(SourceRule, NoTwoTypesHaveOneName) {
    const auto types = definedTypes();
    ASSERT_GT(types.size(), 300u);
    ASSERT_TRUE(types.contains("lumivastor::media::Asset"));
    for (const auto& [name, files] : types) {
        EXPECT_EQ(files.size(), 1u) << name << " is defined in " << files.front() << " and " << files.back();
    }
}

TEST(SourceRule, EveryLayerHasItsNamespace) {
    for (const auto& source : sourcesBelow({"src"})) {
        const fs::path inside = fs::relative(source, kRoot / "src");
        const std::string layer = inside.begin()->string();
        // `main` joins the others; a backend is a layer of its own.
        if (layer == "main") continue;
        std::string expected = "lumivastor";
        if (layer != "base") expected += "::" + layer;
        const std::string room = std::next(inside.begin())->string();
        if (layer == "platform" && inside.has_parent_path() && room.find('.') == std::string::npos && room != "sound" &&
            room != "pictures" && room != "input" && room != "backends") {
            expected = "lumivastor::" + room;
        }
        const std::string text = readText(source);
        EXPECT_NE(text.find("\nnamespace " + expected), std::string::npos) << source << " has nothing in " << expected;
    }
}

}  // namespace
}  // namespace lumivastor
