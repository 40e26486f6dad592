// Random streams of lines through a real worker and a real socket: what arrives is, byte for byte, what a
// model says that was written without the worker. REFERENCE_SEED repeats a run.

#include "fedchannel.h"
#include "receiver.h"
#include "referencemodel.h"

#include <QtTest>

#include <deque>
#include <random>
#include <set>

namespace {

constexpr int streamCount = 20;
constexpr int stepsPerStream = 45;
const std::vector<std::string> types{"fr", "6d", "3d", "6dcal", "fr2"};

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

/// A channel and its model side by side. Whatever is done to both is done when the worker waits with no line
/// before it that completes a frame.
class Stream
{
public:
    explicit Stream(quint32 seed)
        : m_chance(seed)
        , m_source(&m_chance)
    {
        for (const std::string &type : types)
            tick(type, !m_chance.oneIn(5));
        start();
    }

    /// Feeds some lines and does something to the channel. False when that cannot be finished.
    bool step()
    {
        for (int lines = m_chance.oneIn(10) ? 1500 : m_chance.between(1, 150); lines > 0; --lines)
            feed(nextLine());
        return fallsAsleep() && takeEvent();
    }

    /// Empty, or where received and modelled datagrams part.
    QByteArray difference()
    {
        const std::deque<std::string> received = std::exchange(m_received, {});
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

private:
    struct Line
    {
        std::string type;
        std::string text;
    };

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
        m_channel.tick(type.c_str(), on);
        if (on)
            m_ticked.insert(type);
        else
            m_ticked.erase(type);
    }

    bool readsUntil(const std::function<bool()> &wanted)
    {
        return m_receiver.readsUntil(
            wanted, [this](const QByteArray &datagram) { m_received.push_back(datagram.toStdString()); });
    }

    bool fallsAsleep() { return readsUntil(seam::isAsleep); }

    bool hasThreads(int more)
    {
        return readsUntil([this, more] { return threadCount() == m_threads + more; });
    }

    void start()
    {
        m_channel.updateRouterActiveState(true);
        m_model.start();
    }

    Line nextLine()
    {
        const std::string type = m_source.nextType();
        int room = 0;
        if (m_chance.oneIn(60))
            room = 65507 - static_cast<int>(m_model.pendingBytes()) + m_chance.between(-4, 0);
        return {type, m_source.line(type, room)};
    }

    void feedChannel(const Line &line)
    {
        m_channel.feed(line.type.c_str(), line.text.c_str());
        ++m_lines;
    }

    void feedModel(const Line &line)
    {
        if (const std::optional<std::string> datagram = m_model.add(line.type, line.text))
            m_expected.push_back(*datagram);
    }

    void feed(const Line &line)
    {
        feedChannel(line);
        if (m_ticked.count(line.type))
            feedModel(line);
        if (m_lines % 64 == 0) // the receiver's room is bounded
            readsUntil([] { return true; });
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
            takeDivisor();
            return true;
        case 2:
            m_event = "a tick";
            tick(m_chance.of(types), !m_chance.oneIn(3));
            return true;
        case 3:
            m_event = "a restart";
            m_channel.updateRouterActiveState(false);
            feedChannel(nextLine());
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
            return !m_chance.oneIn(3) || takeQueue();
        case 6:
            return !m_chance.oneIn(4) || feedWithoutOpening();
        default:
            return true;
        }
    }

    void takeDivisor()
    {
        const int divisor = m_chance.oneIn(2) ? 1 : m_chance.between(1, 4);
        m_channel.setDataDivisor(divisor);
        m_model.setDivisor(divisor);
    }

    /// The type that opens frames stays away for as long as it takes to learn another, or nearly so.
    bool feedWithoutOpening()
    {
        m_event = "a type that stays away";
        const std::string opening = m_model.openingType();
        const std::string other = opening == "6d" ? "3d" : "6d";
        for (const std::string &type : {opening, other, std::string("fr")})
            tick(type, true);
        if (!opening.empty())
            feed({opening, m_source.line(opening, 0)});
        for (int i = m_chance.between(998, 1002); i > 0; --i)
            feed({other, m_source.line(other, 0)});
        return fallsAsleep();
    }

    /// Lines queue up, sometimes too many, while there is no worker.
    bool takeQueue()
    {
        m_channel.setActive(false);
        seam::timeOuts = true;
        const bool hasGone = hasThreads(0);
        seam::timeOuts = false;
        m_channel.setActive(true);
        if (!hasGone)
            return false;
        std::deque<Line> queued = fillQueue(m_chance.oneIn(2) ? LineQueue::MaximumLines : 0);
        const bool overflows = queued.size() > LineQueue::MaximumLines;
        m_event = overflows ? "a gap" : "a full queue";
        start();
        if (overflows) {
            queued.erase(queued.begin(), queued.begin() + LineQueue::BlockLines);
            m_model.loseLines();
        }
        for (const Line &line : queued)
            feedModel(line);
        return fallsAsleep();
    }

    std::deque<Line> fillQueue(std::size_t count)
    {
        std::deque<Line> queued;
        count += static_cast<std::size_t>(m_chance.below(100));
        while (queued.size() < count && !m_ticked.empty()) {
            // Short lines, so that the number of lines is the only bound of the queue and its blocks.
            Line line = nextLine();
            line.text.resize(std::min<std::size_t>(line.text.size(), 40));
            feedChannel(line);
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
    FedChannel m_channel{m_receiver.port()};
    std::set<std::string> m_ticked;
    std::deque<std::string> m_received;
    std::deque<std::string> m_expected;
    QByteArray m_event = "the start";
    int m_lines = 0;
    int m_datagrams = 0;
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

    seam::isPaced = true;
    int lines = 0, datagrams = 0;
    for (quint32 number = 0; number < streamCount; ++number) {
        Stream stream(seed * streamCount + number);
        for (int step = 0; step < stepsPerStream; ++step) {
            QVERIFY(stream.step());
            const QByteArray difference = stream.difference();
            QVERIFY2(difference.isEmpty(), "stream " + QByteArray::number(number) + ", " + difference);
        }
        lines += stream.lines();
        datagrams += stream.datagrams();
    }
    qInfo("%d lines, %d datagrams", lines, datagrams);
    QVERIFY(lines >= 100000);
    QVERIFY(datagrams >= lines / 40); // the streams are not so broken that little is compared
}

QTEST_GUILESS_MAIN(TestReference)

#include "test_reference.moc"
