#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <thread>
#include <vector>

#include "base/unique_descriptor.h"
#include "platform/pointer_monitor.h"
#include "platform/x11/pointer_interpreter.h"
#include "platform/x11/server_time.h"
#include "platform/x11/x_connection.h"

namespace lumivastor {

/// Watches the pointer on a thread of its own, over two connections: one that the server's record extension fills with
/// what all devices did, with positions in the whole desktop, and one for the input extension's raw events, which alone
/// tell smooth scrolling. Both carry the server's times, by which they are put into one order.
class X11PointerMonitor : public PointerMonitor {
  public:
    /// Everything that the pointer does after this returned is told. Throws `RecorderError` when the server does not
    /// let programs watch the pointer.
    X11PointerMonitor(const std::string& displayName, const PointSpace& space, PointerEventHandler handler);
    ~X11PointerMonitor() override;
    X11PointerMonitor(const X11PointerMonitor&) = delete;
    X11PointerMonitor& operator=(const X11PointerMonitor&) = delete;

  private:
    struct Waiting {
        std::uint32_t serverTime = 0;
        RawPointerEvent event;
        bool isWheel = false;  // a press of a button that may be a wheel's
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
    void flushUntil(double hostSeconds);
    void tell(const Waiting& waiting);

    const PointerEventHandler handler_;
    XConnection control_;  // requests and raw events
    XConnection data_;     // what is recorded
    const ServerTime time_;
    std::uint32_t context_ = 0;
    unsigned recordSequence_ = 0;
    bool hasRaw_ = false;
    bool mappingChanged_ = false;
    ScrollAxes axes_;
    PointerInterpreter interpreter_;
    std::vector<Waiting> waiting_;
    UniqueDescriptor wake_;
    std::thread thread_;
};

}  // namespace lumivastor
