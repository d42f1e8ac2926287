// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <variant>

#include "base/host_clock.h"
#include "platform/pipewire/pipewire_connection.h"
#include "platform/wayland/wayland_desktop.h"
#include "support/await.h"
#include "support/desktop_rig/capture_setup.h"
#include "support/portal_standin.h"
#include "support/sound_rig.h"

namespace lumivastor::wayland {
namespace {

// Names of entries, and what links among them point to.
std::map<std::string, std::string> entriesOf(const char* folder) {
    std::map<std::string, std::string> entries;
    std::error_code ignored;  // a thread may end meanwhile
    for (const auto& each : std::filesystem::directory_iterator(folder, ignored)) {
        entries[each.path().filename()] = std::filesystem::read_symlink(each.path(), ignored);
    }
    return entries;
}

std::string newIn(const std::map<std::string, std::string>& after, const std::map<std::string, std::string>& before) {
    std::string lines;
    for (const auto& [name, target] : after) {
        const auto found = before.find(name);
        if (found == before.end() || found->second != target) lines += "\n" + name + " " + target;
    }
    return lines;
}

TEST(WaylandSessions, TwoHundredLeaveNothingBehind) {
    const PipeWireRig pipeWire;
    const BusRig bus;
    const PortalStandin portal(bus.address(), pipeWire.remote(), {});
    const TemporaryFolder folder;
    const auto desktop = openWaylandDesktop(nullptr, {bus.address(), "/nowhere", folder.path()});
    pipewire::PipeWireConnection watcher(pipeWire.remote(), kPatience);

    const auto record = [&](int index) {
        const auto picked = desktop->contentPicker()->pick({}, {});
        ASSERT_TRUE(picked);
        const platform::DisplayFilter filter{std::get<platform::Display>(*picked), {}};
        const auto screen = portal.screen();
        if (index % 5 == 4) {
            // Granted and given back.
            desktop->contentPicker()->release();
            return;
        }
        const platform::PointSpace space{{0, 0}, filter.display.scale};
        auto monitor = desktop->monitorPointer(space, [](const platform::PointerEvent&) {});
        EXPECT_TRUE(monitor);
        RunningCapture capture(*desktop, filter);
        ScreenSource::Picture picture;
        picture.colour = 0x336699;
        EXPECT_TRUE(await(
            kPatience, [&] { return capture.samples().picture() != nullptr; },
            [&, next = 0.0]() mutable {
                if (hostClockSeconds() >= next && screen->send(picture)) next = hostClockSeconds() + 0.05;
                await(0.002, [] { return false; });
            }));
        monitor.reset();
        capture.stop();
    };
    struct Left {
        std::map<std::string, std::string> descriptors, threads;
        std::size_t nodes = 0;
    };
    const auto count = [&] {
        watcher.sync(kPatience);
        return Left{entriesOf("/proc/self/fd"), entriesOf("/proc/self/task"), watcher.nodes().size()};
    };
    const auto isQuiet = [&] { return portal.sessions() == 0 && portal.screen() == nullptr; };

    // The first ones load libraries.
    for (int i = 0; i < 5; ++i) record(i);
    ASSERT_TRUE(await(isQuiet));
    const Left before = count();
    EXPECT_GE(before.nodes, 2U) << "the server's own";
    const double begin = hostClockSeconds();
    for (int i = 0; i < 200; ++i) record(i);
    std::cout << (hostClockSeconds() - begin) * 1000 / 200 << " ms each\n";
    Left after;
    EXPECT_TRUE(await([&] {
        after = count();
        return isQuiet() && after.descriptors.size() <= before.descriptors.size() &&
               after.threads.size() <= before.threads.size() && after.nodes <= before.nodes;
    })) << before.descriptors.size()
        << " descriptors became " << after.descriptors.size() << ", " << before.threads.size() << " threads "
        << after.threads.size() << ", " << before.nodes << " nodes " << after.nodes
        << newIn(after.descriptors, before.descriptors) << newIn(after.threads, before.threads);
}

}  // namespace
}  // namespace lumivastor::wayland
