#include "receiverspanel.h"

#include "receiversmodel.h"

#include <QFontDatabase>
#include <QHeaderView>
#include <QLabel>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QSplitter>
#include <QTableView>
#include <QVBoxLayout>

namespace {

QWidget *titled(QLabel *title, QWidget *content)
{
    auto *box = new QWidget;
    auto *layout = new QVBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(title);
    layout->addWidget(content);
    return box;
}

} // namespace

ReceiversPanel::ReceiversPanel(QWidget *parent)
    : QWidget(parent)
    , m_model(new ReceiversModel(this))
{
    auto *splitter = new QSplitter(Qt::Horizontal, this);
    splitter->addWidget(makeTable());
    splitter->addWidget(makeFrameView());
    splitter->setSizes({800, 460});
    splitter->setChildrenCollapsible(false);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(splitter);
}

QWidget *ReceiversPanel::makeTable()
{
    m_table = new QTableView;
    m_table->setModel(m_model);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setSelectionMode(QAbstractItemView::SingleSelection);
    m_table->setAlternatingRowColors(true);
    m_table->setShowGrid(false);
    m_table->verticalHeader()->hide();
    QHeaderView *header = m_table->horizontalHeader();
    header->setSectionResizeMode(QHeaderView::ResizeToContents);
    header->setSectionResizeMode(ReceiversModel::DestinationColumn, QHeaderView::Stretch);
    header->setHighlightSections(false);
    connect(m_table->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &ReceiversPanel::showFrame);
    return titled(new QLabel(tr("<b>Receivers on this computer</b>")), m_table);
}

QWidget *ReceiversPanel::makeFrameView()
{
    m_frame = new QPlainTextEdit;
    m_frame->setReadOnly(true);
    m_frame->setLineWrapMode(QPlainTextEdit::NoWrap);
    m_frame->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    m_frameTitle = new QLabel;
    return titled(m_frameTitle, m_frame);
}

void ReceiversPanel::update(const QList<ReceiverReport> &reports)
{
    m_model->update(reports);
    if (!m_table->currentIndex().isValid() && m_model->rowCount() > 0)
        m_table->selectRow(0);
    showFrame();
}

void ReceiversPanel::showFrame()
{
    const QModelIndex current = m_table->currentIndex();
    if (!current.isValid()) {
        m_frameTitle->setText(tr("<b>Last frame</b>"));
        m_frame->clear();
        return;
    }
    const ReceiverReport &report = m_model->report(current.row());
    m_frameTitle->setText(tr("<b>Last frame of channel %1</b>").arg(report.channel));
    const QString text = QString::fromLatin1(report.statistics.lastFrame).remove(QLatin1Char('\r'));
    if (text == m_frame->toPlainText())
        return;
    // A new text would throw the user back to the first column.
    QScrollBar *bar = m_frame->horizontalScrollBar();
    const int position = bar->value();
    m_frame->setPlainText(text);
    bar->setValue(position);
}
