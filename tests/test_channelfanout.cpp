// Which channels get which line, and when a removed channel may be destroyed.

#include "fedchannel.h"
#include "receiver.h"

#include <QtTest>

#include <future>

using namespace networksettings2g;

namespace {

QList<OutputTypeInfo> catalogueOf(const QByteArrayList &types)
{
    QList<OutputTypeInfo> catalogue;
    for (const QByteArray &type : types)
        catalogue << OutputTypeInfo{QString::fromLatin1(type), QString(), true};
    return catalogue;
}

} // namespace

class TestChannelFanOut : public QObject
{
    Q_OBJECT

private slots:
    void lineReachesTheChannelsThatTickItsType_data();
    void lineReachesTheChannelsThatTickItsType();
    void nothingPassesWhileRouterModeIsOff();
    void publishWaitsForReadersOfThePreviousTable();
};

void TestChannelFanOut::lineReachesTheChannelsThatTickItsType_data()
{
    QTest::addColumn<QByteArray>("ticked");
    QTest::addColumn<QByteArray>("offered");
    QTest::addColumn<bool>("arrives");

    QTest::newRow("the same type") << QByteArray("6d") << QByteArray("6d") << true;
    QTest::newRow("another type") << QByteArray("6d") << QByteArray("3d") << false;
    QTest::newRow("a longer type") << QByteArray("6d") << QByteArray("6df2") << false;
    QTest::newRow("a shorter type") << QByteArray("6df2") << QByteArray("6d") << false;
    QTest::newRow("another case") << QByteArray("6d") << QByteArray("6D") << false;
    QTest::newRow("the same first eight bytes")
        << QByteArray("12345678a") << QByteArray("12345678b") << false;
    QTest::newRow("a long type") << QByteArray("12345678b") << QByteArray("12345678b") << true;
    QTest::newRow("bytes above 127") << QByteArray("\xfc\xe4") << QByteArray("\xfc\xe4") << true;
    QTest::newRow("an empty type") << QByteArray("6d") << QByteArray("") << false;
}

void TestChannelFanOut::lineReachesTheChannelsThatTickItsType()
{
    QFETCH(const QByteArray, ticked);
    QFETCH(const QByteArray, offered);
    QFETCH(const bool, arrives);

    Receiver receiver;
    FedChannel channel(receiver.port());
    channel.setOutputTypes(catalogueOf({"fr", "12345678a", ticked}));
    for (const QByteArray &type : {QByteArray("fr"), QByteArray("12345678a"), ticked})
        channel.tick(type.constData(), true);
    channel.updateRouterActiveState(true);
    for (const char *number : {"1", "2"}) {
        channel.feed("fr", (QByteArray("fr ") + number + "\r\n").constData());
        channel.feed(offered.constData(), "offered\r\n");
    }
    QCOMPARE(receiver.next().count("offered"), arrives ? 2 : 0);
}

void TestChannelFanOut::nothingPassesWhileRouterModeIsOff()
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
    Receiver receiver;
    FedChannel channel(receiver.port());
    channel.updateRouterActiveState(true);
    const std::atomic<bool> isRouterActive{true};
    ChannelFanOut fanOut(isRouterActive);
    fanOut.publish({&channel});

    // A data thread that resets frames uses its table until the send ends.
    HeldSends sends;
    channel.feed("fr1 6d1 fr2 6d2");
    QVERIFY(sends.hold());
    std::future<void> reset = std::async(std::launch::async, [&fanOut] { fanOut.resetFrames(); });
    std::future<void> publish;
    bool readerIsAwaited = false;
    // A publication before the reader has entered does not wait for it, so try again with the same list.
    for (int attempt = 0; attempt < 200 && !readerIsAwaited; ++attempt) {
        publish = std::async(std::launch::async, [&fanOut, &channel] { fanOut.publish({&channel}); });
        readerIsAwaited = publish.wait_for(std::chrono::milliseconds(50)) == std::future_status::timeout;
    }
    std::future<void> delivery = std::async(std::launch::async, [&fanOut] { fanOut.deliver("gl", "gl 1"); });
    const bool delivered = delivery.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
    sends.release();
    QVERIFY(readerIsAwaited);
    QVERIFY(delivered);
    publish.get();
    reset.get();
    QCOMPARE(receiver.next(), bytesOf("fr1 6d1 fr2 6d2"));
    fanOut.publish({});
}

QTEST_GUILESS_MAIN(TestChannelFanOut)

#include "test_channelfanout.moc"
