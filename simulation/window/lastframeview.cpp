#include "lastframeview.h"

#include "receiverpool.h"

#include <QFontDatabase>
#include <QLabel>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QVBoxLayout>

#include <utility>

namespace simulation {

LastFrameView::LastFrameView(QWidget *parent)
    : QWidget(parent)
    , m_title(new QLabel)
    , m_text(new QPlainTextEdit)
{
    m_text->setReadOnly(true);
    m_text->setLineWrapMode(QPlainTextEdit::NoWrap);
    m_text->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    m_text->setPlaceholderText(tr("No data received yet."));
    m_text->setTabChangesFocus(true);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_title);
    layout->addWidget(m_text);
    showNone();
}

void LastFrameView::showReport(const ReceiverReport &report)
{
    const bool isSameChannel = std::exchange(m_channel, report.channel) == report.channel;
    m_title->setText(tr("<b>Last frame of channel %1</b>").arg(report.channel));
    const QString text = QString::fromLatin1(report.statistics.lastFrame).remove(QLatin1Char('\r'));
    // Setting the text would clear the user's selection.
    if ((isSameChannel && m_text->textCursor().hasSelection()) || text == m_text->toPlainText())
        return;
    // Setting the text scrolls to the first line and column.
    const int row = m_text->verticalScrollBar()->value();
    const int column = m_text->horizontalScrollBar()->value();
    m_text->setPlainText(text);
    m_text->verticalScrollBar()->setValue(row);
    m_text->horizontalScrollBar()->setValue(column);
}

void LastFrameView::showNone()
{
    m_channel = 0;
    m_title->setText(tr("<b>Last frame</b>"));
    m_text->clear();
}

} // namespace simulation
