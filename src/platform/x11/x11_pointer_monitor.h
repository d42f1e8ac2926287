// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "base/unique_descriptor.h"
#include "platform/input/pointer_interpreter.h"
#include "platform/pointer_monitor.h"
#include "platform/x11/scroll_axes.h"
#include "platform/x11/server_time.h"
#include "platform/x11/x_connection.h"

namespace lumivastor::x11 {

/// Watches the pointer on its own thread ("x11.pointer") over two connections: one delivers the record extension's
/// events of all devices, with positions on the whole desktop; the other delivers the input extension's raw events, the
/// only ones with smooth scrolling. Both carry server times. An event is reported only when no earlier one can still
/// arrive over the other connection.
class X11PointerMonitor : public platform::PointerMonitor {
  public:
    /// Events from the constructor's return on are reported. Throws `RecorderError` when the server does not allow
    /// programs to watch the pointer.
    X11PointerMonitor(const std::string& displayName, const platform::PointSpace& space,
                      platform::PointerEventHandler handler);
    ~X11PointerMonitor() override;
    X11PointerMonitor(const X11PointerMonitor&) = delete;
    X11PointerMonitor& operator=(const X11PointerMonitor&) = delete;

  private:
    struct Waiting {
        std::uint32_t serverTime = 0;
        platform::RawPointerEvent event;
    };
    // A raw event of a wheel's button, which the record extension reports, too.
    struct WheelPress {
        std::uint32_t serverTime = 0;
        int button = 0;
        bool isEmulated = false;  // derived by the server from smooth scrolling, which is reported separately
    };

    void beginRecord();
    void selectRawEvents();
    void readScrollAxes();
    void readMapping();
    void beginState();
    void run();
    bool wait(bool hasWaiting);
    bool readRecord();
    void takeRecorded(const std::uint8_t* data, int size);
    void readRaw();
    void handleRaw(const XEvent& event);
    void await(const Waiting& waiting, double now);
    void settle();
    void tellUntil(std::uint32_t serverTime);
    void tell(const Waiting& waiting);
    bool isEmulated(const Waiting& press) const;

    const platform::PointerEventHandler handler_;
    XConnection control_;  // requests and raw events
    XConnection data_;     // the record extension's events
    const ServerTime time_;
    std::uint32_t context_ = 0;
    unsigned recordSequence_ = 0;
    bool mappingChanged_ = false;
    ScrollAxes axes_;
    platform::PointerInterpreter interpreter_;
    std::vector<Waiting> waiting_;  // in the order in which they arrived
    std::vector<WheelPress> wheelPresses_;
    double waitingSince_ = 0;  // host clock, seconds: when the first of them arrived
    UniqueDescriptor wake_;
    std::thread thread_;
};

}  // namespace lumivastor::x11
