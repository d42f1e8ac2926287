// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/session/dbus_sleep_inhibitor.h"

#include <QDBusConnection>
#include <QDBusInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusUnixFileDescriptor>
#include <QObject>
#include <optional>
#include <utility>

#include "base/log.h"

namespace lumivastor::app {

namespace {

constexpr const char* kSaver = "org.freedesktop.ScreenSaver";
constexpr const char* kSaverPath = "/org/freedesktop/ScreenSaver";
constexpr const char* kLogin = "org.freedesktop.login1";
constexpr const char* kLoginPath = "/org/freedesktop/login1";
constexpr const char* kLoginManager = "org.freedesktop.login1.Manager";

QDBusMessage call(const char* service, const char* path, const char* interface, const char* method,
                  const QVariantList& arguments) {
    QDBusMessage message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setArguments(arguments);
    // Do not start a service for this.
    message.setAutoStartService(false);
    return message;
}

}  // namespace

// The replies arrive later; destruction ends the granted inhibitions.
class DBusSleepInhibitor::Asked final : public Hold {
  public:
    Asked(const QString& reason, std::function<void(const QString&)> missing) : missing_(std::move(missing)) {
        ask(QDBusConnection::sessionBus(), call(kSaver, kSaverPath, kSaver, "Inhibit", {"LumiVastor", reason}),
            [this](const QDBusMessage& answer) { cookie_ = answer.arguments().value(0).toUInt(); });
        ask(QDBusConnection::systemBus(),
            call(kLogin, kLoginPath, kLoginManager, "Inhibit", {"sleep:idle", "LumiVastor", reason, "block"}),
            [this](const QDBusMessage& answer) {
                descriptor_ = qvariant_cast<QDBusUnixFileDescriptor>(answer.arguments().value(0));
            });
    }
    ~Asked() override {
        // Closing the descriptor releases the login manager's lock.
        if (!cookie_) return;
        QDBusConnection::sessionBus().call(call(kSaver, kSaverPath, kSaver, "UnInhibit", {*cookie_}), QDBus::NoBlock);
    }
    Asked(const Asked&) = delete;
    Asked& operator=(const Asked&) = delete;

  private:
    void ask(const QDBusConnection& bus, const QDBusMessage& question,
             std::function<void(const QDBusMessage&)> granted) {
        if (!bus.isConnected()) {
            missing_(question.service() + ": kein D-Bus");
            return;
        }
        auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(question), &context_);
        QObject::connect(watcher, &QDBusPendingCallWatcher::finished, &context_,
                         [this, watcher, service = question.service(), granted = std::move(granted)] {
                             watcher->deleteLater();
                             if (watcher->isError()) {
                                 missing_(service + ": " + watcher->error().message());
                             } else {
                                 granted(watcher->reply());
                             }
                         });
    }

    const std::function<void(const QString&)> missing_;
    std::optional<unsigned> cookie_;
    QDBusUnixFileDescriptor descriptor_;
    QObject context_;  // last: no reply arrives after its destruction
};

DBusSleepInhibitor::DBusSleepInhibitor() = default;
DBusSleepInhibitor::~DBusSleepInhibitor() = default;

std::unique_ptr<SleepInhibitor::Hold> DBusSleepInhibitor::inhibit(const std::string& reason) {
    return std::make_unique<Asked>(QString::fromStdString(reason), [this](const QString& what) {
        if (std::exchange(hasNoted_, true)) return;
        Log::write("Capture", "Ruhezustand nicht überall aufzuhalten: " + what.toStdString());
    });
}

}  // namespace lumivastor::app
