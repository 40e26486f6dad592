#pragma once

#include <QString>

#include <array>
#include <cstring>

/// Room for one text answer of the Controller. A host may write nothing when a query fails: the room is
/// zeroed before each query, so that it always holds a text. The host is not told its size, which is a
/// promise of IOManager::getValue().
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

    /// Whether the whole answer is \a text, in the same case.
    bool is(const char *text) const { return std::strcmp(m_text.data(), text) == 0; }

    bool isYes() const { return is("yes"); }

private:
    std::array<char, 208> m_text{};
};
