#include "machineload.h"

#include "clocks.h"

#include <QFile>
#include <QList>

#include <algorithm>

#include <sys/resource.h>
#include <unistd.h>

namespace bench {

namespace {

constexpr int64_t second = 1'000'000'000;

/// Returns the words of the first line of \a file.
QList<QByteArray> words(const QString &file)
{
    QFile in(file);
    return in.open(QIODevice::ReadOnly) ? in.readLine().simplified().split(' ') : QList<QByteArray>();
}

/// Returns the sum of the fields "idle" and "iowait" of all CPUs; see proc(5).
int64_t idleNs()
{
    const QList<QByteArray> fields = words("/proc/stat");
    return (fields.value(4).toLongLong() + fields.value(5).toLongLong()) * second / sysconf(_SC_CLK_TCK);
}

/// Returns the CPU time of the child processes. Reads only the running children of the main thread, because
/// no other thread starts processes.
int64_t childrenCpuNs()
{
    rusage ended{};
    getrusage(RUSAGE_CHILDREN, &ended);
    int64_t sum = (ended.ru_utime.tv_sec + ended.ru_stime.tv_sec) * second +
                  (ended.ru_utime.tv_usec + ended.ru_stime.tv_usec) * 1000;
    for (const QByteArray &child : words(QString("/proc/self/task/%1/children").arg(getpid()))) {
        clockid_t clock{};
        if (!child.isEmpty() && clock_getcpuclockid(child.toInt(), &clock) == 0)
            sum += clockNs(clock);
    }
    return sum;
}

} // namespace

MachineLoad::Sample::Sample()
    : time(nowNs())
    , used(idleNs() + processCpuNs() + childrenCpuNs())
{
}

double MachineLoad::othersShare()
{
    const Sample now;
    // The system rounds the idle time to units of usually 10 ms. Over 0.2 s or more, this changes the share
    // by only a few percentage points.
    if (now.time - m_last.time < second / 5)
        return m_share;
    const double all = double(now.time - m_last.time) * double(sysconf(_SC_NPROCESSORS_ONLN));
    m_share = std::clamp(1 - double(now.used - m_last.used) / all, 0.0, 1.0);
    m_last = now;
    return m_share;
}

} // namespace bench
