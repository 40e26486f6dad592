#pragma once

#include "textiomanager.h"

#include <QHash>
#include <QStringList>

#include <cstring>
#include <functional>

/// A host for tests without a simulated Controller: takes answers from a table, fails on demand, and records
/// all calls in order. Not thread-safe.
class FakeIOManager : public TextIOManager
{
public:
    /// Maps a query to its answer. An answer must fit into the caller's buffer, whose size is unknown here. A
    /// query that is not in the table fails and leaves the buffer unchanged.
    QHash<QByteArray, QByteArray> answers;

    /// The calls that fail, written as in the journal. A failing query that is in the table of answers still
    /// writes its answer.
    QSet<QByteArray> failing;

    /// All calls in order: queries and commands as they were sent, other calls as note() gets them.
    QStringList journal;

    /// If set, each call, once it is in the journal, invokes this function with its line of the journal. The
    /// function may change the answers and the failing calls, which the call reads afterwards.
    std::function<void(const QByteArray &)> onCall;

    /// Returns and clears the journal.
    QStringList takeJournal()
    {
        QStringList taken;
        taken.swap(journal);
        return taken;
    }

private:
    int query(const QByteArray &text, char *answer) override
    {
        const int result = note(text);
        if (!answers.contains(text))
            return 1;
        std::memcpy(answer, answers[text].constData(), static_cast<size_t>(answers[text].size()) + 1);
        return result;
    }

    int query(const QByteArray &text, int *answer) override
    {
        const int result = note(text);
        if (!answers.contains(text))
            return 1;
        *answer = answers[text].toInt();
        return result;
    }

    int command(const QByteArray &text) override { return note(text); }

    int note(const QByteArray &line) override
    {
        journal << QString::fromLatin1(line);
        if (onCall)
            onCall(line);
        return failing.contains(line) ? 1 : 0;
    }
};
