#pragma once

#include "receiverpool.h"

#include <QWidget>

class QLabel;
class QPlainTextEdit;
class QTableView;
class ReceiversModel;

/// The receivers and what they get: a table, and the last frame of the selected one.
class ReceiversPanel : public QWidget
{
    Q_OBJECT

public:
    explicit ReceiversPanel(QWidget *parent = nullptr);

    void update(const QList<ReceiverReport> &reports);

private:
    QWidget *makeTable();
    QWidget *makeFrameView();
    void showFrame();

    ReceiversModel *m_model;
    QTableView *m_table = nullptr;
    QLabel *m_frameTitle = nullptr;
    QPlainTextEdit *m_frame = nullptr;
};
