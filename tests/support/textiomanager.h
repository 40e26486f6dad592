#pragma once

#include "iomanager.h"

#include <QByteArray>
#include <QSet>

#include <cstdarg>
#include <cstdio>

/// A host that gets each call of the module as a text. The functions that take it return the result of the
/// call. Not thread-safe.
class TextIOManager : public IOManager
{
public:
    virtual ~TextIOManager() = default;

    /// The formats of all queries and commands so far.
    QSet<QByteArray> formats;

    int getValue(char *answer, const char *format, ...) override
    {
        va_list arguments;
        va_start(arguments, format);
        const QByteArray text = written(format, arguments);
        va_end(arguments);
        return query(text, answer);
    }

    int getIntValue(int *answer, const char *format, ...) override
    {
        va_list arguments;
        va_start(arguments, format);
        const QByteArray text = written(format, arguments);
        va_end(arguments);
        return query(text, answer);
    }

    int setValue(const char *format, ...) override
    {
        va_list arguments;
        va_start(arguments, format);
        const QByteArray text = written(format, arguments);
        va_end(arguments);
        return command(text);
    }

    int requestOutputType(const char *type, Requester *) override { return take("request", type); }
    int releaseOutputType(const char *type, Requester *) override { return take("release", type); }
    int addRequester(Requester *) override { return take("add", "requester"); }
    int removeRequester(Requester *) override { return take("remove", "requester"); }
    int addMessageReceiver(const char *name, MessageReceiver *) override { return take("add", name); }
    int removeMessageReceiver(const char *name, MessageReceiver *) override { return take("remove", name); }

    int log(const char *level, const char *component, int number, const char *message) override
    {
        return take("log",
                    QByteArray(level) + ' ' + component + ' ' + QByteArray::number(number) + ' ' + message);
    }

protected:
    /// Takes a query that asks for a text.
    virtual int query(const QByteArray &text, char *answer) = 0;

    /// Takes a query that asks for a number.
    virtual int query(const QByteArray &text, int *answer) = 0;

    virtual int command(const QByteArray &text) = 0;

    /// Takes any other call: "request TYPE", "release TYPE", "add requester", "remove requester", "add NAME"
    /// or "remove NAME" (of a message receiver), or "log LEVEL COMPONENT NUMBER MESSAGE".
    virtual int note(const QByteArray &line) = 0;

private:
    QByteArray written(const char *format, va_list arguments)
    {
        formats << format;
        char text[4096] = "";
        std::vsnprintf(text, sizeof text, format, arguments);
        return text;
    }

    int take(const char *kind, const QByteArray &what) { return note(QByteArray(kind) + ' ' + what); }
};
