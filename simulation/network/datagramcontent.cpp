#include "datagramcontent.h"

#include "frame.h"

namespace simulation {

DatagramContent readDatagram(const QByteArray &datagram)
{
    DatagramContent content;
    content.isComplete = datagram.endsWith("\r\n") && !datagram.contains('\0');
    for (int start = 0; start < datagram.size();) {
        const int found = datagram.indexOf("\r\n", start);
        const int end = found < 0 ? datagram.size() : found;
        const QByteArray line = datagram.mid(start, end - start);
        const QByteArray type = lineType(line);
        if (type.isEmpty() || line.contains('\r') || line.contains('\n')) {
            content.isComplete = false;
            break;
        }
        content.types.insert(type);
        if (type == "fr")
            content.numbers.append(frameNumber(line));
        start = end + 2;
    }
    return content;
}

} // namespace simulation
