// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/wayland/portal_screencast.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "base/host_clock.h"
#include "platform/pipewire/screen_stream.h"
#include "support/await.h"
#include "support/portal_standin.h"
#include "support/sound_rig.h"

namespace lumivastor::wayland {
namespace {

using Answer = PortalStandin::Answer;

int openDescriptors() {
    int count = 0;
    for ([[maybe_unused]] const auto& each : std::filesystem::directory_iterator("/proc/self/fd")) ++count;
    return count;
}

int threads() {
    int count = 0;
    for ([[maybe_unused]] const auto& each : std::filesystem::directory_iterator("/proc/self/task")) ++count;
    return count;
}

// What a function throws as `Error`, which must be no other type; empty when it does not throw.
template <typename Error, typename Function>
std::string messageOf(Function function) {
    try {
        function();
    } catch (const Error& error) {
        EXPECT_EQ(typeid(error), typeid(Error));
        return error.message();
    }
    return "";
}

// Bus and portal, but no server of pictures: nothing is granted.
class PortalDialog : public testing::Test {
  protected:
    void openPortal(const PortalStandin::Options& options) {
        portal_ = std::make_unique<PortalStandin>(bus_.address(), "/nowhere", options);
        connection_ = std::make_unique<PortalConnection>(bus_.address());
    }
    void openPortal(Answer answer) {
        PortalStandin::Options options;
        options.answer = answer;
        openPortal(options);
    }
    std::unique_ptr<PortalSession> openSession(const PortalSession::Options& options = {}) {
        return PortalSession::open(*connection_, options);
    }

    BusRig bus_;
    std::unique_ptr<PortalStandin> portal_;
    std::unique_ptr<PortalConnection> connection_;
};

TEST_F(PortalDialog, RefusalAndFailureAreDifferentErrors) {
    openPortal(Answer::refuse);
    EXPECT_EQ(messageOf<PortalRefusal>([&] { openSession(); }), "Die Aufnahme wurde im Dialog abgelehnt.");
    portal_->answer(Answer::fail);
    EXPECT_EQ(messageOf<RecorderError>([&] { openSession(); }), "Der Desktop konnte die Aufnahme nicht freigeben.");
    // Nothing is left of them.
    EXPECT_TRUE(await([&] { return portal_->sessions() == 0; }));
    EXPECT_EQ(portal_->openDialogs(), 0);
    EXPECT_TRUE(connection_->isAlive());
}

TEST_F(PortalDialog, WithoutAPortalTheErrorNamesThePackage) {
    PortalConnection connection(bus_.address());
    const double begin = hostClockSeconds();
    const std::string message = messageOf<RecorderError>([&] { PortalSession::open(connection, {}); });
    EXPECT_EQ(message.find("Dieser Desktop bietet keine Bildschirmfreigabe an. Es fehlt ein Portal, zum Beispiel das "
                           "Paket xdg-desktop-portal-"),
              0U)
        << message;
    EXPECT_LT(hostClockSeconds() - begin, 2);
}

TEST_F(PortalDialog, APortalWithoutScreensIsLikeNone) {
    PortalStandin::Options options;
    options.version = 0;
    openPortal(options);
    EXPECT_THROW(screenCastOffer(*connection_), RecorderError);
}

TEST_F(PortalDialog, OnlyWhatIsAvailableIsAskedFor) {
    struct Case {
        std::uint32_t modes;
        const char* asked;  // null: nothing
    };
    for (const Case& one : {Case{7, "4"}, Case{3, "2"}, Case{1, "1"}, Case{5, "4"}, Case{0, nullptr}}) {
        PortalStandin::Options options;
        options.answer = Answer::refuse;
        options.cursorModes = one.modes;
        openPortal(options);
        EXPECT_THROW(openSession(), PortalRefusal);
        const auto asked = portal_->lastCall("SelectSources").options;
        EXPECT_EQ(asked.contains("cursor_mode") ? asked.at("cursor_mode") : "none",
                  one.asked == nullptr ? "none" : one.asked);
        EXPECT_EQ(asked.at("types"), "1");
        EXPECT_EQ(asked.at("multiple"), "false");
        EXPECT_EQ(asked.at("persist_mode"), "2");
        EXPECT_FALSE(asked.contains("restore_token"));
        portal_.reset();
    }
    PortalStandin::Options options;
    options.answer = Answer::refuse;
    options.sourceTypes = 1;
    openPortal(options);
    EXPECT_EQ(messageOf<RecorderError>([&] {
                  openSession({SharedSource::window, {}, {}});
              }),
              "Dieser Desktop gibt keine einzelnen Fenster zur Aufnahme frei.");
    portal_.reset();
    options.sourceTypes = 2;
    openPortal(options);
    EXPECT_EQ(messageOf<RecorderError>([&] { openSession(); }),
              "Dieser Desktop gibt keine Bildschirme zur Aufnahme frei.");
    EXPECT_THROW(openSession({SharedSource::window, {}, {}}), PortalRefusal);
    EXPECT_EQ(portal_->lastCall("SelectSources").options.at("types"), "2");
}

TEST_F(PortalDialog, OldPortalsGetNoTokens) {
    PortalStandin::Options options;
    options.version = 3;
    options.answer = Answer::refuse;
    openPortal(options);
    EXPECT_THROW(openSession({SharedSource::display, "token", "wayland:window"}), PortalRefusal);
    EXPECT_EQ(portal_->lastCall("Start").parentWindow, "wayland:window");
    const auto asked = portal_->lastCall("SelectSources").options;
    EXPECT_FALSE(asked.contains("persist_mode"));
    EXPECT_FALSE(asked.contains("restore_token"));
}

TEST_F(PortalDialog, ATokenIsPassedAndAWrongOneLeadsToTheDialog) {
    PortalStandin::Options options;
    options.answer = Answer::refuse;
    options.knownToken = "known";
    openPortal(options);
    EXPECT_THROW(openSession({SharedSource::display, "known", {}}), PortalRefusal);
    EXPECT_EQ(portal_->lastCall("SelectSources").options.at("restore_token"), "known");
    const std::size_t before = portal_->calls().size();
    EXPECT_THROW(openSession({SharedSource::display, "garbage", {}}), PortalRefusal);
    std::vector<std::string> methods;
    const auto calls = portal_->calls();
    for (std::size_t i = before; i < calls.size(); ++i) methods.push_back(calls[i].method);
    EXPECT_EQ(methods,
              (std::vector<std::string>{"CreateSession", "SelectSources", "CreateSession", "SelectSources", "Start"}));
    EXPECT_FALSE(portal_->lastCall("SelectSources").options.contains("restore_token"));
    EXPECT_TRUE(await([&] { return portal_->sessions() == 0; }));
}

TEST_F(PortalDialog, AnotherThreadCancelsTheDialog) {
    openPortal(Answer::none);
    auto session = std::async(std::launch::async, [&] { return openSession(); });
    ASSERT_TRUE(await([&] { return portal_->openDialogs() == 1; }));
    const double begin = hostClockSeconds();
    connection_->cancel();
    EXPECT_EQ(session.get(), nullptr);
    EXPECT_LT(hostClockSeconds() - begin, 1);
    EXPECT_TRUE(await([&] { return portal_->closedDialogs() == 1 && portal_->openDialogs() == 0; }));
    EXPECT_TRUE(await([&] { return portal_->sessions() == 0; }));
    // Also what begins later.
    EXPECT_EQ(openSession(), nullptr);
    EXPECT_TRUE(connection_->isCancelled());
}

TEST_F(PortalDialog, CancellingAtAnyMomentNeverHangsAndNeverThrows) {
    openPortal(Answer::none);
    for (int delay = 0; delay < 3000; delay += 150) {
        PortalConnection connection(bus_.address());
        auto session = std::async(std::launch::async, [&] { return PortalSession::open(connection, {}); });
        std::this_thread::sleep_for(std::chrono::microseconds(delay));
        connection.cancel();
        EXPECT_EQ(session.get(), nullptr);
    }
    EXPECT_TRUE(await([&] { return portal_->sessions() == 0; }));
}

TEST_F(PortalDialog, APortalThatDiesDuringTheDialogIsAnError) {
    openPortal(Answer::none);
    auto message = std::async(std::launch::async, [&] { return messageOf<RecorderError>([&] { openSession(); }); });
    ASSERT_TRUE(await([&] { return portal_->openDialogs() == 1; }));
    portal_->vanish();
    EXPECT_EQ(message.get(), "Die Bildschirmfreigabe des Desktops wurde unerwartet beendet.");
    EXPECT_FALSE(connection_->isAlive());
    EXPECT_THROW(openSession(), RecorderError);
}

TEST_F(PortalDialog, ABusThatDiesDuringTheDialogIsAnError) {
    openPortal(Answer::none);
    auto message = std::async(std::launch::async, [&] { return messageOf<RecorderError>([&] { openSession(); }); });
    ASSERT_TRUE(await([&] { return portal_->openDialogs() == 1; }));
    bus_.kill();
    EXPECT_EQ(message.get(), "Die Bildschirmfreigabe des Desktops wurde unerwartet beendet.");
    EXPECT_FALSE(connection_->isAlive());
    EXPECT_THROW(openSession(), RecorderError);
    EXPECT_THROW(PortalConnection{bus_.address()}, RecorderError);
}

TEST_F(PortalDialog, APortalThatKeepsSilentIsNotWaitedForForever) {
    PortalStandin::Options options;
    options.isSilent = true;
    openPortal(options);
    const double begin = hostClockSeconds();
    EXPECT_EQ(messageOf<RecorderError>([&] { openSession(); }), "Die Bildschirmfreigabe des Desktops antwortet nicht.");
    EXPECT_NEAR(hostClockSeconds() - begin, PortalConnection::kCallTimeout, 2);
}

TEST(PortalConnectionTest, WithoutABusThereIsAGermanError) {
    const TemporaryFolder folder;
    EXPECT_EQ(messageOf<RecorderError>([&] { PortalConnection("unix:path=" + (folder / "no-bus").string()); }),
              "Der Nachrichtenbus der Sitzung (D-Bus) ist nicht erreichbar.");
    EXPECT_EQ(messageOf<RecorderError>([&] { PortalConnection("nonsense"); }),
              "Der Nachrichtenbus der Sitzung (D-Bus) ist nicht erreichbar.");
}

TEST(PortalConnectionTest, TheMissingPackageIsTheDesktops) {
    const std::vector<std::pair<std::string, std::string>> desktops{
        {"GNOME", "gnome"},      {"ubuntu:GNOME", "gnome"}, {"KDE", "kde"},           {"sway", "wlr"},
        {"sway:wlroots", "wlr"}, {"Hyprland", "hyprland"},  {"labwc:wlroots", "wlr"}, {"", "gnome"},
        {"Unheard:Of", "gnome"}, {":::", "gnome"},          {"X:KDE:GNOME", "kde"}};
    for (const auto& [desktop, portal] : desktops) {
        EXPECT_EQ(missingPortalMessage(desktop),
                  "Dieser Desktop bietet keine Bildschirmfreigabe an. Es fehlt ein Portal, zum Beispiel das Paket "
                  "xdg-desktop-portal-" +
                      portal + ".")
            << desktop;
    }
}

// With a server of pictures.
class PortalScreencast : public testing::Test {
  protected:
    void openPortal(PortalStandin::Options options = {}) {
        portal_ = std::make_unique<PortalStandin>(bus_.address(), rig_.remote(), options);
        connection_ = std::make_unique<PortalConnection>(bus_.address());
    }

    PipeWireRig rig_;
    BusRig bus_;
    std::unique_ptr<PortalStandin> portal_;
    std::unique_ptr<PortalConnection> connection_;
};

TEST_F(PortalScreencast, AGrantLeadsToPicturesAndEndsWithItsSession) {
    openPortal();
    auto session = PortalSession::open(*connection_, {});
    ASSERT_TRUE(session);
    EXPECT_EQ(session->cursorMode(), CursorMode::metadata);
    EXPECT_EQ(session->restoreToken(), portal_->lastToken());
    EXPECT_EQ(session->mappingId(), "mapped");
    EXPECT_EQ(session->place().x, 1280);
    EXPECT_EQ(session->place().y, -20);
    EXPECT_EQ(session->place().width, 160);
    EXPECT_EQ(session->place().height, 100);
    EXPECT_FALSE(session->isClosed());

    pipewire::PipeWireConnection server(session->takeServer());
    EXPECT_FALSE(session->takeServer().isOpen());
    std::vector<std::uint8_t> blues;
    std::vector<std::string> ended;
    pipewire::ScreenStream::Callbacks callbacks;
    callbacks.picture = [&](const pipewire::ScreenPicture& picture) { blues.push_back(picture.pixels[0]); };
    callbacks.ended = [&](const std::string& reason) { ended.push_back(reason); };
    pipewire::ScreenStream stream(server, session->node(), {}, callbacks);
    portal_->screen()->play(0x200001, 30);
    ASSERT_TRUE(server.runUntil([&] { return blues.size() >= 10; }, kPatience));
    for (std::size_t i = 1; i < blues.size(); ++i) EXPECT_GT(blues[i], blues[i - 1]);

    session.reset();
    EXPECT_TRUE(await([&] { return portal_->sessions() == 0; }));
    EXPECT_TRUE(server.runUntil([&] { return !ended.empty(); }, kPatience));
}

TEST_F(PortalScreencast, TheTokenOfOneGrantRestoresTheNext) {
    openPortal();
    const auto first = PortalSession::open(*connection_, {});
    const auto second = PortalSession::open(*connection_, {SharedSource::display, first->restoreToken(), {}});
    EXPECT_EQ(portal_->lastCall("SelectSources").options.at("restore_token"), first->restoreToken());
    EXPECT_NE(second->restoreToken(), first->restoreToken());
    EXPECT_EQ(portal_->sessions(), 2);
}

TEST_F(PortalScreencast, TheUserStopsSharing) {
    openPortal();
    const auto session = PortalSession::open(*connection_, {});
    EXPECT_FALSE(session->isClosed());
    portal_->stopSharing();
    EXPECT_TRUE(connection_->runUntil([&] { return session->isClosed(); }, kPatience));
    EXPECT_TRUE(connection_->isAlive());
}

// As real ones do: the screen is another process's.
TEST_F(PortalScreencast, TheStreamGoesOnWithoutThePortal) {
    openPortal();
    const auto session = PortalSession::open(*connection_, {});
    pipewire::PipeWireConnection server(session->takeServer());
    int pictures = 0;
    pipewire::ScreenStream::Callbacks callbacks;
    callbacks.picture = [&](const pipewire::ScreenPicture&) { ++pictures; };
    const pipewire::ScreenStream stream(server, session->node(), {}, callbacks);
    portal_->screen()->play(0x200001, 60);
    ASSERT_TRUE(server.runUntil([&] { return pictures > 0; }, kPatience));
    portal_->vanish();
    EXPECT_TRUE(await(
        kPatience, [&] { return !connection_->isAlive(); }, [&] { connection_->run(0.01); }));
    EXPECT_FALSE(session->isClosed());
    const int before = pictures;
    EXPECT_TRUE(server.runUntil([&] { return pictures > before + 5; }, kPatience));
    EXPECT_FALSE(stream.hasEnded());
}

TEST_F(PortalScreencast, ManySessionsLeaveNothingBehind) {
    openPortal();
    const auto record = [&] {
        PortalConnection connection(bus_.address());
        const auto session = PortalSession::open(connection, {});
        pipewire::PipeWireConnection server(session->takeServer());
        bool hasPicture = false;
        pipewire::ScreenStream::Callbacks callbacks;
        callbacks.picture = [&](const pipewire::ScreenPicture&) { hasPicture = true; };
        const pipewire::ScreenStream stream(server, session->node(), {}, callbacks);
        portal_->screen()->play(0x200001, 60);
        EXPECT_TRUE(server.runUntil([&] { return hasPicture; }, kPatience));
    };
    const auto isQuiet = [&](int descriptors, int running) {
        return await(
            [&] { return portal_->sessions() == 0 && openDescriptors() <= descriptors && threads() <= running; });
    };
    // The first ones load libraries.
    for (int i = 0; i < 3; ++i) record();
    ASSERT_TRUE(await([&] { return portal_->sessions() == 0 && portal_->screen() == nullptr; }));
    const int descriptors = openDescriptors();
    const int running = threads();
    for (int i = 0; i < 50; ++i) record();
    EXPECT_TRUE(isQuiet(descriptors, running))
        << openDescriptors() - descriptors << " descriptors, " << threads() - running << " threads";
}

}  // namespace
}  // namespace lumivastor::wayland
