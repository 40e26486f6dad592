#pragma once

#include "receiverpool.h"

#include <QElapsedTimer>
#include <QHash>
#include <QQueue>
#include <QWidget>

class QLabel;
class QLayout;
class QPlainTextEdit;
class QTableWidget;

namespace simulation {

class RatePlot;

/// Shows the receivers: a table with one row each, a plot of the rates, and the last frame of the selected
/// receiver.
class ReceiversPanel : public QWidget
{
    Q_OBJECT

public:
    explicit ReceiversPanel(QWidget *parent = nullptr);

    /// Shows \a reports. Call it several times per second: the rates are computed from the frames that were
    /// added within the last second.
    void showReports(const QList<ReceiverReport> &reports);

signals:
    /// The user wants the counters to start again from 0.
    void resetRequested();

private:
    struct Sample
    {
        qint64 milliseconds;
        qint64 frames;
    };

    QWidget *makeReceivers();
    QWidget *makeDetails();
    void makeTable();
    void makeTitles();
    double takeSample(const ReceiverReport &report);
    void showRow(int row, const ReceiverReport &report, double rate);
    int selectedChannel() const;
    void selectChannel(int channel);
    void showSelected();
    void showFrame(const QByteArray &frame);

    QTableWidget *m_table;
    QLabel *m_hint; ///< shown while the table is empty
    RatePlot *m_plot;
    QLabel *m_frameTitle;
    QPlainTextEdit *m_frame;
    QList<ReceiverReport> m_reports;
    QHash<int, QQueue<Sample>> m_samples; ///< the samples of the last second, by channel number
    QElapsedTimer m_clock;
    int m_frameChannel = 0; ///< the channel of the shown frame; 0 if there is none
};

} // namespace simulation
