// Tests forwarding with real workers and real sockets on the loopback interface. A worker's waits for lines
// do not time out, except between the steps "off" and "on" of doStep(). So a sleeping worker sends a frame
// only if a line wakes it.

#include "fedchannel.h"
#include "receiver.h"
#include "table.h"

#include <future>

using namespace networksettings2g;

namespace {

bool fallsAsleep()
{
    return comesTrue(faults::isAsleep);
}

/// Two channels of one fan-out, both of which have sent the frames 1 and 2. The worker of the second one
/// serves the first one.
struct TwoChannels
{
    TwoChannels()
    {
        channels.start();
        channels.feedFrame(1);
        channels.feedFrame(2);
        for (Receiver *receiver : {&served, &serving})
            QCOMPARE(receiver->next(), bytesOf(frameOf(1) + ' ' + frameOf(2)));
        QVERIFY(comesTrue([] { return faults::areAsleep(2); }));
    }

    Receiver served, serving;
    FedChannels channels{{served.port(), serving.port()}};
};

} // namespace

class TestRouter : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void datagramsFollowFromTheSteps_data();
    void datagramsFollowFromTheSteps();
    void eachFrameTakesOneWakeUpAndNoWaitForTheSocket();
    void resetWaitsForAStalledSendButDeliveryDoesNot();
    void stopWaitsForAStalledSend();
    void startWhileAWorkerStopsWaitsForItsEnd();
    void resetComesBetweenTwoFramesOfABacklog();
    void laterLineRepeatsADelayedWakeUp();
    void linesThatComeDuringAServiceAreSent();
    void servedFrameIsNotJoinedAcrossALoss();
    void stoppedWorkerSendsNoDatagramButServesTheOthers();
    void stalledChannelDelaysNoOther();
    void nextFrameGoesToTheNewDestination();
    void changeOfTheDivisorLosesNoFrameThatBothSelect();
    void runningWorkerContinuesIfAThreadIsRefused();
    void startedThreadBecomesTheWorkerIfAThreadIsRefused();

private:
    void doStep(const QByteArray &step, FedChannel *channel);
    bool hasNoWorker() const { return threadCount() == m_threads; }

    int m_threads = 0;
    int m_descriptors = 0;
};

void TestRouter::init()
{
    m_threads = threadCount();
    m_descriptors = descriptorCount();
}

/// Checks that the test has left no thread and no descriptor.
void TestRouter::cleanup()
{
    faults::locksUnfairly = false;
    faults::path = faults::Open;
    QVERIFY(comesTrue([this] { return hasNoWorker(); }));
    faults::takeDatagram = nullptr;
    QCOMPARE(descriptorCount(), m_descriptors);
}

/// Does one step. A step that is none of the commands below is a word, whose line is fed to the channel;
/// "6d0*9" feeds nine lines, "long" one that does not even fit into an empty queue. After "off gone on" the
/// router runs without a worker, so lines stay in the queue.
void TestRouter::doStep(const QByteArray &step, FedChannel *channel)
{
    if (step == "start" || step == "stop") {
        channel->updateRouterActiveState(step == "start");
    } else if (step == "on" || step == "off") {
        channel->setActive(step == "on");
        faults::timeOuts = step == "off"; // a sleeping worker notices the change at its time-out
    } else if (step == "here" || step == "nowhere") {
        channel->setIp(step == "here" ? FedChannel::Loopback : 0);
    } else if (step == "reset") {
        channel->resetFrame();
    } else if (step == "asleep") {
        QVERIFY(fallsAsleep());
    } else if (step == "gone") {
        QVERIFY(comesTrue([this] { return hasNoWorker(); }));
    } else if (step == "long") {
        channel->feed("6d", QByteArray(int(LineQueue::MaximumBytes), 'x').constData());
    } else {
        const QByteArrayList parts = step.split('*');
        for (int times = parts.size() == 1 ? 1 : parts.last().toInt(); times > 0; --times)
            channel->feed(parts.first());
    }
}

void TestRouter::datagramsFollowFromTheSteps_data()
{
    const Table<QByteArray, QByteArray> row("steps", "datagrams");
    const QByteArray first = "fr1 6d1 fr2 6d2";

    row("lines to a stopped channel are dropped", "fr80 6d80 start stop fr90 6d90 start " + first, first);
    row("lines to an inactive channel are dropped", "start off fr90 6d90 on start " + first, first);
    row("start of an inactive channel stops it", "start off start on fr90 6d90 start " + first, first);
    row("lines are dropped while the address is unknown", "start nowhere fr90 6d90 here " + first, first);
    row("frame with one line fewer", "start " + first + " fr3 fr4 6d4 fr5 6d5",
        first + "|fr3 fr4|6d4 fr5 6d5");
    // After 1000 lines without the opening type 6d, the type of the next line opens frames.
    const QByteArray opened = "6d1 fr1 6d2 fr2";
    row("opening type is switched off", "start " + opened + " 3d0*999 fr7 3d7 fr8 3d8",
        opened + "|fr7 3d7 fr8 3d8");
    row("opening type is nearly switched off", "start " + opened + " 3d0*999 asleep reset 6d7 fr7 6d8 fr8",
        opened + "|6d7 fr7 6d8 fr8");
    row("opening type is switched off within a frame", "start " + opened + " 6d3 3d0*1000 fr7 3d7 fr8 3d8",
        opened + "|fr7 3d7 fr8 3d8");
    row("restart counts the lines without the opening type again",
        "start " + opened + " 3d0*600 asleep stop gone start 3d0*600 asleep reset 6d3 fr3 6d4 fr4",
        opened + "|6d3 fr3 6d4 fr4");
    row("frame that is too long is dropped whole",
        "start " + first + " fr3 6d" + QByteArray(70000, 'x') + " fr4 6d4", first + "|fr4 6d4");
    // In this row and the next one, the line after "asleep" stays in the queue, because no frame can be
    // complete with it.
    row("second start within a frame drops the frame", "start " + first + " asleep fr3 start 6d3 fr4 6d4",
        first + "|fr4 6d4");
    row("reset within a frame drops the frame", "start " + first + " asleep fr3 reset 6d3 fr4 6d4",
        first + "|fr4 6d4");
    row("a stop keeps the queued lines",
        "start off gone on " + first + " fr3 6d3 fr4 stop fr90 start 6d4 fr5 6d5",
        first + "|fr3 6d3|fr4 6d4|fr5 6d5");
    row("no frame is sent while the address is unknown",
        "start off gone on " + first + " fr3 6d3 fr4 nowhere start asleep here 6d4", "fr4 6d4");
    row("loss within a frame drops the frame", "start fr1 asleep long 3d1 fr4 6d4 fr5 6d5",
        "fr4 6d4 fr5 6d5");
}

void TestRouter::datagramsFollowFromTheSteps()
{
    QFETCH(const QByteArray, steps);
    QFETCH(const QByteArray, datagrams);

    Receiver receiver;
    const int descriptors = descriptorCount();
    FedChannel channel(receiver.port());
    for (const QByteArray &step : steps.split(' '))
        doStep(step, &channel);
    for (const QByteArray &words : datagrams.split('|'))
        QCOMPARE(receiver.next(), bytesOf(words));
    QVERIFY(fallsAsleep());
    QVERIFY(receiver.isEmpty());
    QVERIFY(comesTrue([this] { return threadCount() == m_threads + 1; }));
    QCOMPARE(descriptorCount(), descriptors + 1);
}

void TestRouter::eachFrameTakesOneWakeUpAndNoWaitForTheSocket()
{
    constexpr int frames = 200;
    RunningChannel channel;
    channel.feed("fr1 6d1 3d1 fr2 6d2 3d2");
    channel.receiver.next();
    QVERIFY(fallsAsleep());
    const int wakeUps = faults::wakeUps;
    const int waits = faults::writableWaits;
    for (int frame = 0; frame < frames; ++frame) {
        for (const char *word : {"fr3", "6d3", "3d3"}) {
            channel.feed(word);
            QVERIFY(fallsAsleep());
        }
        QCOMPARE(channel.receiver.next(), bytesOf("fr3 6d3 3d3"));
    }
    QCOMPARE(faults::wakeUps - wakeUps, frames);
    QCOMPARE(faults::writableWaits.load(), waits);
}

/// The reset drops no line that was delivered during the send.
void TestRouter::resetWaitsForAStalledSendButDeliveryDoesNot()
{
    RunningChannel channel;
    HeldSends sends;
    channel.feed("fr1 6d1 fr2 6d2");
    QVERIFY(sends.hold());

    std::future<void> delivery = std::async(std::launch::async, [&channel] { channel.feed("fr3 6d3"); });
    const bool delivered = delivery.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
    std::future<void> reset = std::async(std::launch::async, [&channel] { channel.resetFrame(); });
    const bool waits = reset.wait_for(std::chrono::milliseconds(50)) == std::future_status::timeout;
    sends.release();
    QVERIFY(delivered);
    QVERIFY(waits);
    QCOMPARE(channel.receiver.next(), bytesOf("fr1 6d1 fr2 6d2"));
    QCOMPARE(channel.receiver.next(), bytesOf("fr3 6d3"));
    reset.get();
}

void TestRouter::stopWaitsForAStalledSend()
{
    RunningChannel channel;
    HeldSends sends;
    channel.feed("fr1 6d1 fr2 6d2");
    QVERIFY(sends.hold());
    std::future<void> stop =
        std::async(std::launch::async, [&channel] { channel.updateRouterActiveState(false); });
    // A stop that did not wait for the send would return after 10 ms.
    const bool waits = stop.wait_for(std::chrono::milliseconds(100)) == std::future_status::timeout;
    sends.release();
    QVERIFY(waits);
    stop.get();
}

/// Without the wait, a thread could fail to become the worker because the current worker still exists,
/// although that worker has already decided to stop and does not check again whether the run is wanted.
void TestRouter::startWhileAWorkerStopsWaitsForItsEnd()
{
    LineMonitor *monitor = nullptr;
    std::future<bool> start;
    int questions = 0;
    const auto startWorker = [&] {
        const bool becameWorker = monitor->tryBecomeWorker();
        if (becameWorker)
            monitor->tryStopWorker();
        return becameWorker;
    };
    const auto isRunWanted = [&] {
        if (++questions == 1) {
            start = std::async(std::launch::async, startWorker);
            start.wait_for(std::chrono::milliseconds(50)); // expires if the thread waits, as it should
        }
        return false;
    };
    LineMonitor stopping(isRunWanted);
    monitor = &stopping;
    stopping.announceThread();
    QVERIFY(stopping.tryBecomeWorker());
    QVERIFY(stopping.tryStopWorker());
    QVERIFY(start.get());
}

/// With locksUnfairly, a reset without priority over the worker would wait for many sends.
void TestRouter::resetComesBetweenTwoFramesOfABacklog()
{
    constexpr int resets = 6;
    RunningChannel channel;
    faults::path = faults::Slow;
    for (int number = 1; number <= 10 * resets; ++number)
        channel.feed(frameOf(number));
    faults::locksUnfairly = true;
    int sendsDuringResets = 0;
    for (int reset = 0; reset < resets; ++reset) {
        const int before = faults::sends;
        channel.resetFrame();
        sendsDuringResets += faults::sends - before;
        const int after = faults::sends;
        QVERIFY(comesTrue([after] { return faults::sends > after; }));
    }
    faults::locksUnfairly = false;
    faults::path = faults::Open;
    // At most one send should begin during each reset. On a busy computer, two more in total are tolerated.
    QVERIFY2(sendsDuringResets <= resets + 2, qPrintable(QString::number(sendsDuringResets)));
}

/// The thread that has queued the first line is preempted before it wakes the worker.
void TestRouter::laterLineRepeatsADelayedWakeUp()
{
    LineMonitor monitor([] { return true; });
    const std::future<void> worker =
        std::async(std::launch::async, [&monitor] { monitor.waitForLines(WakeCondition()); });
    QVERIFY(fallsAsleep());
    QVERIFY(monitor.append({"fr", "fr 1"}) > 0);
    QVERIFY(monitor.append({"6d", "6d 1"}) > 0);
    monitor.wakeWorker();
}

/// Only the served channel gets frame 4, and no line follows it, so only the end of the service can notice
/// it.
void TestRouter::linesThatComeDuringAServiceAreSent()
{
    TwoChannels two;
    HeldSends sends;
    two.channels.feedFrame(3);
    QVERIFY(sends.hold());
    two.channels.at(0).enqueue({"fr", "fr 4\r\n"});
    two.channels.at(0).enqueue({"6d", "6d 4\r\n"});
    sends.release();
    QCOMPARE(two.serving.next(), bytesOf(frameOf(3)));
    QCOMPARE(two.served.next(), bytesOf(frameOf(3)));
    QCOMPARE(two.served.next(), bytesOf(frameOf(4)));
}

/// A server knows nothing of a loss, so it must leave the lines after it to the channel's own worker.
void TestRouter::servedFrameIsNotJoinedAcrossALoss()
{
    TwoChannels two;
    two.channels.feed("fr", "fr 3\r\n");
    const QByteArray tooLong(int(LineQueue::MaximumBytes), 'x'); // drops the line before it, too
    two.channels.feed("6d", tooLong.constData());
    two.channels.feed("3d", "3d 3\r\n");
    two.channels.feedFrame(4);
    two.channels.feedFrame(5);
    for (Receiver *receiver : {&two.served, &two.serving})
        QCOMPARE(receiver->next(), bytesOf(frameOf(4) + ' ' + frameOf(5)));
}

/// The line that completes the frame wakes only the worker of the second channel, which is then stopped.
void TestRouter::stoppedWorkerSendsNoDatagramButServesTheOthers()
{
    TwoChannels two;
    faults::holdWokenWorkers = true;
    two.channels.feedFrame(3);
    two.channels.at(1).updateRouterActiveState(false);
    faults::holdWokenWorkers = false;
    QCOMPARE(two.served.next(), bytesOf(frameOf(3)));
    QVERIFY(comesTrue([this] { return threadCount() == m_threads + 1; }));
    QVERIFY(two.serving.isEmpty());
}

/// The socket of one of ten channels is never ready, and the channel's worker waits for it indefinitely.
void TestRouter::stalledChannelDelaysNoOther()
{
    constexpr int channelCount = 10, frames = 200;
    for (const int stalled : {0, 4, 9}) {
        std::vector<std::unique_ptr<Receiver>> receivers;
        std::vector<quint16> ports;
        for (int i = 0; i < channelCount; ++i) {
            receivers.push_back(std::make_unique<Receiver>());
            ports.push_back(receivers.back()->port());
        }
        FedChannels channels(ports);
        channels.start();
        faults::stalledPort = ports[std::size_t(stalled)];
        faults::isStallHeld = true;
        channels.feedFrame(1);
        for (int frame = 2; frame <= frames; ++frame) {
            channels.feedFrame(frame);
            for (int i = 0; i < channelCount; ++i) {
                const QByteArray expected = bytesOf(frameOf(frame));
                if (i != stalled)
                    QVERIFY2(receivers[std::size_t(i)]->next().endsWith(expected), expected);
            }
        }
        QVERIFY(receivers[std::size_t(stalled)]->isEmpty());
        faults::isStallHeld = false;
        faults::stalledPort = 0;
        faults::stalledSocket = nativeNoSocket;
    }
}

void TestRouter::nextFrameGoesToTheNewDestination()
{
    Receiver other;
    RunningChannel channel;
    channel.feed("fr1 6d1 fr2 6d2 fr3");
    QCOMPARE(channel.receiver.next(), bytesOf("fr1 6d1 fr2 6d2"));
    channel.setPort(other.port());
    channel.feed("6d3 fr4 6d4");
    QCOMPARE(other.next(), bytesOf("fr3 6d3"));
    QCOMPARE(other.next(), bytesOf("fr4 6d4"));
    channel.setPort(channel.receiver.port());
    channel.feed("fr5 6d5");
    QCOMPARE(channel.receiver.next(), bytesOf("fr5 6d5"));
    QVERIFY(other.isEmpty());
}

void TestRouter::changeOfTheDivisorLosesNoFrameThatBothSelect()
{
    constexpr int frames = 3000;
    std::atomic<int> expected{6}; // the next frame that both divisors select
    faults::takeDatagram = [&expected](const QByteArray &datagram) {
        expected += datagram == bytesOf(frameOf(expected)) ? 6 : 0;
    };
    RunningChannel channel;
    channel.setDataDivisor(2);
    for (int number = 1; number <= frames; ++number) {
        for (const QByteArray &word : frameOf(number).split(' ')) {
            channel.feed(word);
            channel.setDataDivisor(5 - channel.dataDivisor());
        }
    }
    QVERIFY(fallsAsleep());
    QCOMPARE(expected.load(), frames + 6);
}

void TestRouter::runningWorkerContinuesIfAThreadIsRefused()
{
    RunningChannel channel;
    channel.feed("fr1 6d1 fr2 6d2");
    QCOMPARE(channel.receiver.next(), bytesOf("fr1 6d1 fr2 6d2"));
    const faults::Refusal refusal(faults::ThreadCreate);
    channel.updateRouterActiveState(true);
    channel.feed("fr3 6d3");
    QCOMPARE(channel.receiver.next(), bytesOf("fr3 6d3"));
}

void TestRouter::startedThreadBecomesTheWorkerIfAThreadIsRefused()
{
    Receiver receiver;
    FedChannel channel(receiver.port());
    channel.resetFrame(); // the first lock of this thread
    faults::holdFirstLocks = true;
    channel.updateRouterActiveState(true);
    {
        const faults::Refusal refusal(faults::ThreadCreate);
        channel.updateRouterActiveState(true);
    }
    faults::holdFirstLocks = false;
    channel.feed("fr1 6d1 fr2 6d2");
    QCOMPARE(receiver.next(), bytesOf("fr1 6d1 fr2 6d2"));
}

QTEST_GUILESS_MAIN(TestRouter)

#include "test_router.moc"
