#pragma once

#include <QString>

#include <array>
#include <cstring>

namespace networksettings2g {

/// A buffer for one text answer of the Controller. A host may write nothing when a query fails, so the buffer
/// is zeroed before each query and is always terminated. IOManager::getValue() fixes its size, which is not
/// passed to the host.
class Answer
{
public:
    /// Zeroes the buffer and returns it for the next query.
    char *buffer()
    {
        m_text.fill('\0');
        return m_text.data();
    }

    QString text() const { return QString::fromLatin1(m_text.data()); }

    /// Returns whether the whole answer equals \a text. The comparison is case-sensitive.
    bool equals(const char *text) const { return std::strcmp(m_text.data(), text) == 0; }

    bool isYes() const { return equals("yes"); }

private:
    std::array<char, 208> m_text{};
};

} // namespace networksettings2g
