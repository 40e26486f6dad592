#include "backendversions.h"
#include "channelasrouter.h"
#include "iomanager.h"
#include "native.h"

#include <QCoreApplication>

#include <fuzzer/FuzzedDataProvider.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <limits>
#include <mutex>
#include <optional>
#include <sched.h>
#include <string>
#include <vector>

// Tracking data may be anything: each input is a stream of lines with what happens to a worker in it. The
// queue and the assembler are held against a plain account of the same stream, and every so often the
// datagrams of a real channel are held against it too.

namespace {

void require(bool holds, const char *fact)
{
    if (holds)
        return;
    std::fprintf(stderr, "broken: %s\n", fact);
    std::abort();
}

/// The digits behind "fr ", read one by one; 0 for what does not fit.
qint64 frameNumber(const std::string &line)
{
    const std::string text = line.substr(std::min<std::size_t>(line.size(), 3));
    std::size_t at = 0;
    const std::string blanks(" \t\n\v\f\r");
    while (at < text.size() && blanks.find(text[at]) != std::string::npos)
        ++at;
    const bool negative = at < text.size() && text[at] == '-';
    if (at < text.size() && (text[at] == '-' || text[at] == '+'))
        ++at;
    qint64 number = 0;
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
        number = number * 10 + (text[at] - '0');
        if (number > qint64{1} << 40)
            return 0;
    }
    number = negative ? -number : number;
    const bool fits =
        number >= std::numeric_limits<qint32>::min() && number <= std::numeric_limits<qint32>::max();
    return fits ? number : 0;
}

/// The account of a worker: it remembers where frames began instead of counting.
class Account
{
public:
    void startRun()
    {
        m_begin = m_position; // lines of an earlier run measure no frame
        m_measured.reset();
        m_strangers = 0;
        m_waiting = false;
    }

    void startAfterGap()
    {
        startRun();
        drop();
        m_waiting = true;
    }

    void drop()
    {
        m_lines.clear();
        m_bytes = 0;
        m_number = 0;
    }

    /// True if \a line completes a frame.
    bool add(const RouterLine &line)
    {
        noteStart(line.type);
        if (m_waiting)
            return false;
        if (line.type == "fr")
            m_number = frameNumber(line.line);
        std::string text = line.line;
        while (!text.empty() && (text.back() == '\r' || text.back() == '\n'))
            text.pop_back();
        if (!text.empty()) {
            m_lines.push_back(text + "\r\n");
            m_bytes += m_lines.back().size();
        }
        ++m_position;
        return m_measured && m_position - m_begin == *m_measured;
    }

    bool fits() const { return m_bytes <= FrameAssembler::MaximumFrameBytes; }
    bool isSendable(int divisor) const { return m_number != 0 && m_number % divisor == 0 && fits(); }

    std::string text() const
    {
        std::string joined;
        for (const std::string &line : m_lines)
            joined += line;
        return joined;
    }

private:
    void noteStart(const std::string &type)
    {
        if (m_opening.empty()) {
            learn(type);
        } else if (type == m_opening) {
            if (!m_waiting)
                m_measured = m_position - m_begin;
            m_begin = m_position;
            m_strangers = 0;
            m_waiting = false;
        } else if (m_strangers == FrameAssembler::MaximumLinesWithoutStart) {
            startRun();
            drop();
            learn(type);
        } else {
            ++m_strangers;
        }
    }

    void learn(const std::string &type)
    {
        m_opening = type;
        m_begin = m_position;
        m_waiting = false;
    }

    std::string m_opening;
    std::size_t m_position = 0; // lines that counted
    std::size_t m_begin = 0;    // where the frame began
    std::optional<std::size_t> m_measured;
    int m_strangers = 0;
    bool m_waiting = false;
    std::vector<std::string> m_lines;
    std::size_t m_bytes = 0;
    qint64 m_number = 0;
};

/// Up to more than a datagram; the smallest choices lie about its limit.
std::string longText(int choice)
{
    const int size = choice < 16 ? FrameAssembler::MaximumFrameBytes - 10 + choice : choice;
    return std::string(static_cast<std::size_t>(size), 'l') + "\r\n";
}

std::string takeText(FuzzedDataProvider &input)
{
    switch (input.ConsumeIntegralInRange(0, 5)) {
    case 0:
        return input.ConsumeRandomLengthString(200);
    case 1:
        return "fr " + std::to_string(input.ConsumeIntegral<qint32>()) + "\r\n";
    case 2:
        return "fr " + std::to_string(input.ConsumeIntegralInRange(0, 20)) + "\r\n";
    case 3:
        return input.PickValueInArray<std::string>(
            {"", "\r\n", "\n\r\n", "fr", "fr ", "fr x", "fr 2147483647", "fr 2147483648", "fr -2147483648",
             "fr -2147483649", "fr 99999999999999999999", "fr  +7 9", "a\r\nb\r\r\n", "fr\t12", "\rx"});
    case 4:
        return longText(input.ConsumeIntegral<quint16>());
    default:
        return "6d 1 [0 1.000][1.0 2.0 3.0]\r\n";
    }
}

std::string takeType(FuzzedDataProvider &input)
{
    const int choice = input.ConsumeIntegralInRange(0, 7);
    if (choice == 7)
        return input.ConsumeRandomLengthString(12);
    static const char *const types[] = {"fr", "fr", "6d", "3d", "6df2", "FR", ""};
    return types[choice];
}

RouterLine takeRouterLine(FuzzedDataProvider &input)
{
    std::string type = takeType(input);
    return {std::move(type), takeText(input)};
}

int takeDivisor(FuzzedDataProvider &input)
{
    return input.ConsumeBool() ? input.ConsumeIntegralInRange(1, 4)
                               : input.ConsumeIntegralInRange(1, std::numeric_limits<int>::max());
}

/// An assembler beside its account.
class Bench
{
public:
    void startRun()
    {
        m_frame.startRun();
        m_account.startRun();
    }
    void startAfterGap()
    {
        m_frame.startAfterGap();
        m_account.startAfterGap();
    }
    void resetFrame()
    {
        m_frame.resetFrame();
        m_account.drop();
    }

    void add(const RouterLine &line, int divisor)
    {
        const bool complete = m_frame.add(line);
        require(complete == m_account.add(line), "frames complete where they began and how long they were");
        const QByteArray &text = m_frame.text();
        require(text.size() <= FrameAssembler::MaximumFrameBytes, "a frame fits into a datagram");
        require(text.isEmpty() || text.endsWith("\r\n"), "every line ends");
        require(m_frame.isSendable(divisor) == m_account.isSendable(divisor), "which frames are sent");
        require(m_frame.isSendable(1) || !m_frame.isSendable(divisor), "a divisor sends no more frames");
        require(!m_frame.isSendable(1) || !text.isEmpty(), "a frame with a number has text");
        if (!complete)
            return;
        require(text.toStdString() == (m_account.fits() ? m_account.text() : std::string()),
                "a frame is its lines");
        resetFrame();
    }

private:
    FrameAssembler m_frame;
    Account m_account;
};

/// A queue that knows which lines it should give.
class Waiting
{
public:
    void append(const RouterLine &line)
    {
        RouterLine numbered{line.type, std::to_string(m_appended++) + ' ' + line.line};
        m_queue.append(std::move(numbered));
    }

    /// The next line, and whether some are missing in front of it.
    bool take(RouterLine *line, bool *gap)
    {
        RouterLine numbered;
        require(m_queue.isEmpty() == !m_queue.take(&numbered), "an empty queue gives nothing");
        if (numbered.line.empty())
            return false;
        const std::size_t blank = numbered.line.find(' ');
        const quint64 number = std::stoull(numbered.line.substr(0, blank));
        *gap = m_queue.takeGap();
        require(number >= m_next && number < m_appended, "lines come in order");
        require(*gap == (number != m_next), "a gap is told, and nothing else");
        require(m_appended - number <= LineQueue::MaximumLines, "the queue is bounded");
        m_next = number + 1;
        *line = {numbered.type, numbered.line.substr(blank + 1)};
        return true;
    }

private:
    LineQueue m_queue;
    quint64 m_appended = 0;
    quint64 m_next = 0;
};

/// Queue and assembler as a worker uses them, one thing after the other.
class Stream
{
public:
    explicit Stream(FuzzedDataProvider &input)
        : m_input(input)
    {
    }

    void run()
    {
        while (m_input.remaining_bytes() > 0)
            step();
    }

private:
    void step()
    {
        switch (m_input.ConsumeIntegralInRange(0, 15)) {
        case 0:
            m_bench.startRun();
            break;
        case 1:
            m_bench.startAfterGap();
            break;
        case 2:
            m_bench.resetFrame();
            break;
        case 3:
            m_divisor = takeDivisor(m_input);
            break;
        case 4:
            repeat();
            break;
        case 5:
            flood();
            break;
        case 6:
            appendHuge();
            break;
        case 7:
        case 8:
            m_waiting.append(takeRouterLine(m_input));
            break;
        case 9:
        case 10:
            handleNext();
            break;
        default:
            m_bench.add(takeRouterLine(m_input), m_divisor);
        }
    }

    /// How often a line comes. Bulky steps take time, so there are few.
    int takeTimes(int most) { return m_bulk-- > 0 ? m_input.ConsumeIntegralInRange(0, most) : 1; }

    void repeat()
    {
        const RouterLine line = takeRouterLine(m_input);
        for (int times = takeTimes(FrameAssembler::MaximumLinesWithoutStart + 100); times > 0; --times)
            m_bench.add(line, m_divisor);
    }

    void flood()
    {
        const RouterLine line = takeRouterLine(m_input);
        const int times = takeTimes(20000);
        for (int i = 0; i < times && line.line.size() < 3000; ++i)
            m_waiting.append(line);
    }

    void appendHuge()
    {
        const int bytes = takeTimes(static_cast<int>(LineQueue::MaximumBytes) + 20);
        m_waiting.append({"6d", std::string(static_cast<std::size_t>(bytes), 'x')});
    }

    void handleNext()
    {
        RouterLine line;
        bool gap = false;
        if (!m_waiting.take(&line, &gap))
            return;
        if (gap)
            m_bench.startAfterGap();
        m_bench.add(line, m_divisor);
    }

    FuzzedDataProvider &m_input;
    Bench m_bench;
    Waiting m_waiting;
    int m_divisor = 1;
    int m_bulk = 3;
};

/// The datagrams of the channel at work, in order.
class Datagrams
{
public:
    void clear()
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_sent.clear();
    }

    void add(std::string text)
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_sent.push_back(std::move(text));
        m_more.notify_all();
    }

    /// Waits until \a count are there.
    std::vector<std::string> await(std::size_t count)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_more.wait_for(lock, std::chrono::seconds(60), [&] { return m_sent.size() >= count; });
        return m_sent;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_more;
    std::vector<std::string> m_sent;
};

Datagrams datagrams;

OutputTypeInfo type(const char *name)
{
    return {QString::fromLatin1(name), QString(), true};
}

void tickAll(Channel *channel)
{
    QStandardItemModel *rows = channel->typeModel();
    for (int row = 0; row < rows->rowCount(); ++row)
        rows->item(row, Channel::IdentifierColumn)->setCheckState(Qt::Checked);
}

/// One run of a real channel, worker and all: its datagrams are those of the account.
void feedChannel(FuzzedDataProvider &input)
{
    datagrams.clear();
    BackendVersions versions = {};
    ChannelAsRouter channel(nullptr, 0, &versions); // without load() and commit() it asks nobody
    channel.setOutputTypes({type("fr"), type("6d"), type("3d")});
    tickAll(&channel);
    channel.setHost(QLatin1String("127.0.0.1"));
    channel.setPort(5001);
    const int divisor = input.ConsumeIntegralInRange(1, 3);
    channel.setDataDivisor(divisor);
    channel.setActive(true);
    channel.updateRouterActiveState(true);

    Account account;
    account.startRun();
    std::vector<std::string> expected;
    while (input.remaining_bytes() > 0) {
        const RouterLine line = takeRouterLine(input);
        // A host's texts end at the first zero.
        const std::string text = line.line.substr(0, line.line.find('\0'));
        const std::string name = line.type.substr(0, line.type.find('\0'));
        channel.enqueue(name.c_str(), text.c_str());
        const bool wanted = name == "fr" || name == "6d" || name == "3d";
        if (!wanted || !account.add({name, text}))
            continue;
        if (account.isSendable(divisor))
            expected.push_back(account.text());
        account.drop();
    }
    const std::vector<std::string> sent = datagrams.await(expected.size());
    channel.updateRouterActiveState(false);
    require(sent == expected, "a channel sends the frames of its lines");
}

} // namespace

// NOLINTBEGIN(bugprone-reserved-identifier): the linker's names
extern "C" {

void __wrap_nativeSleep(uint32_t /*milliseconds*/)
{
    sched_yield();
}

int32_t __wrap_nativeSocketSend(NativeSocket /*socket*/, const void *data, int32_t length, uint32_t address,
                                uint16_t port)
{
    require(address == 0x7F000001 && port == 5001, "datagrams go to the channel's destination");
    require(length > 0 && length <= FrameAssembler::MaximumFrameBytes, "a datagram has a frame's length");
    datagrams.add(std::string(static_cast<const char *>(data), static_cast<std::size_t>(length)));
    return length;
}

int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    static const QCoreApplication application(*argc, *argv);
    return 0;
}

int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    // A run of a channel costs a hundred times that of an assembler.
    if (input.ConsumeIntegral<quint8>() % 32 == 1)
        feedChannel(input);
    else
        Stream(input).run();
    return 0;
}
}
// NOLINTEND(bugprone-reserved-identifier)
