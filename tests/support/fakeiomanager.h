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

/// A host for the tests of one class: it answers from a table, fails where it is told to, and keeps all it is
/// asked to do in order. One thread.
class FakeIOManager : public IOManager
{
public:
    virtual ~FakeIOManager() = default;

    /// From the formatted query to its answer. A query that is not here fails and leaves the buffer for its
    /// answer as it was.
    QHash<QByteArray, QByteArray> answers;

    /// What fails although it is carried out: a query here writes its answer and fails all the same.
    QSet<QByteArray> failing;

    /// All calls in order: commands as they were sent, the others after the word "log", "request", "release",
    /// "add" or "remove".
    QStringList journal;

    /// Called from within each call, before it is answered, with its line of the journal.
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

    /// The journal since the last call.
    QStringList takeJournal()
    {
        QStringList taken;
        taken.swap(journal);
        return taken;
    }

private:
    QByteArray take(const char *format, va_list arguments)
    {
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
