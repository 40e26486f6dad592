#include "receiversmodel.h"

#include "appearance.h"

#include <QGuiApplication>
#include <QLocale>
#include <QPalette>

#include <algorithm>

namespace simulation {

namespace {

constexpr qint64 rateSpanMs = 1000;

bool sameRows(const QList<ReceiverReport> &one, const QList<ReceiverReport> &other)
{
    return std::equal(
        one.cbegin(), one.cend(), other.cbegin(), other.cend(),
        [](const ReceiverReport &a, const ReceiverReport &b) { return a.channel == b.channel; });
}

} // namespace

ReceiversModel::ReceiversModel(QObject *parent)
    : QAbstractTableModel(parent)
{
    m_clock.start();
}

void ReceiversModel::update(const QList<ReceiverReport> &reports)
{
    for (const ReceiverReport &report : reports)
        takeSample(report);
    if (!sameRows(reports, m_reports)) {
        beginResetModel();
        m_reports = reports;
        endResetModel();
        return;
    }
    m_reports = reports;
    if (!m_reports.isEmpty())
        emit dataChanged(index(0, 0), index(m_reports.size() - 1, ColumnCount - 1));
}

int ReceiversModel::rowOf(int channel) const
{
    const auto found =
        std::find_if(m_reports.cbegin(), m_reports.cend(),
                     [channel](const ReceiverReport &report) { return report.channel == channel; });
    return found == m_reports.cend() ? -1 : int(found - m_reports.cbegin());
}

void ReceiversModel::takeSample(const ReceiverReport &report)
{
    QQueue<Sample> &samples = m_samples[report.channel];
    // A receiver whose counters were reset, or whose destination has changed, counts from 0 again.
    if (!samples.isEmpty() && samples.last().frames > report.statistics.frames)
        samples.clear();
    samples.enqueue({m_clock.elapsed(), report.statistics.frames});
    while (samples.size() > 2 && samples.last().milliseconds - samples.at(1).milliseconds >= rateSpanMs)
        samples.dequeue();
}

double ReceiversModel::rate(int channel) const
{
    const QQueue<Sample> samples = m_samples.value(channel);
    const qint64 span = samples.last().milliseconds - samples.first().milliseconds;
    return span > 0 ? 1000.0 * double(samples.last().frames - samples.first().frames) / double(span) : 0.0;
}

QHash<int, double> ReceiversModel::rates() const
{
    QHash<int, double> rates;
    for (const ReceiverReport &report : m_reports)
        rates.insert(report.channel, rate(report.channel));
    return rates;
}

int ReceiversModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_reports.size();
}

int ReceiversModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QString ReceiversModel::text(const ReceiverReport &report, int column) const
{
    const QLocale locale;
    const ReceiverStatistics &statistics = report.statistics;
    switch (column) {
    case ChannelColumn:
        return report.active ? QString::number(report.channel) : tr("%1 (off)").arg(report.channel);
    case DestinationColumn:
        return report.problem.isEmpty() ? report.destination
                                        : report.destination + QLatin1String(", ") + report.problem;
    case FramesColumn:
        return locale.toString(statistics.frames);
    case RateColumn:
        return tr("%1 /s").arg(locale.toString(rate(report.channel), 'f', 1));
    case BytesColumn:
        return locale.toString(statistics.bytes);
    case LostColumn:
        return locale.toString(statistics.lost);
    case OrderColumn:
        return locale.toString(statistics.outOfOrder);
    case MalformedColumn:
        return locale.toString(statistics.malformed);
    default:
        return QString::number(statistics.lastNumber);
    }
}

QVariant ReceiversModel::data(const QModelIndex &index, int role) const
{
    const ReceiverReport &report = m_reports.at(index.row());
    const ReceiverStatistics &statistics = report.statistics;
    const int column = index.column();
    if (role == Qt::DisplayRole)
        return text(report, column);
    if (role == Qt::TextAlignmentRole && column != DestinationColumn)
        return int(Qt::AlignRight | Qt::AlignVCenter);
    if (role == Qt::DecorationRole && column == ChannelColumn)
        return channelIcon(report.channel, QGuiApplication::palette());
    const bool isBad = (column == LostColumn && statistics.lost > 0) ||
                       (column == OrderColumn && statistics.outOfOrder > 0) ||
                       (column == MalformedColumn && statistics.malformed > 0) ||
                       (column == DestinationColumn && !report.problem.isEmpty());
    if (role == Qt::ForegroundRole && isBad)
        return failureColor(QGuiApplication::palette());
    return {};
}

QVariant ReceiversModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    struct Title
    {
        const char *text;
        const char *explanation;
    };
    static constexpr Title titles[ColumnCount] = {
        {QT_TR_NOOP("Channel"), QT_TR_NOOP("Number and colour of the channel")},
        {QT_TR_NOOP("Destination"), QT_TR_NOOP("Where the receiver listens")},
        {QT_TR_NOOP("Frames"), QT_TR_NOOP("Frames that have arrived")},
        {QT_TR_NOOP("Rate"), QT_TR_NOOP("Frames per second, averaged over the last second")},
        {QT_TR_NOOP("Bytes"), QT_TR_NOOP("Bytes of all datagrams")},
        {QT_TR_NOOP("Lost"),
         QT_TR_NOOP("Frames that the channel should have sent but that did not arrive; in router mode not\n"
                    "counted while the dialog is open, because a changed divisor takes effect at once")},
        {QT_TR_NOOP("Out of order"), QT_TR_NOOP("Frames that arrived twice or out of order")},
        {QT_TR_NOOP("Malformed"),
         QT_TR_NOOP("Datagrams with incomplete lines, with types that are not ticked,\n"
                    "or without the number of a frame that the channel should send")},
        {QT_TR_NOOP("Number"), QT_TR_NOOP("Number of the last frame")}};
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole)
        return tr(titles[section].text);
    if (orientation == Qt::Horizontal && role == Qt::ToolTipRole)
        return tr(titles[section].explanation);
    return QAbstractTableModel::headerData(section, orientation, role);
}

} // namespace simulation
