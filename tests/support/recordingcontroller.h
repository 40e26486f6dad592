#pragma once

#include "simulatedcontroller.h"

#include <QHash>

/// A simulated Controller that records what it is asked and can be given any answer. GUI thread only.
class RecordingController : public simulation::SimulatedController
{
public:
    RecordingController()
    {
        connect(this, &SimulatedController::exchanged, this,
                [this](const simulation::Exchange &exchange) { m_record.append(exchange); });
    }

    /// Makes the query \a text return \a answer, even if the Controller does not know this query.
    void overrideAnswer(const QByteArray &text, const QByteArray &answer) { m_answers.insert(text, answer); }

    /// Makes every command of the same kind as \a text fail, or every query if \a isCommand is false.
    void failEvery(bool isCommand, const QByteArray &text)
    {
        setFault(simulation::commandKindOf(isCommand, text), simulation::Fault::FailEvery);
    }

    int query(const QByteArray &text, QByteArray *answer) override
    {
        if (!m_answers.contains(text))
            return SimulatedController::query(text, answer);
        *answer = m_answers.value(text);
        emit exchanged({simulation::Exchange::Kind::Query, text, *answer, simulation::Accepted});
        return simulation::Accepted;
    }

    /// Returns the exchanges since the last clearRecord(), in order.
    QList<simulation::Exchange> record() const { return m_record; }

    /// Returns the texts of the recorded commands in order, including refused ones.
    QList<QByteArray> commands() const
    {
        QList<QByteArray> texts;
        for (const simulation::Exchange &exchange : m_record) {
            if (exchange.kind == simulation::Exchange::Kind::Command)
                texts.append(exchange.text);
        }
        return texts;
    }

    void clearRecord() { m_record.clear(); }

private:
    QList<simulation::Exchange> m_record;
    QHash<QByteArray, QByteArray> m_answers;
};
