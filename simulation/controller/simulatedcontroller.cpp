#include "simulatedcontroller.h"

namespace {

constexpr int failed = -1;

/// Neither yes nor no, no number, no destination; with what a careless reader could stumble over.
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
    Exchange exchange{Exchange::Kind::Query, text, {}, Taken};
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        exchange.result = takeFault(exchange.kind, text);
        if (!findSubstitute(text, &exchange.answer) && exchange.result == Taken)
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
    Exchange exchange{Exchange::Kind::Command, text, {}, Taken};
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        exchange.result = takeFault(exchange.kind, text);
        if (exchange.result == Taken)
            exchange.result = carryOutCommand(m_state, text);
        keep(exchange);
    }
    emit exchanged(exchange);
    if (exchange.result == Taken)
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
    m_faults.append({text, match, times, result});
}

void SimulatedController::overrideAnswer(const QByteArray &text, const QByteArray &answer)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_overrides.insert(text, answer);
}

void SimulatedController::setTreatment(int phrase, Treatment treatment)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_treatments[size_t(phrase)] = treatment;
}

Treatments SimulatedController::treatments() const
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_treatments;
}

void SimulatedController::behave()
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_faults.clear();
    m_overrides.clear();
    m_treatments = {};
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

/// The result of the first fault that matches, 0 without one. Expects m_mutex held.
int SimulatedController::takeFault(Exchange::Kind kind, const QByteArray &text)
{
    for (int i = 0; i < m_faults.size(); ++i) {
        const Fault fault = m_faults.at(i);
        if (fault.match == Match::Exact ? text != fault.text : !text.startsWith(fault.text))
            continue;
        if (fault.times == Times::Once)
            m_faults.removeAt(i);
        return fault.result;
    }
    const int phrase = phraseOf(kind == Exchange::Kind::Command, text);
    if (phrase < 0)
        return Taken;
    Treatment &treatment = m_treatments[size_t(phrase)];
    const Treatment now = treatment;
    if (now == Treatment::FailNext)
        treatment = Treatment::AsUsual;
    return now == Treatment::FailNext || now == Treatment::FailEvery ? failed : int(Taken);
}

/// Whether the query \a text has an answer that does not come from the state. Expects m_mutex held.
bool SimulatedController::findSubstitute(const QByteArray &text, QByteArray *answer) const
{
    const auto override = m_overrides.constFind(text);
    if (override != m_overrides.constEnd()) {
        *answer = *override;
        return true;
    }
    const int phrase = phraseOf(false, text);
    const Treatment treatment = phrase < 0 ? Treatment::AsUsual : m_treatments[size_t(phrase)];
    if (treatment == Treatment::AnswerEmpty)
        *answer = "";
    else if (treatment == Treatment::AnswerGarbage)
        *answer = garbage;
    return treatment == Treatment::AnswerEmpty || treatment == Treatment::AnswerGarbage;
}

/// Expects m_mutex held.
void SimulatedController::keep(const Exchange &exchange)
{
    if (m_record.size() >= RecordLimit)
        m_record.removeFirst();
    m_record.append(exchange);
}
