// What a support engineer is told of a channel, and when.

#include "fedchannel.h"
#include "receiver.h"

#include <QLoggingCategory>
#include <QtTest>

#include <mutex>

namespace {

std::mutex mutex;
QStringList told;                      // under mutex
std::atomic<FedChannel *> resetByThis; // a message is answered by a reset on another thread

void keepMessage(QtMsgType /*type*/, const QMessageLogContext &context, const QString &text)
{
    if (qstrcmp(context.category, "networksettings.router") != 0)
        return;
    if (FedChannel *channel = resetByThis.exchange(nullptr))
        std::thread([channel] { channel->resetFrame(); }).join();
    const std::lock_guard<std::mutex> guard(mutex);
    told << text;
}

QStringList takeTold()
{
    const std::lock_guard<std::mutex> guard(mutex);
    return std::exchange(told, {});
}

bool isTold(const QString &text)
{
    const std::lock_guard<std::mutex> guard(mutex);
    return told.contains("channel 1: " + text);
}

} // namespace

class TestRouterLog : public QObject
{
    Q_OBJECT

private slots:
    void init() { qInstallMessageHandler(keepMessage); }
    void cleanup();
    void silentUnlessSwitchedOn();
    void onceASecond();
    void reasons_data();
    void reasons();
    void handlerMayWaitForReset();
};

void TestRouterLog::cleanup()
{
    qInstallMessageHandler(nullptr);
    QLoggingCategory::setFilterRules({});
    takeTold();
}

void TestRouterLog::silentUnlessSwitchedOn()
{
    Receiver receiver;
    FedChannel channel(receiver.port());
    channel.updateRouterActiveState(true);
    const seam::Refusal refusal(seam::SocketSend);
    channel.feed("fr1 6d1 fr2 6d2");
    QVERIFY(comesTrue([] { return seam::refusals == 1; }));
    channel.updateRouterActiveState(false);
    QCOMPARE(takeTold(), QStringList());
}

void TestRouterLog::onceASecond()
{
    QLoggingCategory::setFilterRules("networksettings.router=true");
    Receiver receiver;
    FedChannel channel(receiver.port());
    for (int round = 0; round < 3; ++round) {
        channel.updateRouterActiveState(true);
        channel.updateRouterActiveState(false);
    }
    QCOMPARE(takeTold(), QStringList({"channel 1: started", "channel 1: stopped"}));
    QVERIFY(comesTrue([&] {
        channel.updateRouterActiveState(true);
        channel.updateRouterActiveState(false);
        return takeTold().join('|').contains(QRegularExpression("started \\(and \\d+ more"));
    }));
}

void TestRouterLog::reasons_data()
{
    QTest::addColumn<int>("refused");
    QTest::addColumn<QByteArray>("words");
    QTest::addColumn<QString>("reason");

    const QByteArray frames = "fr1 6d1 fr2 6d2";
    QTest::newRow("socket") << int(seam::SocketCreate) << frames
                            << "its socket could not be opened; the next start tries again";
    QTest::newRow("no socket") << int(seam::SocketCreate) << frames << "frame dropped: there is no socket";
    QTest::newRow("thread") << int(seam::ThreadCreate) << frames
                            << "stopped, since its thread could not be started";
    QTest::newRow("number") << int(seam::NoCall) << QByteArray("fr 6d1 fr 6d2")
                            << "frame dropped: it has no frame number";
    QTest::newRow("length") << int(seam::NoCall) << "fr1 6d1 fr2 6d" + QByteArray(70000, 'x')
                            << "frame dropped: it is longer than a datagram";
    QTest::newRow("time") << int(seam::SocketWaitInTime) << frames
                          << "frame dropped: the network did not take it in time";
    QTest::newRow("refused") << int(seam::SocketSend) << frames << "frame dropped: the network refused it";
}

void TestRouterLog::reasons()
{
    QFETCH(int, refused);
    QFETCH(QByteArray, words);
    QFETCH(QString, reason);
    QLoggingCategory::setFilterRules("networksettings.router=true");
    Receiver receiver;
    const seam::Refusal refusal(static_cast<seam::Call>(refused));
    FedChannel channel(receiver.port());
    channel.updateRouterActiveState(true);
    channel.feed(words);
    QVERIFY2(comesTrue([&] { return isTold(reason); }), qPrintable(takeTold().join('|')));
}

void TestRouterLog::handlerMayWaitForReset()
{
    QLoggingCategory::setFilterRules("networksettings.router=true");
    Receiver receiver;
    FedChannel channel(receiver.port());
    channel.updateRouterActiveState(true);
    takeTold();
    resetByThis = &channel;
    channel.feed("fr 6d1 fr 6d2");
    QVERIFY(comesTrue([] { return isTold("frame dropped: it has no frame number"); }));
    QVERIFY(!resetByThis);
}

QTEST_GUILESS_MAIN(TestRouterLog)
#include "test_routerlog.moc"
