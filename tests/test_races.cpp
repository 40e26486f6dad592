// Race conditions whose window is only a few instructions wide. Each is provoked many times, and each attempt
// delays the threads differently. Counters verify that the situation in question has occurred.

#include "condition.h"
#include "fedchannel.h"
#include "loop.h"
#include "platformthreads.h"
#include "table.h"
#include "waiting.h"

#include <QRandomGenerator>

#include <algorithm>
#include <array>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

using namespace networksettings2g;

namespace {

constexpr int maximumAttempts = 10000;
constexpr int softLimitMilliseconds = 16000; // after this time, a tenth of the attempts is enough
constexpr int waitLimitMilliseconds = 30000;
constexpr int servedChannels = 10;
constexpr quint16 firstPort = 9000; // of the served channels

const std::thread::id mainThread = std::this_thread::get_id();
std::atomic<int> becameWorker{0}; // threads that became the worker
std::atomic<int> foundWorker{0};  // threads that found another worker
std::atomic<int> workerYields{0}; // yields of any thread but the main thread before it locks a mutex
std::atomic<int> leaveYields{0};  // yields of a worker before it checks whether to stop
std::atomic<bool> destroying{false};
std::atomic<int> lateAttempts{0};    // attempts to become the worker during a destruction
std::atomic<int> publishWaits{0};    // sleeps of publish() while a reader uses the previous table
std::atomic<int> brokenDatagrams{0}; // datagrams that do not consist of complete frames
std::atomic<int> lastSentNumber{0};  // of the last frame in the last datagram of any channel
std::atomic<int> timeOutYields{0};   // yields after the time-out of a wait, before the condition counts it
std::array<std::atomic<int>, servedChannels> lastNumbers; // of the last frame that each channel has sent
std::array<std::atomic<int>, servedChannels> datagrams;   // sent by each channel
std::atomic<int> channelSwitches{0}; // datagrams whose thread sent its previous datagram for another channel
std::atomic<int> lateDatagrams{0};   // datagrams after a stop has returned
std::atomic<int> disorder{0};        // datagrams whose number is not above the channel's previous one
enum Waits
{
    Usual,
    Endless, // a wait of a worker ends only by a wake-up
    Short    // a wait of a worker times out after 1 ms
};
std::atomic<Waits> waits{Usual};

void spin(int turns)
{
    for (volatile int turn = 0; turn < turns; turn = turn + 1) {
    }
}

/// Returns whether \a datagram consists of complete frames: pairs of lines "fr N" and "6d N".
bool isWhole(const QByteArray &datagram)
{
    const QList<QByteArray> lines = datagram.split('\n');
    const int pairs = (lines.size() - 1) / 2;
    for (int pair = 0; pair < pairs; ++pair) {
        const QByteArray &first = lines.at(2 * pair);
        const QByteArray &second = lines.at(2 * pair + 1);
        if (!first.startsWith("fr ") || !second.startsWith("6d ") || first.mid(3) != second.mid(3))
            return false;
    }
    return pairs > 0 && lines.size() == 2 * pairs + 1;
}

int lastNumberIn(const QByteArray &datagram)
{
    return datagram.mid(datagram.lastIndexOf("fr ") + 3).split('\r').first().toInt();
}

} // namespace

// The linker redirects calls of the platform's functions, and of three others under their mangled names, to
// the functions below (--wrap). NOLINTBEGIN(bugprone-reserved-identifier): the linker prescribes
// the names.
extern "C" {

// Replaces each sleep with a yield, because no duration of a sleep matters here. On the main thread, only
// publish() sleeps for 1 ms.
void __wrap__Z11threadSleepj(uint32_t milliseconds)
{
    if (milliseconds == 1 && std::this_thread::get_id() == mainThread)
        ++publishWaits;
    std::this_thread::yield();
}

int __real_nativeMutexLock(NativeMutex *);
int __wrap_nativeMutexLock(NativeMutex *mutex)
{
    const bool isMain = std::this_thread::get_id() == mainThread;
    for (int turn = 0; !isMain && turn < workerYields; ++turn)
        std::this_thread::yield();
    return __real_nativeMutexLock(mutex);
}

bool __real__ZN17networksettings2g11LineMonitor15tryBecomeWorkerEv(LineMonitor *);
bool __wrap__ZN17networksettings2g11LineMonitor15tryBecomeWorkerEv(LineMonitor *monitor)
{
    const bool became = __real__ZN17networksettings2g11LineMonitor15tryBecomeWorkerEv(monitor);
    ++(became ? becameWorker : foundWorker);
    if (destroying)
        ++lateAttempts;
    return became;
}

bool __real__ZN17networksettings2g11LineMonitor13tryStopWorkerEv(LineMonitor *);
bool __wrap__ZN17networksettings2g11LineMonitor13tryStopWorkerEv(LineMonitor *monitor)
{
    for (int turn = 0; turn < leaveYields; ++turn)
        std::this_thread::yield();
    return __real__ZN17networksettings2g11LineMonitor13tryStopWorkerEv(monitor);
}

int __real_nativeSemaphoreWait(NativeSemaphore *, uint32_t);
int __wrap_nativeSemaphoreWait(NativeSemaphore *semaphore, uint32_t milliseconds)
{
    const bool isForWakeUp = milliseconds != nativeForever; // only a wait for a wake-up has a limit
    const uint32_t limit = isForWakeUp && waits == Short ? 1 : milliseconds;
    int result = __real_nativeSemaphoreWait(semaphore, limit);
    while (isForWakeUp && waits == Endless && result == NativeTimedOut)
        result = __real_nativeSemaphoreWait(semaphore, 1);
    for (int turn = 0; result == NativeTimedOut && turn < timeOutYields; ++turn)
        std::this_thread::yield();
    return result;
}

// Examines the datagram and sends nothing.
int32_t __real_nativeSocketSend(NativeSocket, const void *, int32_t, uint32_t, uint16_t);
int32_t __wrap_nativeSocketSend(NativeSocket, const void *data, int32_t length, uint32_t, uint16_t port)
{
    const QByteArray datagram(static_cast<const char *>(data), length);
    const int number = lastNumberIn(datagram);
    brokenDatagrams += !isWhole(datagram);
    lastSentNumber = number;
    if (port >= firstPort) {
        static thread_local quint16 previousPort = port;
        channelSwitches += std::exchange(previousPort, port) != port;
        const auto channel = std::size_t(port - firstPort);
        disorder += lastNumbers[channel].exchange(number) >= number;
        ++datagrams[channel];
    }
    return length;
}
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

/// Returns how many attempts each race should get. Only sanitized builds, about ten times slower, read
/// RACE_ATTEMPTS.
int attempts()
{
    const int given = isSanitized ? qEnvironmentVariableIntValue("RACE_ATTEMPTS") : 0;
    return given > 0 ? given : maximumAttempts;
}

std::vector<quint16> servedPorts()
{
    std::vector<quint16> ports;
    for (quint16 port = firstPort; port < firstPort + servedChannels; ++port)
        ports.push_back(port);
    return ports;
}

bool haveAllSent(int number)
{
    return std::all_of(lastNumbers.begin(), lastNumbers.end(), [number](int last) { return last == number; });
}

/// Feeds three frames. Returns whether a worker sends the last one. A new worker sends the first frame
/// together with the second.
bool forwards(FedChannel *channel, int *number)
{
    for (int frames = 0; frames < 3; ++frames)
        channel->feed(frameOf(++*number));
    return comesTrue([number] { return lastSentNumber == *number; });
}

/// Returns whether no waiter is counted in \a condition. Locks nothing: no other thread may be using it.
bool isIdle(const Condition *condition) UNCHECKED_LOCKING
{
    return condition->waitersBlocked == condition->waitersGone && condition->waitersToUnblock == 0 &&
           condition->waitersLate == 0;
}

} // namespace

class TestRaces : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void startWhileAWorkerEndsLeavesOneWorker();
    void destructorJoinsThreadsThatHaveJustStarted();
    void framesStayInOrderWhileAServedChannelChanges_data();
    void framesStayInOrderWhileAServedChannelChanges();
    void everyFrameIsServedWithoutALaterLine_data();
    void everyFrameIsServedWithoutALaterLine();
    void signalDuringATimeOutIsNotLost();

private:
    int below(int bound) { return static_cast<int>(m_random.bounded(bound)); }

    /// Returns whether another attempt should follow after \a made ones. On a busy computer, a tenth of all
    /// attempts is enough.
    bool wantsMore(int made) const
    {
        return made < attempts() && (made < attempts() / 10 || !m_softLimit.hasExpired());
    }

    QRandomGenerator m_random{1};
    QDeadlineTimer m_softLimit;
    int m_threads = 0;
    int m_descriptors = 0;
};

void TestRaces::init()
{
    for (std::atomic<int> *counter :
         {&becameWorker, &foundWorker, &lateAttempts, &publishWaits, &brokenDatagrams, &lastSentNumber,
          &timeOutYields, &workerYields, &leaveYields, &channelSwitches, &disorder, &lateDatagrams})
        *counter = 0;
    for (int channel = 0; channel < servedChannels; ++channel)
        lastNumbers[std::size_t(channel)] = datagrams[std::size_t(channel)] = 0;
    waits = Usual;
    m_threads = threadCount();
    m_descriptors = descriptorCount();
    m_softLimit.setRemainingTime(softLimitMilliseconds);
}

void TestRaces::cleanup()
{
    QVERIFY(comesTrue([this] { return threadCount() == m_threads; }));
    QCOMPARE(descriptorCount(), m_descriptors);
    QCOMPARE(brokenDatagrams.load(), 0);
}

void TestRaces::startWhileAWorkerEndsLeavesOneWorker()
{
    FedChannel channel(9);
    int number = 0;
    channel.updateRouterActiveState(true);
    QVERIFY(forwards(&channel, &number));
    for (int attempt = 0; wantsMore(attempt); ++attempt) {
        leaveYields = below(300);
        workerYields = below(20);
        if (attempt % 2 == 0) {
            channel.updateRouterActiveState(false);
        } else {
            channel.setActive(false);
            channel.feed(frameOf(0)); // an inactive channel ignores it, so it does not wake the worker
        }
        if (attempt % 10 == 0)
            QVERIFY(comesTrue([this] { return threadCount() == m_threads; }));
        else
            spin(below(4000));
        channel.setActive(true);
        channel.updateRouterActiveState(true);
        QVERIFY2(forwards(&channel, &number), "no worker after a start");
        QVERIFY2(comesTrue([this] { return threadCount() == m_threads + 1; }), "more than one worker");
    }
    qInfo("%d starts came after the end of the worker, %d before it", becameWorker.load(),
          foundWorker.load());
    QVERIFY(becameWorker > 1);
    QVERIFY(foundWorker > 0);
}

void TestRaces::destructorJoinsThreadsThatHaveJustStarted()
{
    for (int attempt = 0; wantsMore(attempt); ++attempt) {
        auto channel = std::make_unique<FedChannel>(9);
        workerYields = below(4);
        for (int starts = below(5); starts > 0; --starts)
            channel->updateRouterActiveState(true);
        for (int frames = below(100) == 0 ? 1000 : below(2); frames > 0; --frames)
            channel->feed(frameOf(attempt));
        spin(below(200));
        destroying = true;
        channel.reset();
        destroying = false;
    }
    const int all = becameWorker + foundWorker;
    qInfo("%d of %d threads tried to become the worker during the destruction", lateAttempts.load(), all);
    QVERIFY(lateAttempts > 0);
    QVERIFY(lateAttempts < all);
}

/// Changes the channel with the given index. While the mutex is locked, the data thread feeds no frame.
using Change = std::function<void(FedChannels &, int, std::mutex &)>;

Q_DECLARE_METATYPE(Change)

void TestRaces::framesStayInOrderWhileAServedChannelChanges_data()
{
    // The first column is whether frames stay whole: a stop drops the current frame but not the lines in the
    // queue, so it may break up a frame. The second one is whether publish() must wait for a reader.
    const Table<bool, bool, Change> row("keepsFramesWhole", "waitsForReaders", "change");
    const auto restart = [](FedChannels &channels, int index, std::mutex &betweenFrames) {
        channels.at(index).updateRouterActiveState(false);
        const int sent = datagrams[std::size_t(index)];
        spin(1000);
        lateDatagrams += datagrams[std::size_t(index)] - sent;
        const std::lock_guard<std::mutex> guard(betweenFrames);
        channels.at(index).updateRouterActiveState(true);
    };
    row("a channel is stopped and started", false, false, restart);
    // Frames are small, so deliver() wakes only the worker of the last channel, which serves the others.
    row("the serving channel is stopped and started", false, false,
        [restart](FedChannels &channels, int /*index*/, std::mutex &betweenFrames) {
            restart(channels, servedChannels - 1, betweenFrames);
        });
    row("a channel is reset", true, false,
        [](FedChannels &channels, int index, std::mutex &) { channels.at(index).resetFrame(); });
    row("a channel is destroyed and replaced", true, true,
        [](FedChannels &channels, int index, std::mutex &betweenFrames) {
            channels.replace(index, quint16(firstPort + index));
            const std::lock_guard<std::mutex> guard(betweenFrames);
            channels.at(index).updateRouterActiveState(true);
        });
}

/// While a data thread feeds frames, each attempt changes a randomly chosen channel. A line that reached a
/// destroyed channel would crash the program, or a sanitizer would report it.
void TestRaces::framesStayInOrderWhileAServedChannelChanges()
{
    QFETCH(const Change, change);
    QFETCH(const bool, keepsFramesWhole);
    QFETCH(const bool, waitsForReaders);

    m_softLimit.setRemainingTime(softLimitMilliseconds / 4);
    FedChannels channels(servedPorts());
    channels.start();
    // Begin with complete frames: after a reset within a channel's very first frame, the rest of that frame
    // would be sent together with the second one.
    std::atomic<int> number{2};
    channels.feedFrame(1);
    channels.feedFrame(2);
    QVERIFY(comesTrue([] { return haveAllSent(2); }));
    std::mutex betweenFrames;
    auto data = std::make_unique<Loop>([&](int frame) {
        {
            const std::lock_guard<std::mutex> guard(betweenFrames);
            channels.feedFrame(++number);
        }
        spin(frame % 16 * 1000);
    });
    for (int attempt = 0; wantsMore(attempt); ++attempt) {
        change(channels, below(servedChannels), betweenFrames);
        spin(below(20000));
    }
    data.reset();
    waits = Endless; // from now on, no time-out makes up for a missing wake-up
    for (int frames = 0; frames < 5; ++frames)
        channels.feedFrame(++number);
    QVERIFY(comesTrue([&number] { return haveAllSent(number); }));
    waits = Usual;
    qInfo("%d frames; %d times a worker sent for another channel than before; publish() slept %d times",
          number.load(), channelSwitches.load(), publishWaits.load());
    QVERIFY(channelSwitches > 0);
    QVERIFY(publishWaits > 0 || !waitsForReaders);
    QCOMPARE(disorder.load(), 0);
    QCOMPARE(lateDatagrams.load(), 0);
    if (!keepsFramesWhole)
        brokenDatagrams = 0;
}

void TestRaces::everyFrameIsServedWithoutALaterLine_data()
{
    const Table<int, int> row("waitsOfWorkers", "lineEnds");
    row("workers sleep until they are woken", Endless, 1);
    row("workers time out while they are called", Short, 1);
    row("two workers are woken for frames that are large in the queue", Endless, 12000);
}

void TestRaces::everyFrameIsServedWithoutALaterLine()
{
    QFETCH(const int, waitsOfWorkers);
    QFETCH(const int, lineEnds);

    m_softLimit.setRemainingTime(softLimitMilliseconds / 4);
    FedChannels channels(servedPorts());
    channels.start();
    channels.feedFrame(1);
    waits = static_cast<Waits>(waitsOfWorkers);
    int number = 1;
    for (int attempt = 0; wantsMore(attempt); ++attempt) {
        timeOutYields = below(20);
        workerYields = below(3);
        // Lines of the second frame may come while the first one is being served.
        for (int frames = 1 + below(2); frames > 0; --frames)
            channels.feedFrame(++number, lineEnds);
        QVERIFY2(comesTrue([&] { return haveAllSent(number); }), "a channel was called and not served");
        spin(below(20000));
    }
    waits = Usual;
    qInfo("%d frames; %d times a worker sent for another channel than before", number,
          channelSwitches.load());
    QVERIFY(channelSwitches > 0);
    // The first two frames share a datagram.
    for (const std::atomic<int> &count : datagrams)
        QCOMPARE(count.load(), number - 1);
}

/// The waiting thread acts like a worker: it checks its queue after each wait, woken or timed out. The queue
/// is only a count of entries. Each entry is added and signalled with the mutex held.
void TestRaces::signalDuringATimeOutIsNotLost()
{
    Mutex *mutex = nullptr;
    Condition *condition = nullptr;
    QCOMPARE(mutexCreate(&mutex), int(Succeeded));
    QCOMPARE(condCreate(&condition), int(Succeeded));
    int entries = 0;                 // in the queue; guarded by mutex
    int signalledDuringTimeOuts = 0; // short waits that timed out although an entry had been signalled
    int woken = 0;                   // short waits that were woken
    int lost = 0;                    // signals that did not end the long wait
    int wokenWithoutEntry = 0;
    std::atomic<int> rounds{0};
    std::thread waiter([&] {
        mutexLock(mutex);
        for (int round = 1; round <= attempts(); ++round) {
            rounds = round;
            int result = condTimedWait(condition, mutex, 0);
            signalledDuringTimeOuts += result == WaitTimedOut && entries > 0;
            woken += result == Succeeded;
            wokenWithoutEntry += result == Succeeded && entries == 0;
            while (entries == 0) {
                result = condTimedWait(condition, mutex, waitLimitMilliseconds);
                lost += result != Succeeded;
                wokenWithoutEntry += result == Succeeded && entries == 0;
                if (result != Succeeded)
                    break;
            }
            entries = 0;
        }
        mutexUnlock(mutex);
    });
    for (int round = 1; round <= attempts(); ++round) {
        while (rounds < round)
            std::this_thread::yield();
        timeOutYields = below(20);
        spin(below(4000));
        mutexLock(mutex);
        ++entries;
        for (int turns = below(20); turns > 0; --turns)
            std::this_thread::yield();
        condSignal(condition);
        mutexUnlock(mutex);
    }
    waiter.join();
    qInfo("%d signals came during a time-out, %d woke the short wait", signalledDuringTimeOuts, woken);
    QCOMPARE(lost, 0);
    QCOMPARE(wokenWithoutEntry, 0);
    QVERIFY(signalledDuringTimeOuts > 0);
    QVERIFY(woken > 0);
    // No waiter and no post is left, and the gate is open.
    QVERIFY(isIdle(condition));
    QCOMPARE(nativeSemaphoreWait(condition->queue, 0), int(NativeTimedOut));
    QCOMPARE(nativeSemaphoreWait(condition->gate, 0), int(NativeTaken));
    QCOMPARE(condDestroy(condition), int(Succeeded));
    QCOMPARE(mutexDestroy(mutex), int(Succeeded));
}

QTEST_GUILESS_MAIN(TestRaces)
#include "test_races.moc"
