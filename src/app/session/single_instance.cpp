// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/session/single_instance.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QLocalSocket>
#include <QRegularExpression>
#include <QTimer>

#include "base/log.h"

namespace lumivastor::app {

namespace {

// Longer than any valid path.
constexpr qint64 kLongestRequest = 8 * 1024;
constexpr int kAnswerMilliseconds = 5'000;
// The requests. A path follows `kEdit`; each request ends with a byte that no path contains.
constexpr char kShow[] = "show";
constexpr char kChoose[] = "choose";
constexpr char kEdit[] = "edit ";
constexpr char kEnd = '\0';
constexpr char kTaken[] = "taken";

QString pathOf(const std::filesystem::path& folder, const QString& name, const char* ending) {
    return QString::fromStdString((folder / (name.toStdString() + ending)).string());
}

// nullopt when the bytes are no request.
std::optional<SingleInstance::Request> parsed(const QByteArray& request) {
    if (request == kShow) return SingleInstance::Request{};
    if (request == kChoose) return SingleInstance::Request{{}, true};
    if (!request.startsWith(kEdit)) return std::nullopt;
    const std::filesystem::path folder = request.mid(static_cast<qsizetype>(sizeof kEdit) - 1).toStdString();
    if (!folder.is_absolute()) return std::nullopt;
    return SingleInstance::Request{folder};
}

QByteArray written(const SingleInstance::Request& request) {
    if (request.folder) return QByteArray(kEdit) + QByteArray::fromStdString(request.folder->string());
    return request.choosesFolder ? kChoose : kShow;
}

}  // namespace

SingleInstance::SingleInstance(const std::filesystem::path& folder, const QString& name)
    : socketPath_(pathOf(folder, name, ".socket")),
      lock_(::open(QFile::encodeName(pathOf(folder, name, ".lock")).constData(),
                   O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600)) {
    if (!lock_.isOpen()) {
        Log::write("Capture", "Ein zweiter Start wird nicht erkannt: " + folder.string() + " ist nicht beschreibbar");
        return;
    }
    isFirst_ = ::flock(lock_.get(), LOCK_EX | LOCK_NB) == 0;
    if (isFirst_) listen();
}

SingleInstance::~SingleInstance() = default;

void SingleInstance::listen() {
    // The socket of an instance that crashed.
    QLocalServer::removeServer(socketPath_);
    server_ = std::make_unique<QLocalServer>();
    server_->setSocketOptions(QLocalServer::UserAccessOption);
    if (!server_->listen(socketPath_)) {
        Log::write("Capture", "Spätere Starts werden nicht gehört: " + server_->errorString().toStdString());
    }
    QObject::connect(server_.get(), &QLocalServer::newConnection, server_.get(), [this] {
        while (QLocalSocket* client = server_->nextPendingConnection()) serve(*client);
    });
}

void SingleInstance::serve(QLocalSocket& client) {
    QObject::connect(&client, &QLocalSocket::disconnected, &client, &QObject::deleteLater);
    // Drops a client that sends nothing.
    QTimer::singleShot(kAnswerMilliseconds, &client, [&client] { client.abort(); });
    const auto read = [this, &client] {
        const QByteArray waiting = client.peek(kLongestRequest);
        const qsizetype end = waiting.indexOf(kEnd);
        if (end < 0) {
            if (waiting.size() >= kLongestRequest) client.abort();
            return;
        }
        const auto request = parsed(client.read(end + 1).chopped(1));
        if (!request) {
            client.abort();
            return;
        }
        client.write(kTaken);
        client.disconnectFromServer();
        if (onRequest) onRequest(*request);
    };
    QObject::connect(&client, &QLocalSocket::readyRead, &client, read);
    if (client.bytesAvailable() > 0) read();
}

bool SingleInstance::handOver(const Request& request) const {
    QLocalSocket socket;
    socket.connectToServer(socketPath_);
    if (!socket.waitForConnected(kAnswerMilliseconds)) return false;
    QByteArray bytes = written(request);
    bytes.append(kEnd);
    socket.write(bytes);
    QByteArray answer;
    while (answer.size() < static_cast<qsizetype>(sizeof kTaken) - 1 && socket.waitForReadyRead(kAnswerMilliseconds)) {
        answer += socket.readAll();
    }
    return answer == kTaken;
}

std::filesystem::path instanceFolder() {
    const QByteArray runtime = qgetenv("XDG_RUNTIME_DIR");
    return runtime.isEmpty() ? QDir::tempPath().toStdString() : runtime.toStdString();
}

QString instanceName(const QString& display) {
    static const QRegularExpression kUnusual("[^A-Za-z0-9.]");
    // A name without a screen means the server's first screen, one without a host this machine's socket. A host name,
    // even this machine's own, uses another connection that may lead to another display.
    static const QRegularExpression kFirstScreen("(:[0-9]+)\\.0+$");
    static const QRegularExpression kThisMachine("^unix/?:");
    QString name = display;
    name.replace(kFirstScreen, "\\1").replace(kThisMachine, ":");
    return QString("lumivastor-%1-%2").arg(getuid()).arg(name.replace(kUnusual, "_"));
}

}  // namespace lumivastor::app
