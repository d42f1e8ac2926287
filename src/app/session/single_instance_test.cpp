// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/session/single_instance.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QLocalSocket>
#include <atomic>
#include <functional>
#include <thread>
#include <vector>

#include "support/temporary_folder.h"

namespace lumivastor::app {
namespace {

class SingleInstanceTest : public testing::Test {
  protected:
    // Works for the first instance while `other` runs as a later program does, on a thread of its own.
    void whileServing(const std::function<void()>& other) {
        std::atomic<bool> ended = false;
        std::thread thread([&] {
            other();
            ended = true;
        });
        while (!ended) QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        thread.join();
        QCoreApplication::processEvents();
    }

    // Sends bytes of another program to the first instance.
    void send(const QByteArray& bytes) {
        QLocalSocket socket;
        socket.connectToServer(QString::fromStdString((folder_ / "lumivastor-test.socket").string()));
        ASSERT_TRUE(socket.waitForConnected(5000));
        socket.write(bytes);
        socket.waitForBytesWritten(1000);
        socket.waitForDisconnected(5000);
    }

    int count_ = 1;
    char name_[5] = "test";
    char* words_[2] = {name_, nullptr};
    QCoreApplication application_{count_, words_};
    TemporaryFolder folder_;
};

TEST_F(SingleInstanceTest, LaterStartsHandOverWhatTheyWereAskedFor) {
    SingleInstance first(folder_.path(), "lumivastor-test");
    ASSERT_TRUE(first.isFirst());
    std::vector<SingleInstance::Request> requests;
    first.onRequest = [&](const SingleInstance::Request& request) { requests.push_back(request); };
    whileServing([this] {
        SingleInstance second(folder_.path(), "lumivastor-test");
        EXPECT_FALSE(second.isFirst());
        EXPECT_TRUE(second.handOver({}));
        EXPECT_TRUE(second.handOver({"/videos/Übung 1\nmit Umbruch"}));
        EXPECT_TRUE(second.handOver({{}, true}));
    });
    const std::vector<SingleInstance::Request> expected = {{}, {"/videos/Übung 1\nmit Umbruch"}, {{}, true}};
    EXPECT_EQ(requests, expected);
}

TEST_F(SingleInstanceTest, TheNextIsFirstWhenTheFirstHasGone) {
    { const SingleInstance first(folder_.path(), "lumivastor-test"); }
    const SingleInstance next(folder_.path(), "lumivastor-test");
    EXPECT_TRUE(next.isFirst());
}

TEST_F(SingleInstanceTest, WhatACrashedProgramLeftBehindIsNoObstacle) {
    // A lock without a holder, and a socket without a listener.
    folder_.write("lumivastor-test.lock", "");
    folder_.write("lumivastor-test.socket", "");
    const SingleInstance first(folder_.path(), "lumivastor-test");
    EXPECT_TRUE(first.isFirst());
}

TEST_F(SingleInstanceTest, WhereNothingCanBeWrittenEverybodyIsTheFirst) {
    const SingleInstance first(folder_ / "missing", "lumivastor-test");
    const SingleInstance second(folder_ / "missing", "lumivastor-test");
    EXPECT_TRUE(first.isFirst() && second.isFirst());
}

TEST_F(SingleInstanceTest, AnotherDisplayIsAnotherProgram) {
    const SingleInstance first(folder_.path(), instanceName(":0"));
    const SingleInstance other(folder_.path(), instanceName(":1"));
    EXPECT_TRUE(first.isFirst() && other.isFirst());
    EXPECT_EQ(instanceName("../:0/x").count('/'), 0);
}

TEST_F(SingleInstanceTest, TheSameDisplayByAnotherNameIsTheSameProgram) {
    for (const char* name : {":1.0", "unix:1", "unix/:1", "unix:1.0"}) {
        EXPECT_EQ(instanceName(name), instanceName(":1")) << name;
    }
    for (const char* name : {":1.1", ":10", ":10.0", ":11.0", "localhost:1", "localhost:1.0", ""}) {
        EXPECT_NE(instanceName(name), instanceName(":1")) << name;
    }
    EXPECT_EQ(instanceName("localhost:1.0"), instanceName("localhost:1"));
}

TEST_F(SingleInstanceTest, WhatIsNoRequestIsIgnored) {
    SingleInstance first(folder_.path(), "lumivastor-test");
    int requests = 0;
    first.onRequest = [&](const SingleInstance::Request&) { ++requests; };
    whileServing([this] {
        send(QByteArray("hello\0", 6));
        send(QByteArray("edit relative/path\0", 19));
        send(QByteArray("edit \0", 6));
        send(QByteArray(100'000, 'x'));
    });
    EXPECT_EQ(requests, 0);
}

TEST_F(SingleInstanceTest, AFirstThatDoesNotAnswerIsNotWaitedForForever) {
    const SingleInstance first(folder_.path(), "lumivastor-test");
    const SingleInstance second(folder_.path(), "lumivastor-test");
    // The first one's loop does not run here.
    EXPECT_FALSE(second.handOver({}));
}

}  // namespace
}  // namespace lumivastor::app
