// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/updates/updater.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTcpServer>
#include <QTcpSocket>
#include <functional>

#include "support/qt_await.h"
#include "support/temporary_folder.h"

namespace lumivastor::app {
namespace {

class UpdaterTest : public testing::Test {
  protected:
    UpdaterTest() {
        EXPECT_TRUE(server_.listen(QHostAddress::LocalHost));
        QObject::connect(&server_, &QTcpServer::newConnection, &server_, [this] {
            QTcpSocket* client = server_.nextPendingConnection();
            QObject::connect(client, &QTcpSocket::readyRead, client, [this, client] {
                ++asked_;
                client->write(answer_);
                if (fallsSilent_) return;
                if (!keepsTalking_) {
                    client->disconnectFromHost();
                    return;
                }
                QObject::connect(client, &QTcpSocket::bytesWritten, client, [this, client] {
                    sent_ += 65536;
                    client->write(QByteArray(65536, ' '));
                });
            });
        });
    }

    QUrl address(const QString& scheme = "http") const {
        return QUrl(QString("%1://127.0.0.1:%2/feed").arg(scheme).arg(server_.serverPort()));
    }
    void answer(const QByteArray& body, const QByteArray& status = "200 OK") {
        answer_ = "HTTP/1.1 " + status + "\r\nContent-Length: " + QByteArray::number(body.size()) +
                  "\r\nConnection: close\r\n\r\n" + body;
    }
    Updater::Outcome check(const std::string& current = "1.0") {
        Updater updater(address(), current);
        std::optional<Updater::Outcome> told;
        updater.check([&](const Updater::Outcome& outcome) { told = outcome; });
        EXPECT_TRUE(awaitInLoop([&] { return told.has_value(); }));
        return told.value_or(Updater::Outcome{});
    }

    int count_ = 1;
    char name_[5] = "test";
    char* words_[2] = {name_, nullptr};
    QCoreApplication application_{count_, words_};
    QTcpServer server_;
    QByteArray answer_;
    // After the answer, instead of ending it.
    bool keepsTalking_ = false;
    bool fallsSilent_ = false;
    int asked_ = 0;
    qint64 sent_ = 0;
};

constexpr const char* kFeed = R"({"releases": [{"version": "1.1", "url": "https://example.org/1.1"}]})";
constexpr const char* kUnreadable = "Die Liste der Updates konnte nicht gelesen werden.";

TEST_F(UpdaterTest, TellsOfANewerVersion) {
    answer(kFeed);
    EXPECT_EQ(check("1.0").newer, (Release{"1.1", "https://example.org/1.1"}));
    EXPECT_FALSE(check("1.1").newer);
    EXPECT_EQ(check("1.1").error, "");
    EXPECT_FALSE(check("2.0").newer);
}

TEST_F(UpdaterTest, AnErrorIsTold) {
    answer("nothing here", "404 Not Found");
    EXPECT_EQ(check().error, kUnreadable);
    answer("<html>");
    EXPECT_EQ(check().error, kUnreadable);
    answer_ = "HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n{\"releases\"";  // and the line drops
    EXPECT_EQ(check().error, kUnreadable);
    answer_ = QByteArray(1000, '\xff');
    EXPECT_EQ(check().error, kUnreadable);
    server_.close();
    EXPECT_EQ(check().error, kUnreadable);
}

TEST_F(UpdaterTest, AFeedWithoutAnEndIsCutOff) {
    answer_ = "HTTP/1.1 200 OK\r\n\r\n";
    keepsTalking_ = true;
    EXPECT_EQ(check().error, kUnreadable);
    EXPECT_LT(sent_, 16 << 20) << "what fits into the network's own buffers";
}

TEST_F(UpdaterTest, DoesNotFollowToOtherMachines) {
    answer_ = "HTTP/1.1 302 Found\r\nLocation: http://192.0.2.1/feed\r\nContent-Length: 0\r\n\r\n";
    EXPECT_EQ(check().error, kUnreadable);
    answer_ = "HTTP/1.1 302 Found\r\nLocation: file:///etc/hostname\r\nContent-Length: 0\r\n\r\n";
    EXPECT_EQ(check().error, kUnreadable);
}

TEST_F(UpdaterTest, EndsInTheMiddleWithoutAWord) {
    answer_ = "HTTP/1.1 200 OK\r\n\r\n{";
    fallsSilent_ = true;
    {
        Updater updater(address(), "1.0");
        updater.check([](const Updater::Outcome&) { FAIL(); });
        EXPECT_TRUE(awaitInLoop([&] { return asked_ > 0; }));
    }
    QCoreApplication::processEvents();
}

TEST(InstalledFeed, IsNamedByTheInstalledConfigurationOnly) {
    const TemporaryFolder prefix;
    const auto bin = prefix / "bin";
    EXPECT_FALSE(installedFeed(bin));
    prefix.write("share/lumivastor/lumivastor.conf", "# Updates\nUpdateFeedURL=https://example.org/feed.json\n");
    EXPECT_EQ(installedFeed(bin), QUrl("https://example.org/feed.json"));
    prefix.write("bin/lumivastor.conf", "UpdateFeedURL=https://example.org/other.json");
    EXPECT_EQ(installedFeed(bin), QUrl("https://example.org/other.json"));
}

TEST(InstalledFeed, IsReadSafelyOrNotAtAll) {
    for (const char* line : {"UpdateFeedURL=http://example.org/feed", "UpdateFeedURL=file:///etc/passwd",
                             "UpdateFeedURL=", "UpdateFeedURL=feed.json", " UpdateFeedURL=https://example.org/",
                             "OtherURL=https://example.org/"}) {
        const TemporaryFolder prefix;
        prefix.write("bin/lumivastor.conf", line);
        EXPECT_FALSE(installedFeed(prefix / "bin")) << line;
    }
    const TemporaryFolder prefix;
    prefix.write("bin/lumivastor.conf", "UpdateFeedURL=http://127.0.0.1:8080/feed");
    EXPECT_TRUE(installedFeed(prefix / "bin")) << "this machine itself";
}

}  // namespace
}  // namespace lumivastor::app
