#include "frameassembler.h"
#include "linequeue.h"
#include "referencemodel.h"
#include "require.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <climits>
#include <functional>

// Each input is a stream of arbitrary lines and of events that a worker handles. The assembler is compared
// with the reference model of the tests, the queue with the lines that were appended to it.

using namespace networksettings2g;

namespace {

struct Line
{
    std::string type;
    std::string text;

    RouterLine routed() const { return {type, text}; }
};

/// Returns a line of \a choice characters and CR LF. If \a choice is less than 16, the length is near the
/// limit for a datagram instead.
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
    return input.ConsumeBool() ? input.PickValueInArray<std::string>({"fr", "fr", "6d", "3d", "6df2", "FR"})
                               : 't' + input.ConsumeRandomLengthString(12);
}

Line takeLine(FuzzedDataProvider &input)
{
    std::string type = takeType(input);
    return {std::move(type), takeText(input)};
}

/// Compares an assembler with its model.
class CheckedAssembler
{
public:
    void startRun()
    {
        m_frame.resetFrame();
        m_frame.startRun();
        m_model.start();
        lookAhead();
    }
    void startAfterGap()
    {
        m_frame.startAfterGap();
        m_model.loseLines();
        lookAhead();
    }
    void resetFrame()
    {
        m_frame.resetFrame();
        m_model.reset();
    }

    void add(const Line &line, int divisor)
    {
        m_model.setDivisor(divisor);
        m_conditionMet = m_conditionMet || m_wakeCondition.isMet(line.routed(), ++m_linesAhead);
        const bool completes = m_frame.add(line.routed());
        require(!completes || m_conditionMet, "no frame is complete before the wake condition is met");
        require(m_frame.text().size() <= FrameAssembler::MaximumFrameBytes, "a frame fits into a datagram");
        std::optional<std::string> sent;
        if (completes && m_frame.isSendable(divisor))
            sent = m_frame.text().toStdString();
        require(sent == m_model.add(line.type, line.text), "the sent datagrams are those of the model");
        if (completes)
            m_frame.resetFrame();
        if (m_conditionMet)
            lookAhead();
    }

private:
    void lookAhead()
    {
        m_wakeCondition = m_frame.nextCompletion();
        m_linesAhead = 0;
        m_conditionMet = false;
    }

    FrameAssembler m_frame;
    ReferenceModel m_model;
    WakeCondition m_wakeCondition;
    std::size_t m_linesAhead = 0; // lines since m_wakeCondition was set
    bool m_conditionMet = false;
};

/// Checks that a queue returns lines in order and reports gaps. Numbers the lines for this purpose.
class CheckedQueue
{
public:
    void append(const Line &line)
    {
        const std::string numbered = std::to_string(m_appended++) + ' ' + line.text;
        m_queue.append({line.type, numbered});
        require(m_queue.lineCount() <= LineQueue::MaximumLines, "the queue is bounded");
    }

    /// Sets \a line to the next line and \a gap to whether lines were lost before it. Returns false if the
    /// queue is empty.
    bool take(Line *line, bool *gap)
    {
        RouterLine numbered;
        *gap = false;
        if (m_block.isRead()) {
            const bool hasLines = m_queue.lineCount() > 0;
            require(m_queue.take(&m_block) == hasLines, "an empty queue returns no lines");
            *gap = hasLines && m_queue.takeLinesLostFlag();
        }
        if (!m_block.read(&numbered))
            return false;
        const std::string text(numbered.line);
        const std::size_t number = std::stoull(text);
        require(number >= m_next && number < m_appended, "lines keep their order");
        require(*gap == (number != m_next), "a gap is reported exactly if lines are missing");
        m_next = number + 1;
        *line = {std::string(numbered.type), text.substr(text.find(' ') + 1)};
        return true;
    }

private:
    LineQueue m_queue;
    LineBlock m_block;
    std::size_t m_appended = 0;
    std::size_t m_next = 0;
};

/// Performs the steps of one stream.
class Stream
{
public:
    explicit Stream(FuzzedDataProvider *input)
        : m_input(*input)
    {
    }

    /// A step that is listed twice is taken twice as often.
    void run()
    {
        const std::function<void()> steps[] = {
            [this] { m_assembler.startRun(); },
            [this] { m_assembler.startAfterGap(); },
            [this] { m_assembler.resetFrame(); },
            [this] {
                m_divisor = m_input.PickValueInArray({1, 2, 3, 7, INT_MAX});
            },
            [this] { append(takeCount()); },
            [this] { add(takeCount()); },
            [this] { append(1); },
            [this] { appendLong(); },
            [this] { transfer(); },
            [this] { transfer(); },
            [this] { add(1); },
            [this] { add(1); },
        };
        while (m_input.remaining_bytes() > 0) {
            const auto step = m_input.ConsumeIntegralInRange<std::size_t>(0, std::size(steps) - 1);
            m_line = takeLine(m_input);
            steps[step]();
        }
    }

private:
    /// Returns how often to repeat a line. Limits the number of long repetitions, which are slow.
    int takeCount() { return m_bulk-- > 0 ? m_input.ConsumeIntegralInRange(0, 20000) : 1; }

    void append(int times)
    {
        for (int i = 0; i < times && m_line.text.size() < 3000; ++i)
            m_queue.append(m_line);
    }

    /// Appends a line of a length up to beyond the queue's limit.
    void appendLong()
    {
        m_line.text.resize(LineQueue::MaximumBytes / 16 * m_input.ConsumeIntegralInRange(0u, 17u));
        m_queue.append(m_line);
    }

    void add(int times)
    {
        for (int i = 0; i < times && i < FrameAssembler::MaximumLinesWithoutStart + 100; ++i)
            m_assembler.add(m_line, m_divisor);
    }

    /// Passes the next line of the queue to the assembler.
    void transfer()
    {
        bool gap = false;
        if (!m_queue.take(&m_line, &gap))
            return;
        if (gap)
            m_assembler.startAfterGap();
        m_assembler.add(m_line, m_divisor);
    }

    FuzzedDataProvider &m_input;
    CheckedAssembler m_assembler;
    CheckedQueue m_queue;
    Line m_line;
    int m_divisor = 1;
    int m_bulk = 3;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    Stream(&input).run();
    return 0;
}
