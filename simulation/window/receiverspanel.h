#pragma once

#include "receiverpool.h"

#include <QWidget>

class QLayout;
class QTableView;

namespace simulation {

class LastFrameView;
class RatePlot;
class ReceiversModel;

/// Shows the receivers: a table, a plot of the rates, and the last frame of the selected receiver.
class ReceiversPanel : public QWidget
{
    Q_OBJECT

public:
    explicit ReceiversPanel(QWidget *parent = nullptr);

    /// Shows \a reports. Call it several times per second, as ReceiversModel::update() requires.
    void showReports(const QList<ReceiverReport> &reports);

signals:
    /// The user wants the counters to start again from 0.
    void resetRequested();

private:
    void makeTable();
    QLayout *makeHeader();
    QWidget *makeDetails();
    void showFrame();

    ReceiversModel *m_model;
    QTableView *m_table;
    RatePlot *m_plot;
    LastFrameView *m_frame;
};

} // namespace simulation
