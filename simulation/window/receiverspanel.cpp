#include "receiverspanel.h"

#include "appearance.h"
#include "rateplot.h"

#include <QFontDatabase>
#include <QHeaderView>
#include <QLabel>
#include <QLocale>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QSplitter>
#include <QTableWidget>
#include <QVBoxLayout>

#include <utility>

namespace simulation {

namespace {

constexpr int columnCount = 9;
constexpr int destinationColumn = 1;
constexpr int channelRole = Qt::UserRole;

struct Cell
{
    QString text;
    bool isBad = false;
};

std::array<Cell, columnCount> cellsOf(const ReceiverReport &report, double rate)
{
    const QLocale locale;
    const ReceiverStatistics &counts = report.statistics;
    const auto number = [&locale](qint64 count) { return Cell{locale.toString(count)}; };
    const auto errors = [&locale](qint64 count) { return Cell{locale.toString(count), count > 0}; };
    const QString channel = QString::number(report.channel);
    const bool hasProblem = !report.problem.isEmpty();
    return {{{report.active ? channel : ReceiversPanel::tr("%1 (off)").arg(channel)},
             {hasProblem ? report.destination + ", " + report.problem : report.destination, hasProblem},
             number(counts.frames),
             {ReceiversPanel::tr("%1 /s").arg(locale.toString(rate, 'f', 1))},
             number(counts.bytes),
             errors(counts.lost),
             errors(counts.outOfOrder),
             errors(counts.malformed),
             {QString::number(counts.lastNumber)}}};
}

QWidget *inColumn(std::initializer_list<QWidget *> widgets)
{
    auto *box = new QWidget;
    auto *layout = new QVBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    for (QWidget *widget : widgets)
        layout->addWidget(widget);
    return box;
}

QSplitter *inSplitter(Qt::Orientation orientation, std::initializer_list<QWidget *> widgets)
{
    auto *splitter = new QSplitter(orientation);
    for (QWidget *widget : widgets)
        splitter->addWidget(widget);
    splitter->setChildrenCollapsible(false);
    return splitter;
}

} // namespace

ReceiversPanel::ReceiversPanel(QWidget *parent)
    : QWidget(parent)
    , m_table(new QTableWidget(0, columnCount))
    , m_hint(new QLabel(tr("No channel has a destination on this computer. Press F9 to set one up.")))
    , m_plot(new RatePlot)
    , m_frameTitle(new QLabel)
    , m_frame(new QPlainTextEdit)
{
    makeTable();
    QSplitter *splitter = inSplitter(Qt::Vertical, {makeReceivers(), makeDetails()});
    splitter->setStretchFactor(1, 1);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(splitter);
    m_clock.start();
    showSelected();
}

QWidget *ReceiversPanel::makeReceivers()
{
    auto *reset = new QPushButton(tr("Reset c&ounters"));
    reset->setToolTip(tr("Counts frames, bytes and errors again from 0"));
    connect(reset, &QPushButton::clicked, this, &ReceiversPanel::resetRequested);
    auto *header = new QWidget;
    auto *row = new QHBoxLayout(header);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(new QLabel(tr("<b>Receivers on this computer</b>")));
    row->addStretch();
    row->addWidget(reset);
    return inColumn({header, m_table});
}

void ReceiversPanel::makeTable()
{
    makeTitles();
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setSelectionMode(QAbstractItemView::SingleSelection);
    m_table->setAlternatingRowColors(true);
    m_table->setShowGrid(false);
    m_table->setTabKeyNavigation(false);
    m_table->setIconSize({32, 16});
    m_table->verticalHeader()->hide();
    m_table->verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 8);
    m_table->setMinimumHeight(4 * m_table->verticalHeader()->defaultSectionSize());
    QHeaderView *header = m_table->horizontalHeader();
    header->setSectionResizeMode(QHeaderView::ResizeToContents);
    header->setSectionResizeMode(destinationColumn, QHeaderView::Stretch);
    header->setHighlightSections(false);
    m_hint->setWordWrap(true);
    m_hint->setEnabled(false);
    m_hint->setAlignment(Qt::AlignCenter);
    (new QVBoxLayout(m_table->viewport()))->addWidget(m_hint);
    connect(m_table, &QTableWidget::itemSelectionChanged, this, &ReceiversPanel::showSelected);
}

void ReceiversPanel::makeTitles()
{
    const std::pair<QString, QString> titles[columnCount] = {
        {tr("Channel"), tr("Number and colour of the channel")},
        {tr("Destination"), tr("Where the receiver listens")},
        {tr("Frames"), tr("Frames that have arrived")},
        {tr("Rate"), tr("Frames per second, averaged over the last second")},
        {tr("Bytes"), tr("Bytes of all datagrams")},
        {tr("Lost"),
         tr("Frames that the channel should have sent but that did not arrive; in router mode not counted\n"
            "while the dialog is open or the module's divisor differs from the Controller's")},
        {tr("Out of order"), tr("Frames that arrived twice or out of order")},
        {tr("Malformed"), tr("Datagrams with incomplete lines, with types that are not ticked,\n"
                             "or without the number of a frame that the channel should send")},
        {tr("Number"), tr("Number of the last frame")}};
    for (int column = 0; column < columnCount; ++column) {
        auto *item = new QTableWidgetItem(titles[column].first);
        item->setToolTip(titles[column].second);
        m_table->setHorizontalHeaderItem(column, item);
    }
}

QWidget *ReceiversPanel::makeDetails()
{
    m_frame->setReadOnly(true);
    m_frame->setLineWrapMode(QPlainTextEdit::NoWrap);
    m_frame->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    m_frame->setPlaceholderText(tr("No data received yet."));
    m_frame->setTabChangesFocus(true);
    QWidget *rates = inColumn({new QLabel(tr("<b>Frames per second</b>")), m_plot});
    QSplitter *splitter = inSplitter(Qt::Horizontal, {rates, inColumn({m_frameTitle, m_frame})});
    splitter->setSizes({480, 360});
    return splitter;
}

void ReceiversPanel::showReports(const QList<ReceiverReport> &reports)
{
    const int selected = selectedChannel();
    m_reports = reports;
    m_hint->setVisible(reports.isEmpty());
    m_table->setRowCount(reports.size());
    QHash<int, double> rates;
    for (int row = 0; row < reports.size(); ++row) {
        const ReceiverReport &report = reports.at(row);
        rates[report.channel] = takeSample(report);
        showRow(row, report, rates[report.channel]);
    }
    m_plot->addRates(rates);
    if (selectedChannel() != selected || selected == 0)
        selectChannel(selected);
    showSelected();
}

/// Returns the rate of \a report's channel.
double ReceiversPanel::takeSample(const ReceiverReport &report)
{
    constexpr qint64 spanMs = 1000;
    QQueue<Sample> &samples = m_samples[report.channel];
    // A receiver whose counters were reset, or whose destination has changed, counts from 0 again.
    if (!samples.isEmpty() && samples.last().frames > report.statistics.frames)
        samples.clear();
    samples.enqueue({m_clock.elapsed(), report.statistics.frames});
    while (samples.size() > 2 && samples.last().milliseconds - samples.at(1).milliseconds >= spanMs)
        samples.dequeue();
    const qint64 milliseconds = samples.last().milliseconds - samples.first().milliseconds;
    const qint64 frames = samples.last().frames - samples.first().frames;
    return milliseconds > 0 ? 1000.0 * double(frames) / double(milliseconds) : 0.0;
}

void ReceiversPanel::showRow(int row, const ReceiverReport &report, double rate)
{
    const std::array<Cell, columnCount> cells = cellsOf(report, rate);
    for (int column = 0; column < columnCount; ++column) {
        QTableWidgetItem *item = m_table->item(row, column);
        if (!item) {
            item = new QTableWidgetItem;
            if (column != destinationColumn)
                item->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
            m_table->setItem(row, column, item);
        }
        const Cell &cell = cells[size_t(column)];
        item->setText(cell.text);
        item->setData(Qt::ForegroundRole, cell.isBad ? QVariant(failureColor(palette())) : QVariant());
    }
    m_table->item(row, 0)->setIcon(channelIcon(report.channel, palette()));
    m_table->item(row, 0)->setData(channelRole, report.channel);
}

/// Returns the number of the selected channel, or 0.
int ReceiversPanel::selectedChannel() const
{
    const QList<QTableWidgetItem *> selected = m_table->selectedItems();
    return selected.isEmpty() ? 0 : m_table->item(selected.first()->row(), 0)->data(channelRole).toInt();
}

/// Selects the row of \a channel, or the first row if there is none.
void ReceiversPanel::selectChannel(int channel)
{
    int wanted = 0;
    for (int row = 0; row < m_reports.size(); ++row) {
        if (m_reports.at(row).channel == channel)
            wanted = row;
    }
    m_table->selectRow(wanted);
}

void ReceiversPanel::showSelected()
{
    const int channel = selectedChannel();
    m_plot->setSelected(channel);
    const bool isSameChannel = std::exchange(m_frameChannel, channel) == channel;
    m_frameTitle->setText(channel == 0 ? tr("<b>Last frame</b>")
                                       : tr("<b>Last frame of channel %1</b>").arg(channel));
    // Setting the text would clear the user's selection.
    if (isSameChannel && m_frame->textCursor().hasSelection())
        return;
    QByteArray frame;
    for (const ReceiverReport &report : qAsConst(m_reports)) {
        if (report.channel == channel)
            frame = report.statistics.lastFrame;
    }
    showFrame(frame);
}

void ReceiversPanel::showFrame(const QByteArray &frame)
{
    // A text of many lines takes long to lay out.
    constexpr int limit = 8192;
    QString text = QString::fromLatin1(frame.left(limit)).remove(QLatin1Char('\r'));
    if (frame.size() > limit)
        text += QChar(0x2026); // an ellipsis
    if (text == m_frame->toPlainText())
        return;
    // Setting the text scrolls to the first line and column.
    const int row = m_frame->verticalScrollBar()->value();
    const int column = m_frame->horizontalScrollBar()->value();
    m_frame->setPlainText(text);
    m_frame->verticalScrollBar()->setValue(row);
    m_frame->horizontalScrollBar()->setValue(column);
}

} // namespace simulation
