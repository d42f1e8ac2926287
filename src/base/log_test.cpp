// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/log.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "support/folder_listing.h"
#include "support/text_file.h"

namespace lumivastor {
namespace {

// Every test binary runs with a home folder of its own (tests/support/test_main.cpp).

std::vector<std::string> logLines() {
    Log::drain();
    std::istringstream text(readText(Log::url()));
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);) lines.push_back(line);
    return lines;
}

TEST(Log, LiesInTheLogFolderOfTheHomeFolder) {
    const char* home = std::getenv("HOME");  // NOLINT(concurrency-mt-unsafe): no other thread is running
    EXPECT_EQ(Log::url(), std::filesystem::path(home) / "Library/Logs/LumiVastor.log");
    EXPECT_TRUE(std::filesystem::is_directory(Log::url().parent_path()));
}

TEST(Log, TheFirstLineCreatesTheFileAndLaterOnesFollow) {
    Log::drain();
    std::filesystem::remove(Log::url());
    Log::write("Capture", "erste Zeile");
    Log::write("Studio", "zweite Zeile – mit Umlaut ä");
    const auto lines = logLines();
    ASSERT_EQ(lines.size(), 2u);
    const std::regex form(R"(\d\d:\d\d:\d\d\.\d\d\d \[(\w+)\] (.*))");
    std::smatch match;
    ASSERT_TRUE(std::regex_match(lines[0], match, form));
    EXPECT_EQ(match[1], "Capture");
    EXPECT_EQ(match[2], "erste Zeile");
    ASSERT_TRUE(std::regex_match(lines[1], match, form));
    EXPECT_EQ(match[2], "zweite Zeile – mit Umlaut ä");
}

TEST(Log, AMessageWithLineFeedsIsWrittenAsItIs) {
    Log::drain();
    std::filesystem::remove(Log::url());
    Log::write("Editor", "oben\nunten");
    const auto lines = logLines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_TRUE(lines[0].ends_with("[Editor] oben"));
    EXPECT_EQ(lines[1], "unten");
}

TEST(Log, LinesOfManyThreadsStayWholeAndInOrder) {
    Log::drain();
    std::filesystem::remove(Log::url());
    constexpr int kThreads = 8;
    constexpr int kLines = 100;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([thread] {
            for (int i = 0; i < kLines; ++i) {
                Log::write("Pointer", std::to_string(thread) + " " + std::to_string(i) + " " + std::string(300, '#'));
            }
        });
    }
    for (auto& thread : threads) thread.join();
    const auto lines = logLines();
    ASSERT_EQ(lines.size(), static_cast<std::size_t>(kThreads * kLines));
    std::map<int, int> next;
    const std::regex form(R"(\d\d:\d\d:\d\d\.\d\d\d \[Pointer\] (\d+) (\d+) (#+))");
    for (const auto& line : lines) {
        std::smatch match;
        ASSERT_TRUE(std::regex_match(line, match, form)) << line;
        EXPECT_EQ(match[3].length(), 300);
        EXPECT_EQ(std::stoi(match[2]), next[std::stoi(match[1])]++);
    }
}

TEST(Log, IsTheUsersAloneUnlessItWasThere) {
    Log::drain();
    std::filesystem::remove(Log::url());
    Log::write("Render", "neu");
    Log::drain();
    EXPECT_EQ(modeOf(Log::url()), 0600u);
    ASSERT_EQ(chmod(Log::url().c_str(), 0644), 0);
    Log::write("Render", "alt");
    Log::drain();
    EXPECT_EQ(modeOf(Log::url()), 0644u);
}

TEST(Log, AFileThatCannotBeWrittenIsNobodysProblem) {
    Log::drain();
    std::filesystem::remove(Log::url());
    std::filesystem::create_directory(Log::url());
    Log::write("Render", "verloren");
    Log::drain();
    std::filesystem::remove(Log::url());
    Log::write("Render", "wieder da");
    EXPECT_EQ(logLines().size(), 1u);
}

}  // namespace
}  // namespace lumivastor
