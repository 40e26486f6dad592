#include "residency.h"

#include "benchoptions.h"
#include "handoff.h"
#include "moduleundertest.h"
#include "pacing.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>

#include <array>
#include <cstdio>
#include <memory>

#include <malloc.h>

namespace bench {

namespace {

constexpr int rate = 1000; // frames per second

/// Returns the size of the resident anonymous and file pages of this process, without the memory shared with
/// the receivers.
double residentKiB()
{
    QFile file(QLatin1String("/proc/self/status"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    double sum = 0;
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith("RssAnon:") || line.startsWith("RssFile:"))
            sum += line.mid(8).trimmed().split(' ').first().toDouble();
    }
    return sum;
}

void printResidency()
{
    const double resident = residentKiB();
    malloc_trim(0);
    // Whole numbers, because the parent process could not read the decimal separator of every locale.
    std::printf("%.0f %.0f\n", resident, residentKiB());
}

std::unique_ptr<Pipeline> makePipeline(const QString &what, const Receivers &receivers, int channels,
                                       bool routing)
{
    if (what == QLatin1String("handoff"))
        return std::make_unique<HandOff>(receivers, channels);
    Setup setup;
    setup.channels = setup.tickingChannels = channels;
    setup.routing = routing;
    return std::make_unique<ModuleUnderTest>(receivers, setup);
}

} // namespace

bool runProbe(const Probe &probe, Residency *residency)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(QCoreApplication::applicationFilePath(),
                  {QLatin1String("--probe"),
                   QString::fromLatin1("%1 %2 %3").arg(probe.what).arg(probe.channels).arg(probe.seconds)});
    constexpr int spareMs = 30000;
    if (!process.waitForFinished(probe.seconds * 1000 + spareMs) || process.exitCode() != 0)
        return false;
    const QList<QByteArray> words = process.readAllStandardOutput().simplified().split(' ');
    std::array<double, 4> numbers{};
    if (words.size() != int(numbers.size()))
        return false;
    for (size_t i = 0; i < numbers.size(); ++i) {
        bool isNumber = false;
        numbers[i] = words.at(int(i)).toDouble(&isNumber);
        if (!isNumber)
            return false;
    }
    *residency = {numbers[0], numbers[1], numbers[2], numbers[3]};
    return true;
}

int probeResidency(const BenchOptions &options, const Receivers &receivers)
{
    const QStringList words = options.probe.split(QLatin1Char(' '));
    const int channels = words.value(1).toInt();
    const int seconds = words.value(2).toInt();
    const std::unique_ptr<Pipeline> pipeline = makePipeline(words.first(), receivers, channels, seconds > 0);
    // Send data for a second first, so that queues and buffers reach their final size.
    if (seconds > 0 &&
        (!warmUp(*pipeline, receivers) || runPaced(*pipeline, receivers, rate, rate).arrived == 0))
        return 1;
    printResidency();
    for (int second = 1; second < seconds; ++second)
        runPaced(*pipeline, receivers, rate, rate);
    printResidency();
    return 0;
}

} // namespace bench
