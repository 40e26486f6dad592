#include "receiverspanel.h"

#include "emptyhint.h"
#include "lastframeview.h"
#include "rateplot.h"
#include "receiversmodel.h"

#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QSplitter>
#include <QTableView>
#include <QVBoxLayout>

namespace simulation {

namespace {

QWidget *titled(const QString &title, QWidget *content)
{
    auto *box = new QWidget;
    auto *layout = new QVBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(new QLabel(title));
    layout->addWidget(content);
    return box;
}

} // namespace

ReceiversPanel::ReceiversPanel(QWidget *parent)
    : QWidget(parent)
    , m_model(new ReceiversModel(this))
    , m_table(new QTableView)
    , m_plot(new RatePlot)
    , m_frame(new LastFrameView)
{
    makeTable();
    auto *splitter = new QSplitter(Qt::Vertical);
    auto *receivers = new QWidget;
    auto *column = new QVBoxLayout(receivers);
    column->setContentsMargins(0, 0, 0, 0);
    column->addLayout(makeHeader());
    column->addWidget(m_table);
    splitter->addWidget(receivers);
    splitter->addWidget(makeDetails());
    splitter->setStretchFactor(1, 1);
    splitter->setChildrenCollapsible(false);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(splitter);
}

QLayout *ReceiversPanel::makeHeader()
{
    auto *reset = new QPushButton(tr("Reset c&ounters"));
    reset->setToolTip(tr("Counts frames, bytes and errors again from 0"));
    connect(reset, &QPushButton::clicked, this, &ReceiversPanel::resetRequested);
    auto *header = new QHBoxLayout;
    header->addWidget(new QLabel(tr("<b>Receivers on this computer</b>")));
    header->addStretch();
    header->addWidget(reset);
    return header;
}

void ReceiversPanel::makeTable()
{
    m_table->setModel(m_model);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setSelectionMode(QAbstractItemView::SingleSelection);
    m_table->setAlternatingRowColors(true);
    m_table->setShowGrid(false);
    m_table->setTabKeyNavigation(false);
    m_table->setMinimumHeight(3 * m_table->verticalHeader()->defaultSectionSize());
    m_table->verticalHeader()->hide();
    m_table->verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 8);
    QHeaderView *header = m_table->horizontalHeader();
    header->setSectionResizeMode(QHeaderView::ResizeToContents);
    header->setSectionResizeMode(ReceiversModel::DestinationColumn, QHeaderView::Stretch);
    header->setHighlightSections(false);
    m_table->setIconSize({32, 16});
    new EmptyHint(tr("No channel has a destination on this computer. Press F9 to set one up."), m_table);
    connect(m_table->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &ReceiversPanel::showFrame);
}

QWidget *ReceiversPanel::makeDetails()
{
    auto *splitter = new QSplitter(Qt::Horizontal);
    splitter->addWidget(titled(tr("<b>Frames per second</b>"), m_plot));
    splitter->addWidget(m_frame);
    splitter->setSizes({480, 360});
    splitter->setChildrenCollapsible(false);
    return splitter;
}

void ReceiversPanel::showReports(const QList<ReceiverReport> &reports)
{
    const QModelIndex current = m_table->currentIndex();
    const int channel = current.isValid() ? m_model->report(current.row()).channel : 0;
    m_model->update(reports);
    m_plot->addRates(m_model->rates());
    // The selection is lost when a receiver is added or removed.
    if (!m_table->currentIndex().isValid() && m_model->rowCount() > 0)
        m_table->selectRow(qMax(0, m_model->rowOf(channel)));
    showFrame();
}

void ReceiversPanel::showFrame()
{
    const QModelIndex current = m_table->currentIndex();
    m_plot->setSelected(current.isValid() ? m_model->report(current.row()).channel : 0);
    if (current.isValid())
        m_frame->showReport(m_model->report(current.row()));
    else
        m_frame->showNone();
}

} // namespace simulation
