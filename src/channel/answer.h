#pragma once

#include <QString>

#include <array>
#include <cstring>

namespace networksettings2g {

/// A buffer for one text answer of the Controller. A host may write nothing when a query fails, so the buffer
/// is zeroed before each query and is always terminated. Its size is fixed by IOManager::getValue() and not
/// passed.
class Answer
{
public:
    /// The buffer for the next query, zeroed.
    char *buffer()
    {
        m_text.fill('\0');
        return m_text.data();
    }

    QString text() const { return QString::fromLatin1(m_text.data()); }

    /// Whether the whole answer equals \a text. Case-sensitive.
    bool equals(const char *text) const { return std::strcmp(m_text.data(), text) == 0; }

    bool isYes() const { return equals("yes"); }

private:
    std::array<char, 208> m_text{};
};

} // namespace networksettings2g
