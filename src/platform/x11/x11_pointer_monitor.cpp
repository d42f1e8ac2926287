// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/x11_pointer_monitor.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <xcb/record.h>
#include <xcb/xcb.h>
#include <xcb/xcbext.h>
#include <xcb/xinput.h>

#include <algorithm>
#include <bit>
#include <cstring>

#include "base/host_clock.h"
#include "base/log.h"
#include "base/recorder_error.h"
#include "base/thread_name.h"

namespace lumivastor::x11 {
namespace {

// Seconds for which events are gathered before they are reported: making sure that nothing earlier is missing takes two
// replies of the server, too many for each of a thousand events a second. The events' times are not affected.
constexpr double kGather = 0.005;
// How long the server may take to begin recording.
constexpr int kBeginMilliseconds = 5000;
// The flag of raw events that the server derives from smooth scrolling.
constexpr std::uint32_t kEmulated = XCB_INPUT_POINTER_EVENT_FLAGS_POINTER_EMULATED;

// The difference of two times is small, also where the counter wraps.
bool isEarlier(std::uint32_t a, std::uint32_t b) {
    return static_cast<std::int32_t>(a - b) < 0;
}

double fixed(const xcb_input_fp3232_t& value) {
    return value.integral + value.frac / 4294967296.0;
}

// The server's time now: it stamps the change of a property of a window of ours.
ServerTime measureTime(const XConnection& connection) {
    const BrokenPipeGuard guard;
    const std::uint32_t window = connection.makeId();
    const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, connection.root(), 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &events);
    const double before = hostClockSeconds();
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, connection.atom(XAtom::timeProbe), XCB_ATOM_INTEGER,
                        8, 0, nullptr);
    // A reply to a later request: the event precedes it in the queue.
    connection.waitForServer();
    const double after = hostClockSeconds();
    std::uint32_t time = 0;
    bool isKnown = false;
    while (const XEvent event = connection.nextEvent()) {
        if (event.type() != XCB_PROPERTY_NOTIFY) continue;
        time = event.as<xcb_property_notify_event_t>().time;
        isKnown = true;
    }
    xcb_destroy_window(connection, window);
    if (!isKnown) throw RecorderError("Der Bildschirm antwortet nicht.");
    return {time, before, after};
}

}  // namespace

X11PointerMonitor::X11PointerMonitor(const std::string& displayName, const platform::PointSpace& space,
                                     platform::PointerEventHandler handler)
    : handler_(std::move(handler)),
      control_(displayName),
      data_(displayName),
      time_(measureTime(control_)),
      interpreter_(space),
      wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    const BrokenPipeGuard guard;
    if (!control_.hasRecord()) {
        throw RecorderError(
            "Dem Bildschirmserver fehlt die Erweiterung RECORD, ohne die sich der Mauszeiger nicht verfolgen lässt.");
    }
    if (!wake_.isOpen()) throw RecorderError("Der Mauszeiger lässt sich nicht verfolgen: zu viele offene Dateien.");
    if (control_.inputOpcode() != 0) selectRawEvents();
    readMapping();
    beginState();
    beginRecord();
    thread_ = std::thread([this] { run(); });
}

X11PointerMonitor::~X11PointerMonitor() {
    eventfd_write(wake_.get(), 1);
    thread_.join();
}

void X11PointerMonitor::beginRecord() {
    context_ = control_.makeId();
    const xcb_record_client_spec_t everybody = XCB_RECORD_CS_ALL_CLIENTS;
    xcb_record_range_t range{};
    range.device_events = {XCB_BUTTON_PRESS, XCB_MOTION_NOTIFY};
    const XOwned<xcb_generic_error_t> error(xcb_request_check(
        control_, xcb_record_create_context_checked(control_, context_, 0, 1, 1, &everybody, &range)));
    if (error || control_.isBroken()) throw RecorderError("Der Bildschirmserver lässt den Mauszeiger nicht verfolgen.");
    recordSequence_ = xcb_record_enable_context(data_, context_).sequence;
    data_.flush();
    // The first reply confirms that recording has begun.
    pollfd readable{xcb_get_file_descriptor(data_), POLLIN, 0};
    void* reply = nullptr;
    xcb_generic_error_t* failure = nullptr;
    const double until = hostClockSeconds() + kBeginMilliseconds / 1000.0;
    while (xcb_poll_for_reply(data_, recordSequence_, &reply, &failure) == 0) {
        if (data_.isBroken() || hostClockSeconds() > until) break;
        poll(&readable, 1, 100);
    }
    const bool hasBegun = reply != nullptr;
    std::free(reply);
    std::free(failure);
    if (!hasBegun) throw RecorderError("Der Bildschirmserver lässt den Mauszeiger nicht verfolgen.");
}

void X11PointerMonitor::selectRawEvents() {
    struct Selection {
        xcb_input_event_mask_t head;
        std::uint32_t mask;
    };
    // Hierarchy changes can be selected for all devices only, raw events for the master devices: two requests.
    const Selection raw{{XCB_INPUT_DEVICE_ALL_MASTER, 1},
                        XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_MOTION};
    const Selection devices{{XCB_INPUT_DEVICE_ALL, 1}, XCB_INPUT_XI_EVENT_MASK_HIERARCHY};
    for (const Selection* selection : {&raw, &devices}) {
        const XOwned<xcb_generic_error_t> refused(xcb_request_check(
            control_, xcb_input_xi_select_events_checked(control_, control_.root(), 1, &selection->head)));
        // Without raw events, wheels are known by their buttons alone.
        if (refused) Log::write("Pointer", "Rohereignisse lassen sich nicht verfolgen");
    }
    readScrollAxes();
}

void X11PointerMonitor::readScrollAxes() {
    axes_.clear();
    const auto reply =
        xReply(control_, xcb_input_xi_query_device_reply, xcb_input_xi_query_device(control_, XCB_INPUT_DEVICE_ALL));
    if (!reply) return;
    for (auto device = xcb_input_xi_query_device_infos_iterator(reply.get()); device.rem > 0;
         xcb_input_xi_device_info_next(&device)) {
        std::vector<ScrollAxes::Axis> axes;
        for (auto one = xcb_input_xi_device_info_classes_iterator(device.data); one.rem > 0;
             xcb_input_device_class_next(&one)) {
            if (one.data->type != XCB_INPUT_DEVICE_CLASS_TYPE_SCROLL) continue;
            const auto* scroll = reinterpret_cast<const xcb_input_scroll_class_t*>(one.data);
            axes.push_back(
                {scroll->number, scroll->scroll_type == XCB_INPUT_SCROLL_TYPE_HORIZONTAL, fixed(scroll->increment)});
        }
        axes_.setDevice(device.data->deviceid, std::move(axes));
    }
}

void X11PointerMonitor::readMapping() {
    mappingChanged_ = false;
    const auto reply = xReply(control_, xcb_get_pointer_mapping_reply, xcb_get_pointer_mapping(control_));
    if (!reply) return;
    const auto* map = xcb_get_pointer_mapping_map(reply.get());
    interpreter_.setMapping({map, map + xcb_get_pointer_mapping_map_length(reply.get())});
}

void X11PointerMonitor::beginState() {
    const auto reply = xReply(control_, xcb_query_pointer_reply, xcb_query_pointer(control_, control_.root()));
    if (!reply) return;
    std::vector<int> held;
    const std::pair<int, int> buttons[] = {{XCB_BUTTON_MASK_1, 1}, {XCB_BUTTON_MASK_2, 2}, {XCB_BUTTON_MASK_3, 3}};
    for (const auto& [mask, button] : buttons) {
        if ((reply->mask & mask) != 0) held.push_back(button);
    }
    interpreter_.begin({static_cast<double>(reply->root_x), static_cast<double>(reply->root_y)}, held);
}

void X11PointerMonitor::run() {
    nameThisThread("x11.pointer");
    const BrokenPipeGuard guard;
    for (;;) {
        // Events that the library read while it waited for a reply do not make the descriptor readable.
        const bool isRecording = readRecord();
        readRaw();
        const bool hasWaiting = !waiting_.empty();
        if (hasWaiting && hostClockSeconds() - waitingSince_ >= kGather) {
            settle();
            continue;
        }
        if (!isRecording || control_.isBroken() || !wait(hasWaiting)) break;
    }
    if (!waiting_.empty()) settle();
}

// False when the monitor is to end.
bool X11PointerMonitor::wait(bool hasWaiting) {
    control_.flush();
    pollfd sources[] = {{wake_.get(), POLLIN, 0},
                        {xcb_get_file_descriptor(control_), POLLIN, 0},
                        {xcb_get_file_descriptor(data_), POLLIN, 0}};
    poll(sources, std::size(sources), hasWaiting ? static_cast<int>(kGather * 1000) : -1);
    return (sources[0].revents & POLLIN) == 0;
}

// Reports what has arrived. The server writes to its clients in turn, so an event may arrive while an earlier one is
// still on its way over the other connection. At the first reply both events have been generated, at the second both
// have been written.
void X11PointerMonitor::settle() {
    const std::uint32_t last =
        std::max_element(waiting_.begin(), waiting_.end(), [](const Waiting& a, const Waiting& b) {
            return isEarlier(a.serverTime, b.serverTime);
        })->serverTime;
    for (int i = 0; i < 2; ++i) control_.waitForServer();
    readRecord();
    readRaw();
    if (mappingChanged_) readMapping();
    tellUntil(last);
}

// False when recording has ended.
bool X11PointerMonitor::readRecord() {
    for (;;) {
        void* answer = nullptr;
        xcb_generic_error_t* failure = nullptr;
        if (xcb_poll_for_reply(data_, recordSequence_, &answer, &failure) == 0) return !data_.isBroken();
        const XOwned<xcb_record_enable_context_reply_t> reply(static_cast<xcb_record_enable_context_reply_t*>(answer));
        std::free(failure);
        if (!reply) return false;
        // Category 0 holds the devices' events; the others mark beginning and end.
        if (reply->category != 0) continue;
        takeRecorded(xcb_record_enable_context_data(reply.get()), xcb_record_enable_context_data_length(reply.get()));
    }
}

void X11PointerMonitor::takeRecorded(const std::uint8_t* data, int size) {
    constexpr int kEventSize = 32;
    const double now = hostClockSeconds();
    for (; size >= kEventSize; data += kEventSize, size -= kEventSize) {
        xcb_button_press_event_t event;  // motion has the same form
        static_assert(sizeof event == kEventSize);
        std::memcpy(&event, data, kEventSize);
        Waiting waiting;
        waiting.serverTime = event.time;
        waiting.event.hostSeconds = time_.hostSeconds(event.time, now);
        waiting.event.pixel = Point{static_cast<double>(event.root_x), static_cast<double>(event.root_y)};
        waiting.event.button = event.detail;
        switch (event.response_type & 0x7f) {
            case XCB_BUTTON_PRESS:
                waiting.event.kind = platform::RawPointerEvent::Kind::press;
                break;
            case XCB_BUTTON_RELEASE:
                waiting.event.kind = platform::RawPointerEvent::Kind::release;
                break;
            case XCB_MOTION_NOTIFY:
                waiting.event.kind = platform::RawPointerEvent::Kind::motion;
                break;
            default:
                continue;
        }
        await(waiting, now);
    }
}

void X11PointerMonitor::readRaw() {
    while (const XEvent event = control_.nextEvent()) handleRaw(event);
}

void X11PointerMonitor::handleRaw(const XEvent& event) {
    if (event.type() == XCB_MAPPING_NOTIFY) {
        if (event.as<xcb_mapping_notify_event_t>().request == XCB_MAPPING_POINTER) {
            mappingChanged_ = true;
        }
        return;
    }
    if (event.type() != XCB_GE_GENERIC) return;
    const auto& head = event.as<xcb_ge_generic_event_t>();
    if (head.extension != control_.inputOpcode()) return;
    if (head.event_type == XCB_INPUT_HIERARCHY) {
        readScrollAxes();
        return;
    }
    const auto& raw = event.as<xcb_input_raw_button_press_event_t>();
    const double now = hostClockSeconds();
    Waiting waiting;
    waiting.serverTime = raw.time;
    waiting.event.hostSeconds = time_.hostSeconds(raw.time, now);
    if (head.event_type == XCB_INPUT_RAW_BUTTON_PRESS) {
        wheelPresses_.push_back({raw.time, static_cast<int>(raw.detail & 0xff), (raw.flags & kEmulated) != 0});
        return;
    }
    if (head.event_type != XCB_INPUT_RAW_MOTION) return;
    if (!axes_.knows(raw.sourceid)) readScrollAxes();
    std::vector<std::pair<int, double>> valuators;
    const std::uint32_t* mask = xcb_input_raw_button_press_valuator_mask(&raw);
    const xcb_input_fp3232_t* values = xcb_input_raw_button_press_axisvalues_raw(&raw);
    int next = 0;
    for (int word = 0; word < raw.valuators_len; ++word) {
        for (std::uint32_t bits = mask[word]; bits != 0; bits &= bits - 1) {
            valuators.emplace_back(word * 32 + std::countr_zero(bits), fixed(values[next++]));
        }
    }
    const auto [right, down] = axes_.notches(raw.sourceid, valuators);
    if (right == 0 && down == 0) return;
    waiting.event.kind = platform::RawPointerEvent::Kind::scroll;
    waiting.event.notchesX = -right;
    waiting.event.notchesY = -down;
    await(waiting, now);
}

void X11PointerMonitor::await(const Waiting& waiting, double now) {
    if (waiting_.empty()) waitingSince_ = now;
    waiting_.push_back(waiting);
}

void X11PointerMonitor::tellUntil(std::uint32_t serverTime) {
    std::stable_sort(waiting_.begin(), waiting_.end(),
                     [](const Waiting& a, const Waiting& b) { return isEarlier(a.serverTime, b.serverTime); });
    const auto later = std::find_if(waiting_.begin(), waiting_.end(),
                                    [&](const Waiting& one) { return isEarlier(serverTime, one.serverTime); });
    std::for_each(waiting_.begin(), later, [this](const Waiting& one) { tell(one); });
    waiting_.erase(waiting_.begin(), later);
    waitingSince_ = hostClockSeconds();
    std::erase_if(wheelPresses_, [&](const WheelPress& one) { return !isEarlier(serverTime, one.serverTime); });
}

void X11PointerMonitor::tell(const Waiting& waiting) {
    if (waiting.event.kind == platform::RawPointerEvent::Kind::press) {
        if (auto wheel = interpreter_.wheelPress(waiting.event.button, waiting.event.hostSeconds)) {
            if (isEmulated(waiting)) return;
            wheel->pixel = waiting.event.pixel;
            if (const auto event = interpreter_.interpret(*wheel)) handler_(*event);
            return;
        }
    }
    if (const auto event = interpreter_.interpret(waiting.event)) handler_(*event);
}

bool X11PointerMonitor::isEmulated(const Waiting& press) const {
    return std::any_of(wheelPresses_.begin(), wheelPresses_.end(), [&](const WheelPress& one) {
        return one.isEmulated && one.serverTime == press.serverTime && one.button == press.event.button;
    });
}

}  // namespace lumivastor::x11
