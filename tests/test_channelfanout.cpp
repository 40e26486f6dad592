// Tests when lines and resets reach a channel, and when a removed channel may be destroyed. Which lines reach
// it is seen by test_framesagainstmodel.

#include "fedchannel.h"
#include "receiver.h"

#include <QtTest>

#include <future>

using namespace networksettings2g;

class TestChannelFanOut : public QObject
{
    Q_OBJECT

private slots:
    void noLineOrResetPassesWhileRouterModeIsOff();
    void publishWaitsForReadersOfThePreviousTable();
};

void TestChannelFanOut::noLineOrResetPassesWhileRouterModeIsOff()
{
    std::atomic<bool> isRouterActive{true};
    const auto fanOut = std::make_shared<ChannelFanOut>(isRouterActive);
    Receiver receiver;
    FedChannel channel(receiver.port(), fanOut, 0);
    fanOut->publish({&channel});
    channel.updateRouterActiveState(true);
    channel.feed("fr1 6d1 fr2");
    isRouterActive = false;
    channel.feed("fr90 6d90");
    fanOut->resetFrames();
    isRouterActive = true;
    channel.feed("6d2");
    QCOMPARE(receiver.next(), bytesOf("fr1 6d1 fr2 6d2"));
    fanOut->publish({});
}

void TestChannelFanOut::publishWaitsForReadersOfThePreviousTable()
{
    RunningChannel channel;
    const std::atomic<bool> isRouterActive{true};
    ChannelFanOut fanOut(isRouterActive);
    fanOut.publish({&channel});

    // A thread that resets frames waits for the blocked send and is a reader of its table until the send
    // ends.
    HeldSends sends;
    channel.feed("fr1 6d1 fr2 6d2");
    QVERIFY(sends.hold());
    std::future<void> reset = std::async(std::launch::async, [&fanOut] { fanOut.resetFrames(); });
    std::future<void> publish;
    bool readerIsAwaited = false;
    // publish() does not wait for a reader that has not registered yet, so repeat it until it has to wait.
    for (int attempt = 0; attempt < 200 && !readerIsAwaited; ++attempt) {
        publish = std::async(std::launch::async, [&fanOut, &channel] { fanOut.publish({&channel}); });
        readerIsAwaited = publish.wait_for(std::chrono::milliseconds(50)) == std::future_status::timeout;
    }
    // deliver() does not wait for publish().
    std::future<void> delivery = std::async(std::launch::async, [&fanOut] { fanOut.deliver("gl", "gl 1"); });
    const bool delivered = delivery.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
    sends.release();
    QVERIFY(readerIsAwaited);
    QVERIFY(delivered);
    publish.get();
    reset.get();
    QCOMPARE(channel.receiver.next(), bytesOf("fr1 6d1 fr2 6d2"));
    fanOut.publish({});
}

QTEST_GUILESS_MAIN(TestChannelFanOut)

#include "test_channelfanout.moc"
