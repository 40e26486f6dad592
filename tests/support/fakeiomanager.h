#pragma once

#include "iomanager.h"

#include <QByteArray>
#include <QHash>
#include <QSet>
#include <QStringList>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <functional>

/// A host for tests without a simulated Controller: takes answers from a table, fails on demand, and records
/// all calls in order. Not thread-safe.
class FakeIOManager : public IOManager
{
public:
    virtual ~FakeIOManager() = default;

    /// Maps a query to its answer. An answer must fit into the caller's buffer, whose size is unknown here. A
    /// query that is not in the table fails and leaves the buffer unchanged.
    QHash<QByteArray, QByteArray> answers;

    /// The calls that fail, written as in the journal. A failing query that is in the table of answers still
    /// writes its answer.
    QSet<QByteArray> failing;

    /// All calls in order. A query or a command is recorded as it was sent, any other call as "request TYPE",
    /// "release TYPE", "add requester", "remove requester", "add NAME" or "remove NAME" (of a message
    /// receiver), or "log LEVEL COMPONENT NUMBER MESSAGE".
    QStringList journal;

    /// The formats of all queries and commands so far.
    QSet<QByteArray> formats;

    /// If set, each call, once it is in the journal, invokes this function with its line of the journal. The
    /// function may change the answers and the failing calls, which the call reads afterwards.
    std::function<void(const QByteArray &)> onCall;

    int getValue(char *answer, const char *format, ...) override
    {
        va_list arguments;
        va_start(arguments, format);
        const QByteArray query = take(format, arguments);
        va_end(arguments);
        if (!answers.contains(query))
            return 1;
        const QByteArray text = answers.value(query);
        std::memcpy(answer, text.constData(), static_cast<size_t>(text.size()) + 1);
        return result(query);
    }

    int getIntValue(int *answer, const char *format, ...) override
    {
        va_list arguments;
        va_start(arguments, format);
        const QByteArray query = take(format, arguments);
        va_end(arguments);
        if (!answers.contains(query))
            return 1;
        *answer = answers.value(query).toInt();
        return result(query);
    }

    int setValue(const char *format, ...) override
    {
        va_list arguments;
        va_start(arguments, format);
        const QByteArray command = take(format, arguments);
        va_end(arguments);
        return result(command);
    }

    int requestOutputType(const char *type, Requester *) override { return note("request", type); }
    int releaseOutputType(const char *type, Requester *) override { return note("release", type); }
    int addRequester(Requester *) override { return note("add", "requester"); }
    int removeRequester(Requester *) override { return note("remove", "requester"); }
    int addMessageReceiver(const char *name, MessageReceiver *) override { return note("add", name); }
    int removeMessageReceiver(const char *name, MessageReceiver *) override { return note("remove", name); }

    int log(const char *level, const char *component, int number, const char *message) override
    {
        return note("log",
                    QByteArray(level) + ' ' + component + ' ' + QByteArray::number(number) + ' ' + message);
    }

    /// Returns and clears the journal.
    QStringList takeJournal()
    {
        QStringList taken;
        taken.swap(journal);
        return taken;
    }

private:
    QByteArray take(const char *format, va_list arguments)
    {
        formats << format;
        char text[1024];
        std::vsnprintf(text, sizeof text, format, arguments);
        journal << QString::fromLatin1(text);
        if (onCall)
            onCall(text);
        return text;
    }

    int result(const QByteArray &command) const { return failing.contains(command) ? 1 : 0; }

    int note(const char *kind, const QByteArray &what)
    {
        const QByteArray line = QByteArray(kind) + ' ' + what;
        journal << QString::fromLatin1(line);
        if (onCall)
            onCall(line);
        return result(line);
    }
};
