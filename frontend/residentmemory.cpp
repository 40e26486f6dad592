#include "residentmemory.h"

#include <QFile>

#include <unistd.h>

qint64 residentKiB()
{
    QFile file(QLatin1String("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    // Pages in all, then resident pages.
    return file.readLine().split(' ').value(1).toLongLong() * sysconf(_SC_PAGESIZE) / 1024;
}
