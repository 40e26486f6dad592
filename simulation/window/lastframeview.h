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

    /// Shows the last datagram of \a report. While the user has selected some of the text, only a report of
    /// another channel replaces it.
    void showReport(const ReceiverReport &report);

    /// Shows that no receiver is selected.
    void showNone();

private:
    QLabel *m_title;
    QPlainTextEdit *m_text;
    int m_channel = 0; ///< the channel of the text; 0 if there is none
};

} // namespace simulation
