#pragma once

#include "receiverpool.h"

#include <QAbstractTableModel>
#include <QElapsedTimer>
#include <QHash>
#include <QQueue>

namespace simulation {

/// A table of the receivers, one row each.
class ReceiversModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column
    {
        ChannelColumn,
        DestinationColumn,
        FramesColumn,
        RateColumn,
        BytesColumn,
        LostColumn,
        OrderColumn,
        MalformedColumn,
        NumberColumn,
        ColumnCount
    };

    explicit ReceiversModel(QObject *parent = nullptr);

    /// Shows \a reports. Call it several times per second: the rates are computed from the frames that were
    /// added within the last second.
    void update(const QList<ReceiverReport> &reports);

    /// Returns the report of \a row, which must exist.
    const ReceiverReport &report(int row) const { return m_reports.at(row); }

    /// Returns the row of the channel with the number \a channel, or -1 if there is none.
    int rowOf(int channel) const;

    /// Returns the frames per second over the last second, by channel number.
    QHash<int, double> rates() const;

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    struct Sample
    {
        qint64 milliseconds;
        qint64 frames;
    };

    void takeSample(const ReceiverReport &report);
    double rate(int channel) const;
    QString text(const ReceiverReport &report, int column) const;

    QList<ReceiverReport> m_reports;
    QHash<int, QQueue<Sample>> m_samples; ///< the samples of the last second, by channel number
    QElapsedTimer m_clock;
};

} // namespace simulation
