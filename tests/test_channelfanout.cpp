// Tests which lines reach a channel, and when a removed channel may be destroyed.

#include "fedchannel.h"
#include "receiver.h"
#include "table.h"

#include <future>

using namespace networksettings2g;

class TestChannelFanOut : public QObject
{
    Q_OBJECT

private slots:
    void lineReachesOnlyTheChannelsThatTickItsType_data();
    void lineReachesOnlyTheChannelsThatTickItsType();
    void noLineOrResetPassesWhileRouterModeIsOff();
    void publishWaitsForReadersOfThePreviousTable();
};

void TestChannelFanOut::lineReachesOnlyTheChannelsThatTickItsType_data()
{
    // The name of a row compares the type of the offered line with the ticked type.
    const Table<QByteArray, QByteArray, bool> row("ticked", "offered", "arrives");
    row("the same type", "6d", "6d", true);
    row("another type", "6d", "3d", false);
    row("a longer type", "6d", "6df2", false);
    row("a shorter type", "6df2", "6d", false);
    row("another case", "6d", "6D", false);
    row("another type with the same first eight bytes", "12345678a", "12345678b", false);
    row("the same type, longer than eight bytes", "12345678b", "12345678b", true);
    row("the same type, bytes above 127", "\xfc\xe4", "\xfc\xe4", true);
    row("an empty type", "6d", "", false);
}

void TestChannelFanOut::lineReachesOnlyTheChannelsThatTickItsType()
{
    QFETCH(const QByteArray, ticked);
    QFETCH(const QByteArray, offered);
    QFETCH(const bool, arrives);

    RunningChannel channel;
    const QByteArrayList types{"fr", "12345678a", ticked};
    channel.setCatalogue(types);
    for (const QByteArray &type : types)
        channel.tick(type.constData(), true);
    for (const char *number : {"1", "2"}) {
        channel.feed("fr", (QByteArray("fr ") + number + "\r\n").constData());
        channel.feed(offered.constData(), "offered\r\n");
    }
    // The first datagram contains both frames, because the length of a frame is known only when the next one
    // opens.
    QCOMPARE(channel.receiver.next().count("offered"), arrives ? 2 : 0);
}

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
