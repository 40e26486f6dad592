#include "frame.h"

#include <cerrno>
#include <cstdlib>
#include <limits>

namespace simulation {

QByteArray lineType(const QByteArray &line)
{
    const int end = line.indexOf(' ');
    return end < 0 ? line : line.left(end);
}

qint32 frameNumber(const QByteArray &line)
{
    constexpr int numberStart = 3; // after "fr "
    if (line.size() < numberStart)
        return 0;
    errno = 0;
    const long number = std::strtol(line.constData() + numberStart, nullptr, 10);
    const bool fits = errno == 0 && number >= std::numeric_limits<qint32>::min() &&
                      number <= std::numeric_limits<qint32>::max();
    return fits ? qint32(number) : 0;
}

qint32 frameNumber(const Frame &frame)
{
    for (const DataLine &line : frame) {
        if (line.type == "fr")
            return frameNumber(line.text);
    }
    return 0;
}

QByteArray withoutLineEnd(const QByteArray &line)
{
    int length = line.size();
    while (length > 0 && (line.at(length - 1) == '\r' || line.at(length - 1) == '\n'))
        --length;
    return line.left(length);
}

} // namespace simulation
