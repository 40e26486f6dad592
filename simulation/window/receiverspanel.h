#pragma once

#include "receiverpool.h"

#include <QWidget>

class LastFrameView;
class QTableView;
class RatePlot;
class ReceiversModel;

/// The receivers and what they get: a table, the rates as a plot, and the last frame of the selected one.
class ReceiversPanel : public QWidget
{
    Q_OBJECT

public:
    explicit ReceiversPanel(QWidget *parent = nullptr);

    /// As in ReceiversModel.
    void update(const QList<ReceiverReport> &reports);

private:
    void makeTable();
    QWidget *makeDetails();
    void showFrame();

    ReceiversModel *m_model;
    QTableView *m_table;
    RatePlot *m_plot;
    LastFrameView *m_frame;
};
