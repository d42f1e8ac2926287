// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/session/abrupt_end.h"

#include <QString>
#include <QtGlobal>
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
    std::thread::id mainThread;
    QtMessageHandler before = nullptr;
};

Plan& plan() {
    // Never destroyed: the end of the program asks for it.
    static auto* const made = new Plan;
    return *made;
}

void finishAndEnd() {
    if (std::this_thread::get_id() != plan().mainThread) return;
    // Only once: what it does may fail in the same way.
    const auto finish = std::exchange(plan().finish, nullptr);
    if (!finish) return;
    Log::write("Capture", "Die Verbindung zum Bildschirm ist abgebrochen; das Programm endet");
    finish();
    Log::drain();
    std::_Exit(EXIT_FAILURE);
}

// The toolkit says so right before it ends the program. There nothing has been destroyed yet, which in a handler of
// `exit` is different: libraries that came later are gone by then, among them drivers that an encoder uses.
void watchMessages(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    if (plan().before != nullptr) plan().before(type, context, message);
    if (message.startsWith("The X11 connection broke")) finishAndEnd();
}

}  // namespace

AbruptEnd::AbruptEnd(std::function<void()> finish) {
    plan().finish = std::move(finish);
    plan().mainThread = std::this_thread::get_id();
    plan().before = qInstallMessageHandler(watchMessages);
    // Writing to a server that is gone must not end the program before it can notice.
    std::signal(SIGPIPE, SIG_IGN);  // NOLINT(cert-err33-c): cannot fail for this signal
    // For other ways to the same end, as a library below the toolkit has them.
    static std::once_flag registered;
    std::call_once(registered, [] { std::atexit(finishAndEnd); });
}

AbruptEnd::~AbruptEnd() {
    plan().finish = nullptr;
    qInstallMessageHandler(plan().before);
}

}  // namespace lumivastor::app
