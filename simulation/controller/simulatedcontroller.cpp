#include "simulatedcontroller.h"

#include "controllerlanguage.h"

namespace simulation {

namespace {

/// An answer that is neither yes nor no, nor a number, nor a destination. It contains directives of printf()
/// and characters outside printable ASCII.
constexpr char garbage[] = "\"%s%n\" 99999999999999 -\xfc\x7f ";

bool isFailure(Fault fault)
{
    return fault == Fault::FailNext || fault == Fault::FailEvery;
}

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
        const Fault fault = takeFault(false, text);
        if (isFailure(fault))
            exchange.result = Failed;
        else if (fault == Fault::AnswerEmpty)
            exchange.answer = "";
        else if (fault == Fault::AnswerGarbage)
            exchange.answer = garbage;
        else
            exchange.result = answerQuery(m_state, text, &exchange.answer);
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
        exchange.result = isFailure(takeFault(true, text)) ? int(Failed) : executeCommand(m_state, text);
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

QList<QByteArray> SimulatedController::availableTypes() const
{
    QList<QByteArray> names;
    const QList<OutputType> types = state().catalogue;
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

void SimulatedController::setFault(int kind, Fault fault)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_faults[size_t(kind)] = fault;
}

Faults SimulatedController::faults() const
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_faults;
}

void SimulatedController::clearFaults()
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_faults = {};
}

/// Returns the fault that concerns \a text now. FailNext is taken only once. The caller holds m_mutex.
Fault SimulatedController::takeFault(bool isCommand, const QByteArray &text)
{
    const int kind = commandKindOf(isCommand, text);
    if (kind < 0)
        return Fault::None;
    Fault &fault = m_faults[size_t(kind)];
    const Fault now = fault;
    if (now == Fault::FailNext)
        fault = Fault::None;
    return now;
}

} // namespace simulation
