#include "simulatedcontroller.h"

#include <QRandomGenerator>

namespace simulation {

namespace {

constexpr int failed = -1;

/// An answer that is neither yes nor no, nor a number, nor a destination. It contains directives of printf()
/// and characters outside printable ASCII.
constexpr char garbage[] = "\"%s%n\" 99999999999999 -\xfc\x7f ";

} // namespace

SimulatedController::SimulatedController(QObject *parent)
    : QObject(parent)
    , m_state(defaultControllerState())
{
    qRegisterMetaType<Exchange>();
}

int SimulatedController::query(const QByteArray &text, QByteArray *answer)
{
    Exchange exchange{Exchange::Kind::Query, text, {}, Accepted};
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        exchange.result = consumeFault(exchange.kind == Exchange::Kind::Command, text);
        if (!findAnswerFault(text, &exchange.answer) && exchange.result == Accepted)
            exchange.result = answerQuery(m_state, text, &exchange.answer);
        keep(exchange);
    }
    if (!exchange.answer.isNull())
        *answer = exchange.answer;
    emit exchanged(exchange);
    return exchange.result;
}

int SimulatedController::command(const QByteArray &text)
{
    Exchange exchange{Exchange::Kind::Command, text, {}, Accepted};
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        exchange.result = consumeFault(exchange.kind == Exchange::Kind::Command, text);
        if (exchange.result == Accepted &&
            QRandomGenerator::global()->generateDouble() < m_refusalProbability)
            exchange.result = failed;
        if (exchange.result == Accepted)
            exchange.result = executeCommand(m_state, text);
        keep(exchange);
    }
    emit exchanged(exchange);
    if (exchange.result == Accepted)
        emit stateChanged();
    return exchange.result;
}

ControllerState SimulatedController::state() const
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_state;
}

QList<OutputType> SimulatedController::catalogue() const
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_state.catalogue;
}

QList<QByteArray> SimulatedController::availableTypes() const
{
    QList<QByteArray> names;
    const QList<OutputType> types = catalogue();
    for (const OutputType &type : types) {
        if (type.available)
            names.append(type.name);
    }
    return names;
}

void SimulatedController::change(const std::function<void(ControllerState &)> &edit)
{
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        edit(m_state);
    }
    emit stateChanged();
}

void SimulatedController::fail(const QByteArray &text, Match match, Times times, int result)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_textFaults.append({text, match, times, result});
}

void SimulatedController::overrideAnswer(const QByteArray &text, const QByteArray &answer)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_overrides.insert(text, answer);
}

void SimulatedController::setFault(int kind, Fault fault)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_faults[size_t(kind)] = fault;
}

void SimulatedController::setRefusalProbability(double probability)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_refusalProbability = probability;
}

Faults SimulatedController::faults() const
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_faults;
}

void SimulatedController::clearFaults()
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_textFaults.clear();
    m_overrides.clear();
    m_faults = {};
}

QList<Exchange> SimulatedController::record() const
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_record;
}

QList<QByteArray> SimulatedController::commands() const
{
    QList<QByteArray> texts;
    const QList<Exchange> exchanges = record();
    for (const Exchange &exchange : exchanges) {
        if (exchange.kind == Exchange::Kind::Command)
            texts.append(exchange.text);
    }
    return texts;
}

void SimulatedController::clearRecord()
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_record.clear();
}

/// Returns the result of the first matching fault, or Accepted. Removes a fault that applies only once. The
/// caller holds m_mutex.
int SimulatedController::consumeFault(bool isCommand, const QByteArray &text)
{
    for (int i = 0; i < m_textFaults.size(); ++i) {
        const TextFault fault = m_textFaults.at(i);
        if (fault.match == Match::Exact ? text != fault.text : !text.startsWith(fault.text))
            continue;
        if (fault.times == Times::Once)
            m_textFaults.removeAt(i);
        return fault.result;
    }
    const int kind = commandKindOf(isCommand, text);
    if (kind < 0)
        return Accepted;
    Fault &fault = m_faults[size_t(kind)];
    const Fault now = fault;
    if (now == Fault::FailNext)
        fault = Fault::None;
    return now == Fault::FailNext || now == Fault::FailEvery ? failed : int(Accepted);
}

/// Returns whether overrideAnswer() or a fault determines the answer to the query \a text, and writes this
/// answer. The caller holds m_mutex.
bool SimulatedController::findAnswerFault(const QByteArray &text, QByteArray *answer) const
{
    const auto override = m_overrides.constFind(text);
    if (override != m_overrides.constEnd()) {
        *answer = *override;
        return true;
    }
    const int kind = commandKindOf(false, text);
    const Fault fault = kind < 0 ? Fault::None : m_faults[size_t(kind)];
    if (fault == Fault::AnswerEmpty)
        *answer = "";
    else if (fault == Fault::AnswerGarbage)
        *answer = garbage;
    return fault == Fault::AnswerEmpty || fault == Fault::AnswerGarbage;
}

/// Appends \a exchange to the record. The caller holds m_mutex.
void SimulatedController::keep(const Exchange &exchange)
{
    if (m_record.size() >= RecordLimit)
        m_record.removeFirst();
    m_record.append(exchange);
}

} // namespace simulation
