#pragma once

#include "controllerlink.h"

#include <QByteArray>
#include <QHash>
#include <QList>

class Requester;
namespace simulation {
class SimulatedController;
}

namespace bench {

/// The host's services for the benchmarks. Passes a query to the Controller the first time and answers it
/// from a table afterwards, so that answers cost almost nothing. Records all queries. GUI thread only, except
/// for requester().
class BenchLink : public simulation::ControllerLink
{
    Q_OBJECT

public:
    explicit BenchLink(simulation::SimulatedController &controller);

    int getValue(char *answer, const char *format, ...) override IOMANAGER_PRINTF(3, 4);
    int getIntValue(int *answer, const char *format, ...) override IOMANAGER_PRINTF(3, 4);
    int addRequester(Requester *requester) override;

    /// Returns the requester that the module registered last; null if it has registered none. May be called
    /// on any thread once the module has registered it.
    Requester *requester() const { return m_requester; }

    /// Clears the record of the queries.
    void startRecording();

    /// Returns the queries since the last startRecording(), in order.
    const QList<QByteArray> &queries() const { return m_queries; }

    /// Returns when the last query was answered, in monotonic nanoseconds; 0 before the first query.
    int64_t lastAnswerNs() const { return m_lastAnswerNs; }

private:
    struct Answer
    {
        int result = 0;
        QByteArray text;
    };

    const Answer &answerTo(const QByteArray &query);

    QHash<QByteArray, Answer> m_answers;
    QList<QByteArray> m_queries;
    int64_t m_lastAnswerNs = 0;
    Requester *m_requester = nullptr;
};

} // namespace bench
