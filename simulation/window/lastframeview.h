#pragma once

#include <QWidget>

class QLabel;
class QPlainTextEdit;
struct ReceiverReport;

/// The text of the last datagram that a receiver has got.
class LastFrameView : public QWidget
{
    Q_OBJECT

public:
    explicit LastFrameView(QWidget *parent = nullptr);

    /// Shows the last datagram of \a report, unless the user has selected some of the text.
    void show(const ReceiverReport &report);
    void showNone();

private:
    QLabel *m_title;
    QPlainTextEdit *m_text;
};
