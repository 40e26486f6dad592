#pragma once

#include "controllerlink.h"

#include <QByteArray>
#include <QHash>
#include <QList>

class Requester;
namespace simulation {
class SimulatedController;
}

/// The host's services as the benchmarks need them: the Controller's answers come at once, from a table that
/// the first asking fills, and each is noted with its moment. It also tells who wants data. GUI thread.
class BenchLink : public simulation::ControllerLink
{
    Q_OBJECT

public:
    explicit BenchLink(simulation::SimulatedController &controller);

    int getValue(char *answer, const char *format, ...) override IOMANAGER_PRINTF(3, 4);
    int getIntValue(int *answer, const char *format, ...) override IOMANAGER_PRINTF(3, 4);
    int addRequester(Requester *requester) override;

    /// The module's end of the data road.
    Requester *requester() const { return m_requester; }

    /// Begins a new note of the queries.
    void startNote();

    /// Queries since startNote(), in order.
    const QList<QByteArray> &queries() const { return m_queries; }

    /// When the last of them was answered.
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
