// Random streams of lines pass through a real worker. The datagrams that it sends must equal, byte for byte,
// those of an independently written model. While lines are fed, the worker's waits for lines do not time out,
// so only a line can wake the worker. If the environment variable MODEL_SEED is set, it is
// the seed of the random numbers.

#include "fedchannel.h"
#include "receiver.h"
#include "referencemodel.h"

#include <QRandomGenerator>
#include <QtTest>

#include <deque>

using namespace networksettings2g;

namespace {

constexpr int streamCount = 20;
constexpr int stepsPerStream = 45;
// Some types differ only in their length, in their case, or above the usual length and the ASCII characters.
const std::vector<std::string> types{
    "fr", "6d", "3d", "6dcal", "fr2", "FR", "\xfc-12345678a", "\xfc-12345678b"};

struct Line
{
    std::string type;
    std::string text;
};

class Random : public QRandomGenerator
{
public:
    using QRandomGenerator::QRandomGenerator;

    /// Returns true with the probability 1 / \a count.
    bool oneIn(int count) { return bounded(count) == 0; }

    /// Returns a random element of \a choices.
    std::string of(const std::vector<std::string> &choices)
    {
        return choices[static_cast<std::size_t>(bounded(static_cast<int>(choices.size())))];
    }
};

/// Produces frames whose length sometimes changes, with missing, additional and malformed lines.
class Source
{
public:
    explicit Source(Random *random)
        : m_random(random)
    {
    }

    /// Returns the type of the next line.
    std::string nextType()
    {
        if (m_random->oneIn(60))
            return m_random->of(types);
        if (m_random->oneIn(60))
            ++m_at;
        if (m_at >= m_frame.size()) {
            m_at = 0;
            if (m_frame.empty() || m_random->oneIn(30))
                chooseFrame();
        }
        return m_frame[m_at++];
    }

    /// Returns a line of \a type. If \a room is above 100, a few lines take that many bytes of the datagram,
    /// line end included.
    Line line(const std::string &type, int room)
    {
        if (m_random->oneIn(30))
            return {type, m_random->of({"", "\r", "\r\n", "\n\r\n", "x", "fr", "fr "})};
        std::string text = type + m_random->of({" ", " ", " ", "\t", "1", "-"});
        if (type == "fr")
            text += number();
        else if (m_random->oneIn(60) && room > 100)
            text += std::string(static_cast<std::size_t>(room) - text.size() - 2, 'x');
        else
            text += bytes(m_random->bounded(60));
        return {type, text + m_random->of({"\r\n", "\r\n", "\n", "\r", "", "\n\r", "\r\r\n\n"})};
    }

private:
    void chooseFrame()
    {
        m_frame.assign(1, m_random->oneIn(8) ? m_random->of(types) : "fr");
        for (int more = m_random->bounded(m_random->oneIn(4) ? 12 : 4); more > 0; --more)
            m_frame.push_back(m_random->of(types));
    }

    std::string number()
    {
        if (m_random->oneIn(20)) {
            return m_random->of({"", "0", "-0", "-6", "+12", "\t 18", "\r\n24", "- 6", "12x 7", "0x10", "x",
                                 "2147483647", "2147483648", "-2147483648", "-2147483649", "4294967308",
                                 "99999999999999999999"});
        }
        return std::to_string(++m_number) + (m_random->oneIn(4) ? ' ' + bytes(20) : "");
    }

    /// Returns \a count bytes of any value but zero, including CR and LF.
    std::string bytes(int count)
    {
        std::string text;
        while (count-- > 0)
            text += static_cast<char>(m_random->bounded(1, 256));
        return text;
    }

    Random *m_random;
    std::vector<std::string> m_frame;
    std::size_t m_at = 0;
    int m_number = 0;
};

/// A running channel and the model of its worker. The model gets the lines that the channel has to handle,
/// and the same events. Events come while the worker sleeps, when all complete frames have been sent.
class Stream
{
public:
    /// \a threads is the number of threads without workers.
    Stream(quint32 seed, int threads)
        : m_threads(threads)
        , m_random(seed)
        , m_source(&m_random)
    {
        faults::takeDatagram = [this](const QByteArray &datagram) { m_received << datagram; };
    }

    /// Feeds some lines, then causes a random event or none, and compares the datagrams.
    void step()
    {
        for (int lines = m_random.oneIn(10) ? 1500 : m_random.bounded(1, 151); lines > 0; --lines)
            feed(nextLine());
        QVERIFY(fallsAsleep());
        causeEvent();
        m_datagrams += m_received.size();
        if (m_received != m_expected)
            qWarning("the last event was %s", m_event);
        QCOMPARE(std::exchange(m_received, {}), std::exchange(m_expected, {}));
    }

    int datagrams() const { return m_datagrams; }

private:
    static bool fallsAsleep() { return comesTrue(faults::isAsleep); }

    bool hasWorkers(int count) const
    {
        return comesTrue([this, count] { return threadCount() == m_threads + count; });
    }

    bool isTicked(const Line &line) const
    {
        return m_channel.tickedTypes().contains(QByteArray::fromStdString(line.type));
    }

    Line nextLine()
    {
        const int room = 65507 - static_cast<int>(m_model.pendingBytes()) + m_random.bounded(-4, 2);
        return m_source.line(m_source.nextType(), room);
    }

    void feedChannel(const Line &line) { m_channel.feed(line.type.c_str(), line.text.c_str()); }

    void feedModel(const Line &line)
    {
        if (const std::optional<std::string> datagram = m_model.add(line.type, line.text))
            m_expected << QByteArray::fromStdString(*datagram);
    }

    void feed(const Line &line)
    {
        feedChannel(line);
        if (isTicked(line))
            feedModel(line);
    }

    void causeEvent()
    {
        switch (m_random.bounded(10)) {
        case 0:
            m_event = "a reset";
            m_channel.resetFrame();
            m_model.reset();
            break;
        case 1:
            m_event = "a change of the divisor";
            m_channel.setDataDivisor(m_random.oneIn(2) ? 1 : m_random.bounded(1, 5));
            m_model.setDivisor(m_channel.dataDivisor());
            break;
        case 2:
            m_event = "a change of a tick";
            m_channel.tick(m_random.of(types).c_str(), !m_random.oneIn(3));
            break;
        case 3:
            m_event = "a restart";
            m_channel.updateRouterActiveState(false);
            feedChannel(nextLine()); // a stopped channel ignores it
            QVERIFY(hasWorkers(0));
            start();
            break;
        case 4:
            m_event = "a second start";
            m_channel.updateRouterActiveState(true);
            m_model.reset();
            QVERIFY(hasWorkers(1));
            break;
        case 5:
            m_event = "lines that were queued without a worker";
            queueWithoutWorker();
            break;
        default:
            break;
        }
    }

    void start()
    {
        m_channel.updateRouterActiveState(true);
        m_model.start();
    }

    /// In one of three cases, queues lines while there is no worker, in half of them about as many as the
    /// queue holds.
    void queueWithoutWorker()
    {
        if (!m_random.oneIn(3))
            return;
        // setActive() does not wake the worker, which ends after its wait has timed out.
        m_channel.setActive(false);
        faults::timeOuts = true;
        QVERIFY(hasWorkers(0));
        faults::timeOuts = false;
        m_channel.setActive(true); // the router still runs, so lines are queued
        constexpr std::size_t limit = LineQueue::MaximumLines;
        const std::size_t near = limit - 1 + static_cast<std::size_t>(m_random.bounded(3));
        std::deque<Line> queued = fillQueue(m_random.oneIn(2) ? near : 50);
        start();
        if (queued.size() > limit) { // the queue has dropped its oldest block
            queued.erase(queued.begin(), queued.begin() + LineBlock::MaximumLines);
            m_model.loseLines();
        }
        for (const Line &line : queued)
            feedModel(line);
        QVERIFY(fallsAsleep());
    }

    /// Feeds lines until \a count are queued, and returns these. They are short, so that the queue and its
    /// blocks reach their limits of lines before those of bytes.
    std::deque<Line> fillQueue(std::size_t count)
    {
        std::deque<Line> queued;
        m_channel.tick("fr", true); // otherwise no type may be ticked
        while (queued.size() < count) {
            Line line = nextLine();
            line.text.resize(std::min<std::size_t>(line.text.size(), 40));
            feedChannel(line);
            if (isTicked(line))
                queued.push_back(line);
        }
        return queued;
    }

    const int m_threads;
    Random m_random;
    Source m_source;
    ReferenceModel m_model;
    QByteArrayList m_received;
    QByteArrayList m_expected;
    const char *m_event = "the start";
    int m_datagrams = 0;
    RunningChannel m_channel;
};

} // namespace

class TestFramesAgainstModel : public QObject
{
    Q_OBJECT

private slots:
    void datagramsOfRandomStreamsMatchTheModel();
};

void TestFramesAgainstModel::datagramsOfRandomStreamsMatchTheModel()
{
    bool isGiven = false;
    const quint32 given = qEnvironmentVariable("MODEL_SEED").toUInt(&isGiven);
    const quint32 seed = isGiven ? given : QRandomGenerator::system()->generate();
    qInfo("MODEL_SEED=%u", seed);

    // Count once, before the first worker: the system still lists a thread for a moment after its join.
    const int threads = threadCount();
    int datagrams = 0;
    for (quint32 number = 0; number < streamCount; ++number) {
        Stream stream(seed * streamCount + number, threads);
        for (int step = 0; step < stepsPerStream; ++step) {
            stream.step();
            if (QTest::currentTestFailed())
                return;
        }
        datagrams += stream.datagrams();
    }
    qInfo("%d datagrams", datagrams);
    QVERIFY(datagrams >= 2500); // with fewer datagrams, the run would check too little
}

QTEST_GUILESS_MAIN(TestFramesAgainstModel)

#include "test_framesagainstmodel.moc"
