// What a channel logs for a support engineer. Messages of workers are logged on the GUI thread's event loop.

#include "fedchannel.h"
#include "receiver.h"

#include <QLoggingCategory>
#include <QtTest>

#include <mutex>

namespace {

std::mutex mutex;
QStringList logged; // guarded by mutex

void keepMessage(QtMsgType /*type*/, const QMessageLogContext &context, const QString &text)
{
    if (qstrcmp(context.category, "networksettings.router") != 0)
        return;
    // A host may show the message on the GUI thread and wait for that.
    if (QThread::currentThread() != QCoreApplication::instance()->thread())
        QMetaObject::invokeMethod(
            QCoreApplication::instance(), [] {}, Qt::BlockingQueuedConnection);
    const std::lock_guard<std::mutex> guard(mutex);
    logged << text;
}

QStringList takeLogged()
{
    QCoreApplication::processEvents();
    const std::lock_guard<std::mutex> guard(mutex);
    return std::exchange(logged, {});
}

bool isLogged(const QString &text)
{
    QCoreApplication::processEvents();
    const std::lock_guard<std::mutex> guard(mutex);
    return logged.contains("channel 1: " + text);
}

} // namespace

class TestRouterLog : public QObject
{
    Q_OBJECT

private slots:
    void init() { qInstallMessageHandler(keepMessage); }
    void cleanup();
    void nothingIsLoggedUnlessEnabled();
    void eachEventIsLoggedOncePerSecond();
    void droppedFrameIsLogged_data();
    void droppedFrameIsLogged();
    void linesLostBeforeAResetAreLogged();
    void handlerMayBlockOnTheGuiThreadDuringDestruction();
};

void TestRouterLog::cleanup()
{
    qInstallMessageHandler(nullptr);
    QLoggingCategory::setFilterRules({});
    takeLogged();
}

void TestRouterLog::nothingIsLoggedUnlessEnabled()
{
    Receiver receiver;
    FedChannel channel(receiver.port());
    channel.updateRouterActiveState(true);
    const faults::Refusal refusal(faults::SocketSend);
    channel.feed("fr1 6d1 fr2 6d2");
    QVERIFY(comesTrue([] { return faults::refusals == 1; }));
    channel.updateRouterActiveState(false);
    QCOMPARE(takeLogged(), QStringList());
}

void TestRouterLog::eachEventIsLoggedOncePerSecond()
{
    QLoggingCategory::setFilterRules("networksettings.router=true");
    Receiver receiver;
    FedChannel channel(receiver.port());
    for (int round = 0; round < 3; ++round) {
        channel.updateRouterActiveState(true);
        channel.updateRouterActiveState(false);
    }
    QCOMPARE(takeLogged(), QStringList({"channel 1: started", "channel 1: stopped"}));
    QVERIFY(comesTrue([&] {
        channel.updateRouterActiveState(true);
        channel.updateRouterActiveState(false);
        return takeLogged().join('|').contains(QRegularExpression("started \\(\\d+ more suppressed"));
    }));
}

void TestRouterLog::droppedFrameIsLogged_data()
{
    QTest::addColumn<int>("refused");
    QTest::addColumn<QByteArray>("words");
    QTest::addColumn<QString>("reason");

    const QByteArray frames = "fr1 6d1 fr2 6d2";
    QTest::newRow("socket refused") << int(faults::SocketCreate) << frames
                                    << "its socket could not be opened; the next start tries again";
    QTest::newRow("frame without a socket")
        << int(faults::SocketCreate) << frames << "frame dropped: there is no socket";
    QTest::newRow("thread refused") << int(faults::ThreadCreate) << frames
                                    << "stopped: its thread could not be started";
    QTest::newRow("frame without a number")
        << int(faults::NoCall) << QByteArray("fr 6d1 fr 6d2") << "frame dropped: it has no frame number";
    QTest::newRow("frame too long") << int(faults::NoCall) << "fr1 6d1 fr2 6d" + QByteArray(70000, 'x')
                                    << "frame dropped: it is longer than a datagram";
    QTest::newRow("send timed out") << int(faults::SocketWaitInTime) << frames
                                    << "frame dropped: the socket was not ready in time";
    QTest::newRow("send failed") << int(faults::SocketSend) << frames << "frame dropped: sending it failed";
}

void TestRouterLog::droppedFrameIsLogged()
{
    QFETCH(int, refused);
    QFETCH(QByteArray, words);
    QFETCH(QString, reason);
    QLoggingCategory::setFilterRules("networksettings.router=true");
    Receiver receiver;
    const faults::Refusal refusal(static_cast<faults::Call>(refused));
    FedChannel channel(receiver.port());
    channel.updateRouterActiveState(true);
    channel.feed(words);
    QVERIFY2(comesTrue([&] { return isLogged(reason); }), qPrintable(takeLogged().join('|')));
}

void TestRouterLog::linesLostBeforeAResetAreLogged()
{
    QLoggingCategory::setFilterRules("networksettings.router=true");
    Receiver receiver;
    FedChannel channel(receiver.port());
    channel.updateRouterActiveState(true);
    channel.feed("fr1 6d1 fr2 6d2");
    receiver.next();
    QVERIFY(comesTrue(faults::isAsleep));
    channel.feed("fr3");
    channel.feed("6d", QByteArray(networksettings2g::LineQueue::MaximumBytes, 'x').constData());
    channel.feed("6d3");
    channel.resetFrame();
    QVERIFY(comesTrue([] { return isLogged("lines dropped: more arrived than could be sent"); }));
}

// The destructor joins the worker on the thread that the message handler waits for.
void TestRouterLog::handlerMayBlockOnTheGuiThreadDuringDestruction()
{
    QLoggingCategory::setFilterRules("networksettings.router=true");
    Receiver receiver;
    for (int round = 0; round < 200; ++round) {
        FedChannel channel(receiver.port());
        channel.updateRouterActiveState(true);
        const int sends = faults::sends;
        const faults::Refusal refusal(faults::SocketSend);
        channel.feed("fr1 6d1 fr2 6d2");
        QVERIFY(comesTrue([sends] { return faults::sends > sends; }));
    }
}

QTEST_GUILESS_MAIN(TestRouterLog)
#include "test_routerlog.moc"
