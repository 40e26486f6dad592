#include "frameassembler.h"
#include "linequeue.h"
#include "referencemodel.h"
#include "require.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <climits>

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

enum class Step
{
    StartRun,
    StartAfterGap,
    ResetFrame,
    SetDivisor,
    Append,     // a line to the queue
    AppendMany, // the same line to the queue, repeatedly
    AppendLong, // a line to the queue, up to beyond the queue's limit
    Add,        // a line to the assembler
    AddMany,    // the same line to the assembler, repeatedly
    Transfer    // the next line of the queue to the assembler
};

/// Returns the next step. A step that is listed twice is taken twice as often.
Step takeStep(FuzzedDataProvider &input)
{
    return input.PickValueInArray({Step::StartRun, Step::StartAfterGap, Step::ResetFrame, Step::SetDivisor,
                                   Step::AppendMany, Step::AddMany, Step::Append, Step::AppendLong,
                                   Step::Transfer, Step::Transfer, Step::Add, Step::Add});
}

void transfer(CheckedQueue *queue, CheckedAssembler *assembler, int divisor)
{
    Line line;
    bool gap = false;
    if (!queue->take(&line, &gap))
        return;
    if (gap)
        assembler->startAfterGap();
    assembler->add(line, divisor);
}

/// Performs the steps of one stream.
void runStream(FuzzedDataProvider &input)
{
    CheckedAssembler assembler;
    CheckedQueue queue;
    int divisor = 1;
    int bulk = 3; // limits the number of steps with many lines, which are slow
    while (input.remaining_bytes() > 0) {
        const Step step = takeStep(input);
        Line line = takeLine(input);
        const bool isMany = (step == Step::AppendMany || step == Step::AddMany) && bulk-- > 0;
        const int times = isMany ? input.ConsumeIntegralInRange(0, 20000) : 1;
        switch (step) {
        case Step::StartRun:
            assembler.startRun();
            break;
        case Step::StartAfterGap:
            assembler.startAfterGap();
            break;
        case Step::ResetFrame:
            assembler.resetFrame();
            break;
        case Step::SetDivisor:
            divisor = input.PickValueInArray({1, 2, 3, 7, INT_MAX});
            break;
        case Step::Append:
        case Step::AppendMany:
            for (int i = 0; i < times && line.text.size() < 3000; ++i)
                queue.append(line);
            break;
        case Step::AppendLong:
            line.text.resize(LineQueue::MaximumBytes / 16 * input.ConsumeIntegralInRange(0u, 17u));
            queue.append(line);
            break;
        case Step::Add:
        case Step::AddMany:
            for (int i = 0; i < times && i < FrameAssembler::MaximumLinesWithoutStart + 100; ++i)
                assembler.add(line, divisor);
            break;
        case Step::Transfer:
            transfer(&queue, &assembler, divisor);
            break;
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    runStream(input);
    return 0;
}
