#pragma once

#include "commandkinds.h"
#include "commandservice.h"
#include "controllerlanguage.h"
#include "exchange.h"

#include <QHash>
#include <QObject>

#include <array>
#include <functional>
#include <mutex>

namespace simulation {

/// A fault of the Controller for the queries or commands of one kind.
enum class Fault
{
    None,
    FailNext,     ///< like FailEvery, but only for the next query or command
    FailEvery,    ///< every query or command fails, without an answer and without effect
    AnswerEmpty,  ///< every query gets an empty answer; no effect on commands
    AnswerGarbage ///< every query gets an answer that makes no sense; no effect on commands
};

using Faults = std::array<Fault, commandKindCount>;

/// A Controller that answers queries and executes commands in memory. Thread-safe; the signals are emitted on
/// the thread of the call that caused them, with no lock held.
class SimulatedController : public QObject, public CommandService
{
    Q_OBJECT

public:
    enum class Match
    {
        Exact,
        Prefix
    };
    enum class Times
    {
        Once,
        Always
    };

    explicit SimulatedController(QObject *parent = nullptr);

    int query(const QByteArray &text, QByteArray *answer) override;
    int command(const QByteArray &text) override;

    ControllerState state() const;
    QList<OutputType> catalogue() const;

    /// Returns the names of the available types, in the order of the catalogue.
    QList<QByteArray> availableTypes() const;

    /// Changes the state directly, even if the configuration is locked. \a edit must not call this object,
    /// whose mutex is locked meanwhile.
    void change(const std::function<void(ControllerState &)> &edit);

    /// Makes the query or command \a text (or, with Prefix, any that starts with it) fail with \a result,
    /// once or always. Of several calls that match a text, the first one applies. A failing query still
    /// returns an overridden answer.
    void fail(const QByteArray &text, Match match = Match::Exact, Times times = Times::Always,
              int result = -1);

    /// Makes the query \a text return \a answer, even if the Controller does not know this query.
    void overrideAnswer(const QByteArray &text, const QByteArray &answer);

    /// Sets the fault of \a kind, a position in commandKinds(). The result of a matching fail() and the
    /// answer of a matching overrideAnswer() take precedence.
    void setFault(int kind, Fault fault);

    /// Makes commands fail at random with \a probability, 0 to 1. Their result is -1.
    void setRefusalProbability(double probability);

    /// Returns the faults by position in commandKinds().
    Faults faults() const;

    /// Undoes every fail(), overrideAnswer() and setFault(). The probability of refusals stays.
    void clearFaults();

    /// Returns the latest exchanges in order, at most RecordLimit of them.
    QList<Exchange> record() const;

    /// Returns the texts of the recorded commands in order, including refused ones.
    QList<QByteArray> commands() const;

    void clearRecord();

    static constexpr int RecordLimit = 20000;

signals:
    /// A query or command is about to return.
    void exchanged(const simulation::Exchange &exchange);
    /// A command was accepted, or change() was called.
    void stateChanged();

private:
    struct TextFault
    {
        QByteArray text;
        Match match;
        Times times;
        int result;
    };

    int consumeFault(bool isCommand, const QByteArray &text);
    bool findAnswerFault(const QByteArray &text, QByteArray *answer) const;
    void keep(const Exchange &exchange);

    mutable std::mutex m_mutex; ///< guards all members below
    ControllerState m_state;
    QList<TextFault> m_textFaults;
    QHash<QByteArray, QByteArray> m_overrides;
    Faults m_faults{};
    double m_refusalProbability = 0.0;
    QList<Exchange> m_record;
};

} // namespace simulation
