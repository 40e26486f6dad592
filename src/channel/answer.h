#pragma once

#include <QString>

#include <array>
#include <cstring>

namespace networksettings2g {

/// A buffer for one text answer of the Controller. It is zeroed before each query, so that the answer is
/// empty if the query fails and the host writes nothing. IOManager::getValue() fixes its size, which is not
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
