#pragma once

#include "controllerlanguage.h"
#include "phrases.h"

#include <QHash>
#include <QMetaType>
#include <QObject>

#include <array>
#include <functional>
#include <mutex>

/// One query or command with what the Controller made of it.
struct Exchange
{
    enum class Kind
    {
        Query,
        Command
    };

    Kind kind = Kind::Query;
    QByteArray text;
    QByteArray answer; ///< of a query
    int result = 0;    ///< 0 for success
};

Q_DECLARE_METATYPE(Exchange)

/// How the Controller treats all that is said in one phrase. The last two are for questions.
enum class Treatment
{
    AsUsual,
    FailNext,  ///< once, then as usual again
    FailEvery, ///< without an answer and without effect
    AnswerEmpty,
    AnswerGarbage
};

using Treatments = std::array<Treatment, phraseCount>;

/// A Controller that takes and gives the texts of its language, without a network. Every function may be
/// called on any thread; the signals come on the thread of the call that caused them, with no lock held.
class SimulatedController : public QObject
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

    /// Answers \a text. Returns 0 and writes \a answer, or returns a ControllerResult.
    int query(const QByteArray &text, QByteArray *answer);

    /// Carries out \a text. Returns a ControllerResult.
    int command(const QByteArray &text);

    ControllerState state() const;
    QList<OutputType> catalogue() const;

    /// The names of the available types, in the order of the catalogue.
    QList<QByteArray> availableTypes() const;

    /// Changes the state from within, as the Controller's own user would, lock or no lock.
    void change(const std::function<void(ControllerState &)> &edit);

    /// From now on \a text, or what begins with it, has the result \a result and no effect. A query that
    /// fails so still gives its answer if there is one from overrideAnswer().
    void fail(const QByteArray &text, Match match = Match::Exact, Times times = Times::Always,
              int result = -1);

    /// From now on the query \a text gets \a answer, known to the Controller or not.
    void overrideAnswer(const QByteArray &text, const QByteArray &answer);

    /// Treats phrase \a phrase, a position in phrases(), in this way from now on. What fail() and
    /// overrideAnswer() say of single texts comes first.
    void setTreatment(int phrase, Treatment treatment);

    /// By the position in phrases().
    Treatments treatments() const;

    /// Takes back every fail(), overrideAnswer() and setTreatment().
    void behave();

    /// The latest exchanges in order, at most RecordLimit.
    QList<Exchange> record() const;

    /// The texts of the commands in the record, in order, refused ones included.
    QList<QByteArray> commands() const;

    void clearRecord();

    static constexpr int RecordLimit = 20000;

signals:
    void exchanged(const Exchange &exchange);
    /// A command was carried out, or change() was called.
    void stateChanged();

private:
    struct Fault
    {
        QByteArray text;
        Match match;
        Times times;
        int result;
    };

    int takeFault(Exchange::Kind kind, const QByteArray &text);
    bool findSubstitute(const QByteArray &text, QByteArray *answer) const;
    void keep(const Exchange &exchange);

    mutable std::mutex m_mutex;
    ControllerState m_state;
    QList<Fault> m_faults;
    QHash<QByteArray, QByteArray> m_overrides;
    Treatments m_treatments{};
    QList<Exchange> m_record;
};
