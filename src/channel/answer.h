#pragma once

#include <QString>

#include <array>
#include <cstring>

/// Room for one text answer of the Controller. The host is not told its size, and whether it writes anything
/// when a query fails is its own affair: the room is zeroed before each query, so that it always holds a
/// text.
class Answer
{
public:
    /// The zeroed room for the next query.
    char *room()
    {
        m_text.fill('\0');
        return m_text.data();
    }

    QString text() const { return QString::fromLatin1(m_text.data()); }

    /// Whole and case-sensitive.
    bool is(const char *text) const { return std::strcmp(m_text.data(), text) == 0; }

    bool isYes() const { return is("yes"); }

private:
    std::array<char, 208> m_text{};
};
