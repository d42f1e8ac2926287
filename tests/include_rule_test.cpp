#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "support/text_file.h"

// Holds the tree against src/layers.txt and against the rules of which library may be seen where.

namespace lumivastor {
namespace {

namespace fs = std::filesystem;

const fs::path kSource = fs::path(LUMI_SOURCE_FOLDER) / "src";

using Layers = std::map<std::string, std::set<std::string>>;

Layers readLayers() {
    Layers layers;
    std::istringstream text(readText(kSource / "layers.txt"));
    for (std::string line; std::getline(text, line);) {
        if (line.empty() || line.front() == '#') continue;
        const auto colon = line.find(':');
        std::istringstream names(line.substr(colon + 1));
        auto& allowed = layers[line.substr(0, colon)];
        for (std::string name; names >> name;) allowed.insert(name);
    }
    return layers;
}

// The deepest folder of the table that a path below src belongs to; empty when there is none.
std::string layerOf(const Layers& layers, const std::string& path) {
    std::string found;
    for (const auto& [layer, allowed] : layers) {
        if (path.starts_with(layer + "/") && layer.size() > found.size()) found = layer;
    }
    return found;
}

struct Include {
    std::string file;    // relative to src
    std::string target;  // as written
    bool quoted;
};

std::vector<Include> allIncludes() {
    static const std::regex form(R"re(^\s*#\s*include\s*([<"])([^>"]+)[>"])re");
    std::vector<Include> includes;
    for (const auto& entry : fs::recursive_directory_iterator(kSource)) {
        const auto extension = entry.path().extension();
        if (extension != ".h" && extension != ".cpp") continue;
        std::istringstream text(readText(entry.path()));
        const std::string file = fs::relative(entry.path(), kSource).string();
        for (std::string line; std::getline(text, line);) {
            std::smatch match;
            if (std::regex_search(line, match, form)) includes.push_back({file, match[2], match[1] == "\""});
        }
    }
    return includes;
}

TEST(IncludeRule, IncludesPointDownOnly) {
    const Layers layers = readLayers();
    const auto includes = allIncludes();
    ASSERT_GT(includes.size(), 100u);
    for (const auto& include : includes) {
        if (!include.quoted) continue;
        const std::string from = layerOf(layers, include.file);
        ASSERT_FALSE(from.empty()) << include.file << " lies in no folder of layers.txt";
        if (include.file.ends_with("_test.cpp") && include.target.starts_with("support/")) continue;
        const std::string to = layerOf(layers, include.target);
        EXPECT_FALSE(to.empty()) << include.file << " includes \"" << include.target
                                 << "\", which is no path below src";
        EXPECT_TRUE(to == from || layers.at(from).contains(to))
            << include.file << " must not include " << include.target;
    }
}

TEST(IncludeRule, TheTableNamesOnlyLowerFoldersAndEachOnlyOnce) {
    std::istringstream text(readText(kSource / "layers.txt"));
    std::set<std::string> lower;
    for (std::string line; std::getline(text, line);) {
        if (line.empty() || line.front() == '#') continue;
        const auto colon = line.find(':');
        std::istringstream names(line.substr(colon + 1));
        for (std::string name; names >> name;) EXPECT_TRUE(lower.contains(name)) << line;
        EXPECT_TRUE(lower.insert(line.substr(0, colon)).second) << line;
    }
    EXPECT_FALSE(lower.empty());
}

TEST(IncludeRule, TheArchitectureShowsTheTableAsItIs) {
    const std::string document = readText(fs::path(LUMI_SOURCE_FOLDER) / "docs" / "architecture.md");
    std::istringstream text(readText(kSource / "layers.txt"));
    for (std::string line; std::getline(text, line);) {
        if (line.empty() || line.front() == '#') continue;
        EXPECT_NE(document.find("\n" + line + "\n"), std::string::npos) << "docs/architecture.md lacks: " << line;
    }
}

// Libraries that stay in the sources of the folders that wrap them.
TEST(IncludeRule, WrappedLibrariesStayWhereTheyAreWrapped) {
    struct Rule {
        std::regex header;
        std::vector<std::string> folders;
        bool headersToo;  // whether our own headers may show it as well
    };
    const std::vector<Rule> rules = {
        {std::regex("^lib(av\\w+|sw\\w+)/.*"), {"media/", "platform/"}, false},
        {std::regex("^(xcb|X11|pipewire|spa|linux)/.*"), {"platform/"}, false},
        {std::regex("^pulse/.*"), {"media/", "platform/"}, false},
        {std::regex("^simdjson.*"), {"model/"}, true},
        {std::regex("^(png|cairo|hwy)[/.].*|^(cairo|pango)\\w*/.*"), {"imaging/"}, false},
        {std::regex("^Q[A-Z].*|^Qt.*"), {"editor/", "app/"}, true},
    };
    for (const auto& include : allIncludes()) {
        // Tests may look at results with whatever library helps.
        if (include.quoted || include.file.ends_with("_test.cpp")) continue;
        for (const auto& rule : rules) {
            if (!std::regex_match(include.target, rule.header)) continue;
            const bool inFolder = std::any_of(rule.folders.begin(), rule.folders.end(), [&](const std::string& folder) {
                return include.file.starts_with(folder);
            });
            EXPECT_TRUE(inFolder) << include.file << " must not include <" << include.target << ">";
            EXPECT_TRUE(rule.headersToo || !include.file.ends_with(".h"))
                << include.file << " shows <" << include.target << "> to its includers";
        }
    }
}

}  // namespace
}  // namespace lumivastor
