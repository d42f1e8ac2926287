// SPDX-License-Identifier: GPL-3.0-or-later
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

// A folder of src, or a room of one, and what it may include besides itself.
using Table = std::map<std::string, std::set<std::string>>;

struct Layers {
    Table folders;
    Table rooms;  // "media/reading"; the folder itself is "media/root"
    std::vector<std::string> lines;
};

Layers readLayers() {
    Layers layers;
    std::string folder;
    std::istringstream text(readText(kSource / "layers.txt"));
    for (std::string line; std::getline(text, line);) {
        if (line.empty() || line.front() == '#') continue;
        layers.lines.push_back(line);
        const bool isRoom = line.front() == ' ';
        const auto begin = line.find_first_not_of(' ');
        const auto colon = line.find(':');
        const std::string name = line.substr(begin, colon - begin);
        if (!isRoom) folder = name;
        auto& allowed = isRoom ? layers.rooms[folder + "/" + name] : layers.folders[name];
        std::istringstream names(line.substr(colon + 1));
        for (std::string other; names >> other;) allowed.insert(isRoom ? folder + "/" + other : other);
    }
    return layers;
}

// The deepest folder of the table that a path below src belongs to; empty when there is none.
std::string layerOf(const Layers& layers, const std::string& path) {
    std::string found;
    for (const auto& [layer, allowed] : layers.folders) {
        if (path.starts_with(layer + "/") && layer.size() > found.size()) found = layer;
    }
    return found;
}

// The room of a file within its layer.
std::string roomOf(const std::string& layer, const std::string& path) {
    const std::string inside = path.substr(layer.size() + 1);
    const auto slash = inside.find('/');
    return layer + "/" + (slash == std::string::npos ? "root" : inside.substr(0, slash));
}

bool isTest(const std::string& path) {
    return path.ends_with("_test.cpp");
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
        // What is built for tests only is there for all of them.
        if (isTest(include.file) && include.target.starts_with("support/")) continue;
        const std::string to = layerOf(layers, include.target);
        EXPECT_FALSE(to.empty()) << include.file << " includes \"" << include.target
                                 << "\", which is no path below src";
        if (isTest(include.file) && to == "platform/synthetic") continue;
        EXPECT_TRUE(to == from || layers.folders.at(from).contains(to))
            << include.file << " must not include " << include.target;
    }
}

TEST(IncludeRule, RoomsIncludeWhatTheyMayOnly) {
    const Layers layers = readLayers();
    for (const auto& include : allIncludes()) {
        if (!include.quoted || isTest(include.file)) continue;
        const std::string layer = layerOf(layers, include.file);
        if (layerOf(layers, include.target) != layer) continue;
        const std::string from = roomOf(layer, include.file);
        const std::string to = roomOf(layer, include.target);
        if (from == to) continue;
        ASSERT_TRUE(layers.rooms.contains(from))
            << "layers.txt has no room " << from << ", where " << include.file << " lies";
        EXPECT_TRUE(layers.rooms.at(from).contains(to)) << include.file << " must not include " << include.target;
    }
}

TEST(IncludeRule, EveryRoomOfTheTableIsAFolderThatGrantsNothingItDoesNotHave) {
    const Layers layers = readLayers();
    ASSERT_GT(layers.rooms.size(), 10u);
    for (const auto& [room, allowed] : layers.rooms) {
        if (!room.ends_with("/root")) {
            EXPECT_TRUE(fs::is_directory(kSource / room)) << room;
        }
        for (const auto& other : allowed) EXPECT_TRUE(layers.rooms.contains(other)) << room << " may include " << other;
    }
}

TEST(IncludeRule, EveryGrantIsUsed) {
    const Layers layers = readLayers();
    Table used;
    for (const auto& include : allIncludes()) {
        if (!include.quoted) continue;
        const std::string from = layerOf(layers, include.file);
        const std::string to = layerOf(layers, include.target);
        used[from].insert(to);
        if (from == to && !isTest(include.file)) used[roomOf(from, include.file)].insert(roomOf(to, include.target));
    }
    for (const auto* table : {&layers.folders, &layers.rooms}) {
        for (const auto& [name, allowed] : *table) {
            for (const auto& other : allowed)
                EXPECT_TRUE(used[name].contains(other)) << name << " never includes " << other;
        }
    }
}

TEST(IncludeRule, TheTableNamesOnlyLowerFoldersAndEachOnlyOnce) {
    std::set<std::string> lower;
    std::set<std::string> lowerRooms;
    for (const std::string& line : readLayers().lines) {
        const bool isRoom = line.front() == ' ';
        if (!isRoom) lowerRooms.clear();
        std::set<std::string>& known = isRoom ? lowerRooms : lower;
        const auto begin = line.find_first_not_of(' ');
        const auto colon = line.find(':');
        std::istringstream names(line.substr(colon + 1));
        for (std::string name; names >> name;) EXPECT_TRUE(known.contains(name)) << line;
        EXPECT_TRUE(known.insert(line.substr(begin, colon - begin)).second) << line;
    }
    EXPECT_FALSE(lower.empty());
}

TEST(IncludeRule, TheArchitectureShowsTheTableAsItIs) {
    const std::string document = readText(fs::path(LUMI_SOURCE_FOLDER) / "docs" / "architecture.md");
    std::string table;
    for (const std::string& line : readLayers().lines) table += line + "\n";
    EXPECT_NE(document.find("```text\n" + table + "```\n"), std::string::npos)
        << "docs/architecture.md does not show this table:\n"
        << table;
}

// The first drawing of the section on layers, line by line.
std::vector<std::string> drawnLayers() {
    const std::string document = readText(fs::path(LUMI_SOURCE_FOLDER) / "docs" / "architecture.md");
    const std::string fence = "```text\n";
    const auto begin = document.find(fence, document.find("## Layers\n"));
    if (begin == std::string::npos) return {};
    const auto first = begin + fence.size();
    std::istringstream text(document.substr(first, document.find("```\n", first) - first));
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);) lines.push_back(line);
    return lines;
}

TEST(IncludeRule, TheDrawingNamesEveryFolderOnceAndAboveWhatItIncludes) {
    static const std::regex word("[a-z0-9_/]+");
    const Layers layers = readLayers();
    std::map<std::string, int> floors;  // the line on which a folder stands, from the top
    std::multiset<std::string> drawn;
    const auto lines = drawnLayers();
    for (std::size_t i = 0; i < lines.size(); ++i) {
        for (std::sregex_iterator each(lines[i].begin(), lines[i].end(), word), end; each != end; ++each) {
            drawn.insert(each->str());
            if (layers.folders.contains(each->str())) floors[each->str()] = static_cast<int>(i);
        }
    }

    std::multiset<std::string> expected;
    for (const auto& [folder, allowed] : layers.folders) expected.insert(folder);
    for (const auto& [room, allowed] : layers.rooms) {
        if (!room.ends_with("/root")) expected.insert(room.substr(room.rfind('/') + 1));
    }
    EXPECT_EQ(drawn, expected) << "docs/architecture.md draws other folders and rooms than src/layers.txt lists";

    for (const auto& [folder, allowed] : layers.folders) {
        for (const auto& lower : allowed) {
            ASSERT_TRUE(floors.contains(folder) && floors.contains(lower)) << folder << ", " << lower;
            EXPECT_GT(floors[lower], floors[folder])
                << folder << " includes " << lower << " and must be drawn above it";
        }
    }
}

// What the editor decides needs no window, so that tests need none either.
TEST(IncludeRule, TheEditorsSessionKnowsNoWidgets) {
    static const std::regex qt("^Q[A-Z].*|^Qt.*");
    for (const auto& include : allIncludes()) {
        if (!include.file.starts_with("editor/session/") || isTest(include.file)) continue;
        EXPECT_FALSE(!include.quoted && std::regex_match(include.target, qt)) << include.file;
        // A range is a pair of numbers.
        EXPECT_FALSE(include.target.starts_with("ui/") && include.target != "ui/control_range.h") << include.file;
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
        {std::regex("^lib(av\\w+|sw\\w+)/.*"), {"ffmpeg/", "media/", "platform/", "playback/"}, false},
        {std::regex("^webp/.*"), {"media/"}, false},
        {std::regex("^(xcb|X11)/.*"), {"platform/x11/"}, false},
        {std::regex("^(pipewire|spa)/.*"), {"platform/pipewire/"}, false},
        {std::regex("^pulse/.*"), {"platform/pulse/"}, false},
        {std::regex("^systemd/.*"), {"platform/wayland/", "platform/notices/"}, false},
        {std::regex("^wayland-.*|.*-client-protocol\\.h$"), {"platform/wayland/"}, false},
        {std::regex("^lib(input|udev)\\.h$"), {"platform/input/"}, false},
        {std::regex("^linux/.*"), {"platform/devices/", "platform/input/"}, false},
        {std::regex("^simdjson.*"), {"model/"}, true},
        {std::regex("^ebur128\\.h$"), {"media/loudness/"}, false},
        {std::regex("^(png|cairo|hwy|xxhash)[/.].*|^(cairo|pango)\\w*/.*"), {"imaging/"}, false},
        {std::regex("^Q[A-Z].*|^Qt.*"), {"ui/", "editor/", "app/"}, true},
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
