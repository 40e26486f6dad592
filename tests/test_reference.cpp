// Random streams of lines through a real worker and a real socket: what arrives is, byte for byte, what a
// model says that was written without the worker. REFERENCE_SEED repeats a run.

#include "channelasrouter.h"
#include "native.h"
#include "outputtypeinfo.h"
#include "pacedsends.h"
#include "referencemodel.h"

#include <QDeadlineTimer>
#include <QUdpSocket>
#include <QtTest>

#include <deque>
#include <filesystem>
#include <functional>
#include <random>
#include <set>

// The linker puts these in front of the platform's functions (--wrap): a worker without lines looks at its
// queue often, so that a test sees soon that it has handled all; a worker that sends waits until the receiver
// has room.

namespace platform {

std::atomic<int> lineWaits{0};
std::atomic<bool> holdWaits{false};
std::atomic<bool> isWaitHeld{false};

} // namespace platform

// NOLINTBEGIN(bugprone-reserved-identifier): the names are the linker's.
extern "C" {

int __real_nativeSemaphoreWait(NativeSemaphore *, uint32_t);
int __wrap_nativeSemaphoreWait(NativeSemaphore *semaphore, uint32_t milliseconds)
{
    if (milliseconds == nativeForever)
        return __real_nativeSemaphoreWait(semaphore, milliseconds);
    ++platform::lineWaits;
    while (platform::holdWaits) {
        platform::isWaitHeld = true;
        nativeSleep(1);
    }
    return __real_nativeSemaphoreWait(semaphore, 1);
}
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

constexpr int streamCount = 20;
constexpr int stepsPerStream = 45;
constexpr int limitMilliseconds = 30000;
const std::vector<std::string> types{"fr", "6d", "3d", "6dcal", "fr2"};

int threadCount()
{
    const std::filesystem::directory_iterator entries("/proc/self/task");
    return static_cast<int>(std::distance(begin(entries), end(entries)));
}

class Chance
{
public:
    explicit Chance(quint32 seed)
        : m_engine(seed)
    {
    }

    /// 0 to \a count - 1.
    int below(int count) { return static_cast<int>(m_engine() % static_cast<quint32>(count)); }
    int between(int least, int most) { return least + below(most - least + 1); }
    bool oneIn(int count) { return below(count) == 0; }

    template <typename Container>
    typename Container::value_type of(const Container &choices)
    {
        return choices[static_cast<std::size_t>(below(static_cast<int>(choices.size())))];
    }

private:
    std::mt19937 m_engine;
};

/// Frames of a length that changes now and then, with lines that are missing, too many, and malformed.
class Source
{
public:
    explicit Source(Chance *chance)
        : m_chance(chance)
    {
        chooseFrame();
    }

    /// The type of the next line.
    std::string nextType()
    {
        if (m_chance->oneIn(60))
            return m_chance->of(types);
        if (m_chance->oneIn(60))
            ++m_at;
        if (m_at >= m_frame.size()) {
            m_at = 0;
            if (m_chance->oneIn(30))
                chooseFrame();
        }
        return m_frame[m_at++];
    }

    bool isFrameEnd() const { return m_at >= m_frame.size(); }

    /// A line of \a type. \a room is what a datagram still takes; a line at the end of a frame fills it, more
    /// or less; 0 for any length.
    std::string line(const std::string &type, int room)
    {
        if (m_chance->oneIn(30))
            return m_chance->of(std::vector<std::string>{"", "\r", "\r\n", "\n\r\n", "\r\r\n\n"});
        std::string line = type + m_chance->of(std::string("      \t1-"));
        if (type == "fr")
            line += number() + (m_chance->oneIn(4) ? text(20) : "");
        else if (isFrameEnd() && room > 0)
            line.append(static_cast<std::size_t>(room), 'x').resize(line.size() - type.size() - 1);
        else
            line += text(m_chance->oneIn(500) ? 60000 : 60);
        if (m_chance->oneIn(100))
            line.erase(std::min(line.size(), static_cast<std::size_t>(m_chance->below(4))));
        return line +
               m_chance->of(std::vector<std::string>{"\r\n", "\r\n", "\n", "\r", "", "\n\r", "\r\r\n\n"});
    }

private:
    void chooseFrame()
    {
        m_frame.assign(1, m_chance->oneIn(8) ? m_chance->of(types) : "fr");
        const int more = m_chance->below(m_chance->oneIn(4) ? 12 : 4);
        for (int i = 0; i < more; ++i)
            m_frame.push_back(m_chance->of(types));
    }

    std::string number()
    {
        if (m_chance->oneIn(20)) {
            return m_chance->of(std::vector<std::string>{"", "0", "-0", "-6", "+12", "\t 18", "\r\n24", "- 6",
                                                         "12x", "0x10", "x", "2147483647", "2147483648",
                                                         "-2147483648", "-2147483649", "4294967308",
                                                         "18446744073709551628", "99999999999999999999"});
        }
        return std::to_string(++m_number);
    }

    /// Bytes of any kind but zero, up to \a most, with CR and LF among them.
    std::string text(int most)
    {
        std::string bytes(static_cast<std::size_t>(m_chance->below(most)), ' ');
        const bool isPlain = bytes.size() > 1000 || !m_chance->oneIn(8);
        for (char &byte : bytes)
            byte = static_cast<char>(isPlain ? m_chance->between('0', '9') : m_chance->between(1, 255));
        if (bytes.size() > 4 && m_chance->oneIn(10))
            bytes.replace(bytes.size() / 2, 2,
                          m_chance->of(std::vector<std::string>{"\r\n", "\n\r", "\n\n"}));
        return bytes;
    }

    Chance *m_chance;
    std::vector<std::string> m_frame;
    std::size_t m_at = 0;
    int m_number = 0;
};

/// A receiver that reads on while it waits.
class Receiver
{
public:
    Receiver() { m_socket.bind(QHostAddress(QHostAddress::LocalHost)); }

    quint16 port() const { return m_socket.localPort(); }

    bool waitsFor(const std::function<bool()> &wanted)
    {
        const QDeadlineTimer limit(limitMilliseconds);
        while (!wanted()) {
            if (limit.hasExpired())
                return false;
            if (!read())
                nativeSleep(0);
        }
        while (read()) {
        }
        return true;
    }

    std::deque<std::string> takeDatagrams() { return std::exchange(m_datagrams, {}); }

private:
    bool read()
    {
        if (!m_socket.hasPendingDatagrams())
            return false;
        const qint64 length = m_socket.readDatagram(m_bytes.data(), m_bytes.size());
        m_datagrams.emplace_back(m_bytes.constData(), static_cast<std::size_t>(length));
        platform::bytesUnderWay -= static_cast<int>(length);
        --platform::datagramsUnderWay;
        return true;
    }

    QUdpSocket m_socket;
    QByteArray m_bytes = QByteArray(65536, '\0');
    std::deque<std::string> m_datagrams;
};

/// A channel and its model side by side. Whatever is done to both is done when the worker has handled all
/// that was queued.
class Stream
{
public:
    explicit Stream(quint32 seed)
        : m_chance(seed)
        , m_source(&m_chance)
    {
        m_channel.setOutputTypes({{"fr", "", true},
                                  {"6d", "", true},
                                  {"3d", "", true},
                                  {"6dcal", "", true},
                                  {"fr2", "", true},
                                  {"other", "", true}});
        for (const std::string &type : types)
            tick(type, !m_chance.oneIn(5));
        m_channel.setIp(0x7f000001);
        m_channel.setPort(m_receiver.port());
        m_channel.setActive(true);
        start();
    }

    /// Feeds some lines and does something to the channel. False when that cannot be finished.
    bool step()
    {
        feed(m_chance.oneIn(10) ? 1500 : m_chance.between(1, 150));
        return settles() && takeEvent();
    }

    /// Empty, or where received and modelled datagrams part.
    QByteArray difference()
    {
        const std::deque<std::string> received = m_receiver.takeDatagrams();
        const std::deque<std::string> expected = std::exchange(m_expected, {});
        m_datagrams += static_cast<int>(received.size());
        if (received == expected)
            return {};
        std::size_t same = 0;
        while (same < received.size() && same < expected.size() && received[same] == expected[same])
            ++same;
        return "line " + QByteArray::number(m_lines) + ", datagram " +
               QByteArray::number(static_cast<qulonglong>(same)) + " after " + m_event + ": received " +
               shown(received, same) + " instead of " + shown(expected, same);
    }

    int lines() const { return m_lines; }
    int datagrams() const { return m_datagrams; }
    int longest() const { return m_longest; }

private:
    static QByteArray shown(const std::deque<std::string> &datagrams, std::size_t at)
    {
        if (at >= datagrams.size())
            return "nothing";
        const std::string &text = datagrams[at];
        return QByteArray::number(static_cast<qulonglong>(text.size())) + " bytes " +
               QByteArray::fromStdString(text.substr(0, 200)).toPercentEncoding(" []");
    }

    void tick(const std::string &type, bool on)
    {
        for (QStandardItem *item : m_channel.typeModel()->findItems(QString::fromStdString(type)))
            item->setCheckState(on ? Qt::Checked : Qt::Unchecked);
        if (on)
            m_ticked.insert(type);
        else
            m_ticked.erase(type);
    }

    /// Whether the worker has handled all that was queued before the call. One wait may have begun before.
    bool settles()
    {
        const int before = platform::lineWaits;
        return m_receiver.waitsFor([before] { return platform::lineWaits >= before + 2; });
    }

    bool hasThreads(int more)
    {
        return m_receiver.waitsFor([this, more] { return threadCount() == m_threads + more; });
    }

    void start()
    {
        m_channel.updateRouterActiveState(true);
        m_model.start();
    }

    void feed(int count)
    {
        for (; count > 0; --count) {
            const Line line = nextLine();
            enqueue(line);
            if (m_ticked.count(line.type))
                addToModel(line);
        }
    }

    /// The type that opens frames stays away for as long as it takes to learn another, or nearly so.
    bool feedWithoutOpening()
    {
        m_event = "a type that stays away";
        const std::string opening = m_model.openingType();
        const std::string other = opening == "6d" ? "3d" : "6d";
        for (const std::string &type : {opening, other, std::string("fr")})
            tick(type, true);
        const auto feedLine = [this](const std::string &type) {
            const Line line{type, m_source.line(type, 0)};
            enqueue(line);
            addToModel(line);
        };
        if (!opening.empty())
            feedLine(opening);
        for (int i = m_chance.between(998, 1002); i > 0; --i)
            feedLine(other);
        return settles();
    }

    struct Line
    {
        std::string type;
        std::string text;
    };

    Line nextLine()
    {
        const std::string type = m_source.nextType();
        int room = 0;
        if (m_chance.oneIn(60))
            room = 65507 - static_cast<int>(m_model.pendingBytes()) + m_chance.between(-4, 0);
        return {type, m_source.line(type, room)};
    }

    void enqueue(const Line &line)
    {
        m_channel.enqueue(line.type.c_str(), line.text.c_str());
        ++m_lines;
    }

    void addToModel(const Line &line)
    {
        if (const std::optional<std::string> datagram = m_model.add(line.type, line.text)) {
            m_longest = std::max(m_longest, static_cast<int>(datagram->size()));
            m_expected.push_back(*datagram);
        }
    }

    bool takeEvent()
    {
        switch (m_chance.below(8)) {
        case 0:
            m_event = "a reset";
            m_channel.resetFrame();
            m_model.reset();
            return true;
        case 1:
            m_event = "a divisor";
            return takeDivisor();
        case 2:
            m_event = "a tick";
            tick(m_chance.of(types), !m_chance.oneIn(3));
            return true;
        case 3:
            m_event = "a restart";
            m_channel.updateRouterActiveState(false);
            feedUnwanted();
            if (!hasThreads(0))
                return false;
            start();
            return true;
        case 4:
            m_event = "a start of a running worker";
            m_channel.updateRouterActiveState(true);
            m_model.reset();
            return hasThreads(1);
        case 5:
            return !m_chance.oneIn(5) || takeQueue();
        case 6:
            return !m_chance.oneIn(4) || feedWithoutOpening();
        default:
            return true;
        }
    }

    bool takeDivisor()
    {
        const int divisor = m_chance.oneIn(2) ? 1 : m_chance.between(1, 4);
        m_channel.setDataDivisor(divisor);
        m_model.setDivisor(divisor);
        return true;
    }

    void feedUnwanted()
    {
        for (int i = m_chance.below(20); i > 0; --i)
            enqueue(nextLine());
    }

    /// Lines queue up, sometimes too many, while the worker is asleep or has gone.
    bool takeQueue()
    {
        const bool isAsleep = m_chance.oneIn(2);
        if (!(isAsleep ? putToSleep() : leaveWithoutWorker()))
            return false;
        std::deque<Line> queued = fillQueue(m_chance.oneIn(3) ? LineQueue::MaximumLines : 0);
        const bool overflows = queued.size() > LineQueue::MaximumLines;
        while (queued.size() > LineQueue::MaximumLines)
            queued.pop_front();
        m_event = overflows ? "a gap" : "a full queue";
        platform::holdWaits = false;
        if (!isAsleep)
            start();
        if (overflows)
            m_model.loseLines();
        for (const Line &line : queued)
            addToModel(line);
        return settles();
    }

    bool putToSleep()
    {
        platform::isWaitHeld = false;
        platform::holdWaits = true;
        const bool sleeps = m_receiver.waitsFor([] { return platform::isWaitHeld.load(); });
        platform::holdWaits = sleeps;
        return sleeps;
    }

    bool leaveWithoutWorker()
    {
        m_channel.setActive(false);
        const bool hasGone = hasThreads(0);
        m_channel.setActive(true);
        return hasGone;
    }

    std::deque<Line> fillQueue(std::size_t count)
    {
        std::deque<Line> queued;
        count += static_cast<std::size_t>(m_chance.below(100));
        while (queued.size() < count && !m_ticked.empty()) {
            // Short lines, so that the number of lines is the queue's only bound.
            Line line = nextLine();
            line.text.resize(std::min<std::size_t>(line.text.size(), 40));
            enqueue(line);
            if (m_ticked.count(line.type))
                queued.push_back(line);
        }
        return queued;
    }

    const int m_threads = threadCount();
    Chance m_chance;
    Source m_source;
    ReferenceModel m_model;
    Receiver m_receiver;
    ChannelAsRouter m_channel{nullptr, 0, nullptr};
    std::set<std::string> m_ticked;
    std::deque<std::string> m_expected;
    QByteArray m_event = "the start";
    int m_lines = 0;
    int m_datagrams = 0;
    int m_longest = 0;
};

} // namespace

class TestReference : public QObject
{
    Q_OBJECT

private slots:
    void randomStreams();
};

void TestReference::randomStreams()
{
    bool isGiven = false;
    const quint32 given = qEnvironmentVariable("REFERENCE_SEED").toUInt(&isGiven);
    const quint32 seed = isGiven ? given : std::random_device()();
    qInfo("REFERENCE_SEED=%u", seed);

    int lines = 0, datagrams = 0, longest = 0;
    for (quint32 number = 0; number < streamCount; ++number) {
        Stream stream(seed * streamCount + number);
        for (int step = 0; step < stepsPerStream; ++step) {
            QVERIFY(stream.step());
            const QByteArray difference = stream.difference();
            QVERIFY2(difference.isEmpty(), "stream " + QByteArray::number(number) + ", " + difference);
        }
        lines += stream.lines();
        datagrams += stream.datagrams();
        longest = std::max(longest, stream.longest());
    }
    qInfo("%d lines, %d datagrams, the longest of %d bytes", lines, datagrams, longest);
    QVERIFY(lines >= 100000);
    QVERIFY(datagrams >= lines / 40); // the streams are not so broken that little is compared
}

QTEST_GUILESS_MAIN(TestReference)

#include "test_reference.moc"
