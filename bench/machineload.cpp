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

QByteArray contents(const QByteArray &file)
{
    QFile in(QString::fromLatin1(file));
    return in.open(QIODevice::ReadOnly) ? in.readAll() : QByteArray();
}

/// Returns the sum of the fields "idle" and "iowait" of all CPUs; see proc(5).
int64_t idleNs()
{
    const QList<QByteArray> fields = contents("/proc/stat").split('\n').first().simplified().split(' ');
    const int64_t ticks = fields.value(4).toLongLong() + fields.value(5).toLongLong();
    return ticks * second / sysconf(_SC_CLK_TCK);
}

int64_t cpuNs(const timeval &time)
{
    return time.tv_sec * second + time.tv_usec * 1000;
}

/// Returns the CPU time of the child processes that have ended and been waited for.
int64_t endedChildrenNs()
{
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    return cpuNs(usage.ru_utime) + cpuNs(usage.ru_stime);
}

/// Returns the CPU time of the running child processes, such as the receivers. Reads only the children of the
/// main thread, because no other thread starts processes.
int64_t runningChildrenNs()
{
    const QByteArray self = QByteArray::number(getpid());
    const QList<QByteArray> children =
        contents("/proc/" + self + "/task/" + self + "/children").simplified().split(' ');
    int64_t sum = 0;
    for (const QByteArray &child : children) {
        clockid_t clock{};
        if (!child.isEmpty() && clock_getcpuclockid(child.toInt(), &clock) == 0)
            sum += clockNs(clock);
    }
    return sum;
}

} // namespace

MachineLoad::MachineLoad()
    : m_last(sample())
{
}

double MachineLoad::othersShare()
{
    // The system rounds the idle time to units of usually 10 ms. Over 0.2 s or more, this changes the share
    // by only a few percentage points.
    constexpr int64_t minInterval = second / 5;
    const Sample now = sample();
    const int64_t passed = now.time - m_last.time;
    if (passed < minInterval)
        return m_share;
    const double all = double(passed) * double(sysconf(_SC_NPROCESSORS_ONLN));
    const double used = double(now.idle - m_last.idle) + double(now.own - m_last.own);
    m_share = std::clamp(1 - used / all, 0.0, 1.0);
    m_last = now;
    return m_share;
}

MachineLoad::Sample MachineLoad::sample()
{
    return {nowNs(), idleNs(), processCpuNs() + endedChildrenNs() + runningChildrenNs()};
}

} // namespace bench
