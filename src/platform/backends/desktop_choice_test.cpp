// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/backends/desktop_choice.h"

#include <gtest/gtest.h>

#include "base/recorder_error.h"

namespace lumivastor::platform {
namespace {

const std::function<bool()> kShares = [] { return true; };
const std::function<bool()> kSharesNothing = [] { return false; };
const std::function<bool()> kNotAsked = [] {
    ADD_FAILURE() << "the portal was asked";
    return false;
};

SessionEnvironment session(std::string waylandDisplay, std::string x11Display) {
    SessionEnvironment environment;
    environment.waylandDisplay = std::move(waylandDisplay);
    environment.x11Display = std::move(x11Display);
    return environment;
}

TEST(DesktopChoice, TheWishWins) {
    SessionEnvironment environment = session("wayland-0", ":0");
    environment.wish = "x11";
    EXPECT_EQ(chooseDesktop(environment, kNotAsked), DesktopBackend::x11);
    environment = session("", ":0");
    environment.wish = "wayland";
    EXPECT_EQ(chooseDesktop(environment, kNotAsked), DesktopBackend::wayland);
    environment.wish = "win32";
    try {
        chooseDesktop(environment, kNotAsked);
        FAIL() << "an unknown wish was accepted";
    } catch (const RecorderError& error) {
        EXPECT_EQ(error.message(), "LUMIVASTOR_DESKTOP ist „x11“ oder „wayland“, nicht „win32“.");
    }
}

TEST(DesktopChoice, AnX11SessionAsksNoPortal) {
    EXPECT_EQ(chooseDesktop(session("", ":0"), kNotAsked), DesktopBackend::x11);
    EXPECT_EQ(chooseDesktop(session("", ""), kNotAsked), DesktopBackend::x11);
}

TEST(DesktopChoice, AWaylandSessionGoesThroughItsPortal) {
    EXPECT_EQ(chooseDesktop(session("wayland-0", ":0"), kShares), DesktopBackend::wayland);
    SessionEnvironment byType = session("", ":0");
    byType.sessionType = "wayland";
    EXPECT_EQ(chooseDesktop(byType, kShares), DesktopBackend::wayland);
}

TEST(DesktopChoice, WithoutAPortalX11ProgramsAreLeft) {
    EXPECT_EQ(chooseDesktop(session("wayland-0", ":0"), kSharesNothing), DesktopBackend::x11);
    // Nothing is: the portal's error says what is missing.
    EXPECT_EQ(chooseDesktop(session("wayland-0", ""), kNotAsked), DesktopBackend::wayland);
}

TEST(DesktopChoice, PreferencesLieInTheFolderForConfigurations) {
    SessionEnvironment environment;
    environment.home = "/home/a";
    EXPECT_EQ(preferencesFolder(environment), "/home/a/.config/LumiVastor");
    environment.configHome = "/elsewhere";
    EXPECT_EQ(preferencesFolder(environment), "/elsewhere/LumiVastor");
    environment.configHome = "relative";
    EXPECT_EQ(preferencesFolder(environment), "/home/a/.config/LumiVastor");
}

}  // namespace
}  // namespace lumivastor::platform
