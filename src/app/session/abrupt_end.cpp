// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/session/abrupt_end.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QString>
#include <QtGlobal>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <mutex>
#include <thread>
#include <utility>

#include "base/log.h"

namespace lumivastor::app {

namespace {

struct Plan {
    std::function<void()> finish;
    std::atomic<bool> isArmed = false;  // `finish` is to run
    std::thread::id mainThread;
    QtMessageHandler before = nullptr;
};

Plan& plan() {
    // Never destroyed, because it is used while the program ends.
    static auto* const made = new Plan;
    return *made;
}

void finishAndEnd() {
    if (std::this_thread::get_id() != plan().mainThread) return;
    // Only once, because `finish` may run into the same error.
    const auto finish = std::exchange(plan().finish, nullptr);
    if (!finish) return;
    Log::write("Capture", "Die Verbindung zum Bildschirm ist abgebrochen; das Programm endet");
    finish();
    Log::drain();
    std::_Exit(EXIT_FAILURE);
}

// The toolkit's own thread for a Wayland connection ends the program as well. It waits here, so that the main thread
// can finish first.
void finishOnMainThread() {
    if (!plan().isArmed) return;
    QMetaObject::invokeMethod(QCoreApplication::instance(), finishAndEnd, Qt::QueuedConnection);
    for (;;) std::this_thread::sleep_for(std::chrono::hours(1));
}

// The toolkit logs this message right before it ends the program. Nothing has been destroyed at that point. In a
// handler of `exit`, libraries that were loaded later are gone, among them drivers that an encoder uses.
void watchMessages(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    if (plan().before != nullptr) plan().before(type, context, message);
    for (const char* lost : {"The X11 connection broke", "The Wayland connection broke",
                             "The Wayland connection experienced a fatal error"}) {
        if (!message.startsWith(lost)) continue;
        if (std::this_thread::get_id() == plan().mainThread) {
            finishAndEnd();
        } else {
            finishOnMainThread();
        }
    }
}

}  // namespace

AbruptEnd::AbruptEnd(std::function<void()> finish) {
    plan().finish = std::move(finish);
    plan().mainThread = std::this_thread::get_id();
    plan().isArmed = true;
    plan().before = qInstallMessageHandler(watchMessages);
    // Writing to a lost server must not end the program before the toolkit notices.
    std::signal(SIGPIPE, SIG_IGN);  // NOLINT(cert-err33-c): cannot fail for this signal
    // For libraries below the toolkit that call `exit` themselves.
    static std::once_flag registered;
    std::call_once(registered, [] { std::atexit(finishAndEnd); });
}

AbruptEnd::~AbruptEnd() {
    plan().isArmed = false;
    plan().finish = nullptr;
    qInstallMessageHandler(plan().before);
}

}  // namespace lumivastor::app
