#pragma once

#include "receiverpool.h"

#include <QAbstractTableModel>
#include <QElapsedTimer>
#include <QHash>
#include <QQueue>

/// The receivers as a table, a row each.
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

    /// Shows \a reports. To be called several times a second: the rates are taken from the differences.
    void update(const QList<ReceiverReport> &reports);

    /// The report in \a row, which has to exist.
    const ReceiverReport &report(int row) const { return m_reports.at(row); }

    /// Frames a second over the last second, by channel.
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
    QHash<int, QQueue<Sample>> m_samples; ///< of the last second, by channel
    QElapsedTimer m_clock;
};
