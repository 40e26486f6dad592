#pragma once

#include <QWidget>

class QLabel;
class QPlainTextEdit;

namespace simulation {

struct ReceiverReport;

/// Shows the text of the last datagram of a receiver.
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

} // namespace simulation
