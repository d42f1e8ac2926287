// SPDX-License-Identifier: GPL-3.0-or-later
// Documents and edit model stand on their own.

#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "support/program_run.h"

namespace lumivastor {
namespace {

// Whether a program loads a library of this family, itself or through another.
bool loads(const std::string& program, const std::string& family) {
    const Outcome outcome = runProgram({"ldd", program});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    return std::regex_search(outcome.out, std::regex("\\slib" + family + "[^ ]*\\.so"));
}

TEST(EditModel, NeedsNeitherMoviesNorWindowsNorADesktop) {
    EXPECT_TRUE(loads(LUMI_PRINT_ZOOMS, "simdjson")) << "it reads the documents";
    for (const char* family :
         {"av(codec|format|util)", "sw(scale|resample)", "Qt6", "xcb", "X11", "pulse", "pipewire"}) {
        EXPECT_FALSE(loads(LUMI_PRINT_ZOOMS, family)) << family;
        // The application does, so that the question can be answered with yes.
        EXPECT_TRUE(loads(LUMI_PROGRAM, family)) << family;
    }
}

}  // namespace
}  // namespace lumivastor
