// What a channel logs for a support engineer. The event loop of the GUI thread, which takeLogged() and
// isLogged() run, logs the messages of workers.

#include "fedchannel.h"
#include "receiver.h"
#include "table.h"

#include <QLoggingCategory>

#include <mutex>

namespace {

std::mutex mutex;
QStringList logged; // guarded by mutex

void keepMessage(QtMsgType /*type*/, const QMessageLogContext &context, const QString &text)
{
    if (qstrcmp(context.category, "networksettings.router") != 0)
        return;
    // Some hosts show each message on the GUI thread and wait until it is shown.
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

/// Returns whether \a text has been logged since the last call or since takeLogged().
bool isLogged(const QString &text)
{
    return takeLogged().contains("channel 1: " + text);
}

} // namespace

class TestRouterLog : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void nothingIsLoggedUnlessEnabled();
    void eachEventIsLoggedAtMostOncePerSecond();
    void failureIsLogged_data();
    void failureIsLogged();
    void startWithoutAnAddressIsLogged();
    void interruptionsAndChangesAreLogged();
    void linesLostBeforeAResetAreLogged();
    void handlerMayBlockOnTheGuiThreadDuringDestruction();
};

void TestRouterLog::init()
{
    qInstallMessageHandler(keepMessage);
    QLoggingCategory::setFilterRules("networksettings.router=true");
}

void TestRouterLog::cleanup()
{
    qInstallMessageHandler(nullptr);
    QLoggingCategory::setFilterRules({});
    takeLogged();
}

void TestRouterLog::nothingIsLoggedUnlessEnabled()
{
    QLoggingCategory::setFilterRules({});
    RunningChannel channel;
    const faults::Refusal refusal(faults::SocketSend);
    channel.feed("fr1 6d1 fr2 6d2");
    QVERIFY(comesTrue([] { return faults::refusals == 1; }));
    channel.updateRouterActiveState(false);
    QCOMPARE(takeLogged(), QStringList());
}

void TestRouterLog::eachEventIsLoggedAtMostOncePerSecond()
{
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

void TestRouterLog::failureIsLogged_data()
{
    const Table<faults::Call, QByteArray, QString> row("refused", "words", "reason");
    const QByteArray frames = "fr1 6d1 fr2 6d2";
    row("socket refused", faults::SocketCreate, frames,
        "its socket could not be opened; the next start tries again");
    row("frame without a socket", faults::SocketCreate, frames, "frame dropped: there is no socket");
    row("thread refused", faults::ThreadCreate, frames, "stopped: its thread could not be started");
    row("frame without a number", faults::NoCall, "fr 6d1 fr 6d2",
        "frame dropped: it has no valid frame number");
    row("frame too long", faults::NoCall, "fr1 6d1 fr2 6d" + QByteArray(70000, 'x'),
        "frame dropped: it does not fit into one datagram");
    const QString timedOut = "frame dropped: the socket was not ready in time";
    row("socket not ready after a wait", faults::SocketNotReady, frames, timedOut);
    row("wait for the socket timed out", faults::SocketWaitInTime, frames, timedOut);
    const QString failed = "frame dropped: sending it failed";
    row("wait for the socket failed", faults::SocketWait, frames, failed);
    row("send failed", faults::SocketSend, frames, failed);
}

void TestRouterLog::failureIsLogged()
{
    QFETCH(faults::Call, refused);
    QFETCH(QByteArray, words);
    QFETCH(QString, reason);
    Receiver receiver;
    const faults::Refusal refusal(refused);
    FedChannel channel(receiver.port());
    channel.updateRouterActiveState(true);
    channel.feed(words);
    QVERIFY(comesTrue([&] { return isLogged(reason); }));
}

void TestRouterLog::startWithoutAnAddressIsLogged()
{
    FedChannel channel(5001);
    channel.setIp(0);
    channel.updateRouterActiveState(true);
    QVERIFY(isLogged("no frame is sent: the destination has no address"));
}

void TestRouterLog::interruptionsAndChangesAreLogged()
{
    RunningChannel channel;
    channel.updateRouterActiveState(true);
    channel.resetFrame();
    channel.feed("fr1");
    QVERIFY(comesTrue(faults::isAsleep)); // an awake worker could handle the line after the restart
    channel.updateRouterActiveState(true);
    channel.feed("6d1");
    QVERIFY(comesTrue(faults::isAsleep));
    channel.resetFrame();
    channel.setIp(0x7f000002);
    channel.setPort(5005);
    channel.setDataDivisor(3);
    channel.setDataDivisor(3);
    channel.updateRouterActiveState(false);
    channel.resetFrame();
    channel.setDataDivisor(4);
    QStringList expected{"started", "restarted between two frames",
                         "restarted: the frame in progress is dropped",
                         "the destination is now 127.0.0.2 port " + QString::number(channel.receiver.port()),
                         "the destination is now 127.0.0.2 port 5005", "the divisor is now 3", "stopped",
                         // data threads cause resets, so they are logged from the event loop
                         "reset between two frames", "reset: the frame in progress is dropped"};
    expected.replaceInStrings(QRegularExpression("^"), "channel 1: ");
    QCOMPARE(takeLogged(), expected);
}

void TestRouterLog::linesLostBeforeAResetAreLogged()
{
    RunningChannel channel;
    channel.feed("fr1 6d1 fr2 6d2");
    channel.receiver.next();
    QVERIFY(comesTrue(faults::isAsleep));
    channel.feed("fr3");
    const QByteArray tooLong(networksettings2g::LineQueue::MaximumBytes, 'x');
    channel.feed("6d", tooLong.constData());
    channel.feed("6d3");
    channel.resetFrame();
    QVERIFY(comesTrue([] { return isLogged("lines dropped: more arrived than could be sent"); }));
}

/// The destructor joins the worker on the GUI thread. A worker that called the message handler itself could
/// not end, because the handler waits for the GUI thread.
void TestRouterLog::handlerMayBlockOnTheGuiThreadDuringDestruction()
{
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
