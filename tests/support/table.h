#pragma once

#include <QtTest>

/// The data of a test. The constructor names the columns; each call of the object adds a row:
///     const Table<QByteArray, int> row("text", "length");
///     row("empty text", "", 0);
template <typename... Types>
class Table
{
public:
    template <typename... Names>
    explicit Table(Names... names)
    {
        static_assert(sizeof...(Names) == sizeof...(Types));
        (QTest::addColumn<Types>(names), ...);
    }

    void operator()(const char *name, const Types &...values) const
    {
        (QTest::newRow(name) << ... << values);
    }
};
