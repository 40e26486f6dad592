#include "benchlink.h"

#include "simulatedcontroller.h"

#include "clocks.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

using simulation::SimulatedController;

namespace bench {

namespace {

QByteArray formatted(const char *format, va_list arguments)
{
    char text[256];
    const int length = std::vsnprintf(text, sizeof text, format, arguments);
    return {text, qMin(length, int(sizeof text) - 1)};
}

} // namespace

BenchLink::BenchLink(SimulatedController &controller)
    : ControllerLink(controller)
{
}

int BenchLink::getValue(char *answer, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const Answer &known = answerTo(formatted(format, arguments));
    va_end(arguments);
    std::memcpy(answer, known.text.constData(), size_t(known.text.size()) + 1);
    m_lastAnswerNs = nowNs();
    return known.result;
}

int BenchLink::getIntValue(int *answer, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const Answer &known = answerTo(formatted(format, arguments));
    va_end(arguments);
    *answer = known.text.toInt();
    m_lastAnswerNs = nowNs();
    return known.result;
}

int BenchLink::addRequester(Requester *requester)
{
    m_requester = requester;
    return ControllerLink::addRequester(requester);
}

void BenchLink::startRecording()
{
    m_queries.clear();
}

const BenchLink::Answer &BenchLink::answerTo(const QByteArray &query)
{
    m_queries.append(query);
    auto known = m_answers.find(query);
    if (known == m_answers.end()) {
        char text[AnswerSize] = {};
        const int result = ControllerLink::getValue(text, "%s", query.constData());
        known = m_answers.insert(query, {result, text});
    }
    return *known;
}

} // namespace bench
