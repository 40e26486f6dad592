#include "conversationview.h"

#include "appearance.h"
#include "controllerlink.h"
#include "simulatedcontroller.h"

#include <QAction>
#include <QClipboard>
#include <QComboBox>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QStyledItemDelegate>
#include <QTime>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace simulation {

namespace {

enum Column
{
    TimeColumn,
    KindColumn,
    TextColumn,
    AnswerColumn,
    ColumnCount
};

/// The kinds of lines, and two more choices of the filter.
enum Kind
{
    Query,
    Command,
    Log,
    Everything,
    Failures
};

/// The data of a line's first column.
enum Role
{
    KindRole = Qt::UserRole,
    FailureRole ///< true for failed queries and commands, and for log lines: only failures are logged
};

/// Draws failures in their colour, and commands in bold, because they may change the Controller's state.
class LineDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

protected:
    void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override
    {
        QStyledItemDelegate::initStyleOption(option, index);
        const QModelIndex first = index.siblingAtColumn(TimeColumn);
        if (first.data(FailureRole).toBool())
            option->palette.setColor(QPalette::Text, failureColor(option->palette));
        option->font.setBold(first.data(KindRole) == Command && index.column() != TimeColumn);
    }
};

QString outcome(const Exchange &exchange)
{
    switch (exchange.result) {
    case Accepted:
        return exchange.kind == Exchange::Kind::Query ? QString::fromLatin1(exchange.answer)
                                                      : ConversationView::tr("accepted");
    case NotUnderstood:
        return ConversationView::tr("refused: not understood");
    case OutOfRange:
        return ConversationView::tr("refused: out of range");
    case Locked:
        return ConversationView::tr("refused: locked");
    case NotConnected:
        return ConversationView::tr("failed: no connection");
    case TimedOut:
        return ConversationView::tr("failed: no answer");
    default:
        return ConversationView::tr("failed: %1").arg(exchange.result);
    }
}

} // namespace

ConversationView::ConversationView(QWidget *parent)
    : QWidget(parent)
    , m_kind(new QComboBox)
    , m_words(new QLineEdit)
    , m_count(new QLabel)
    , m_list(new QTreeWidget)
{
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(makeHeader());
    layout->addWidget(m_list);
    makeFilter();
    makeList();
    followEnd();
    showCount();
}

void ConversationView::makeFilter()
{
    const std::pair<QString, Kind> kinds[] = {{tr("Everything"), Everything},
                                              {tr("Queries"), Query},
                                              {tr("Commands"), Command},
                                              {tr("Failures"), Failures},
                                              {tr("Log"), Log}};
    for (const auto &[title, kind] : kinds)
        m_kind->addItem(title, kind);
    m_kind->setToolTip(tr("Shows only lines of this kind"));
    connect(m_kind, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            &ConversationView::applyFilter);

    m_words->setPlaceholderText(tr("Filter by words"));
    m_words->setClearButtonEnabled(true);
    m_words->setMinimumWidth(9 * fontMetrics().averageCharWidth() + 60);
    m_words->setToolTip(tr("Shows only lines that contain all of these words (Ctrl+F)"));
    connect(m_words, &QLineEdit::textChanged, this, &ConversationView::applyFilter);
}

QLayout *ConversationView::makeHeader()
{
    auto *copyAll = new QPushButton(tr("Copy &all"));
    copyAll->setToolTip(tr("Copies all lines that pass the filter"));
    connect(copyAll, &QPushButton::clicked, this, [this] { copyLines(false); });
    auto *clear = new QPushButton(tr("&Clear"));
    connect(clear, &QPushButton::clicked, m_list, &QTreeWidget::clear);
    connect(clear, &QPushButton::clicked, this, &ConversationView::applyFilter);

    auto *header = new QHBoxLayout;
    header->addWidget(new QLabel(tr("<b>Conversation</b>")));
    header->addWidget(m_count);
    header->addStretch();
    header->addWidget(m_kind);
    header->addWidget(m_words);
    header->addWidget(copyAll);
    header->addWidget(clear);
    return header;
}

void ConversationView::makeList()
{
    const QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    m_list->setFont(font);
    m_list->setHeaderLabels({tr("Time"), tr("Kind"), tr("Text"), tr("Answer")});
    m_list->setItemDelegate(new LineDelegate(m_list));
    m_list->setRootIsDecorated(false);
    m_list->setUniformRowHeights(true);
    m_list->setAlternatingRowColors(true);
    m_list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_list->setMinimumHeight(80);
    const int widths[] = {14, 6, 46}; // characters
    for (int column = TimeColumn; column < AnswerColumn; ++column)
        m_list->setColumnWidth(
            column, QFontMetrics(font).horizontalAdvance(QString(widths[column], QLatin1Char('0'))));
    auto *copy = new QAction(tr("Copy"), m_list);
    copy->setShortcut(QKeySequence::Copy);
    copy->setShortcutContext(Qt::WidgetShortcut);
    connect(copy, &QAction::triggered, this, [this] { copyLines(true); });
    m_list->addAction(copy);
    m_list->setContextMenuPolicy(Qt::ActionsContextMenu);
}

void ConversationView::addExchange(const Exchange &exchange)
{
    const bool isCommand = exchange.kind == Exchange::Kind::Command;
    append(isCommand ? Command : Query, exchange.result != Accepted,
           {isCommand ? tr("set") : tr("get"), QString::fromLatin1(exchange.text), outcome(exchange)});
}

void ConversationView::addLogLine(const LogLine &line)
{
    append(Log, true,
           {tr("log"), QString::fromLatin1(line.message),
            QString::fromLatin1(line.level + ", " + line.component)});
}

void ConversationView::append(int kind, bool isFailure, const QStringList &texts)
{
    if (m_list->topLevelItemCount() >= Limit) {
        // Remove a tenth at a time: each removal is expensive for a view.
        m_list->model()->removeRows(0, Limit / 10);
        applyFilter();
    }
    auto *item = new QTreeWidgetItem(
        QStringList(QTime::currentTime().toString(QLatin1String("HH:mm:ss.zzz"))) + texts);
    item->setData(TimeColumn, KindRole, kind);
    item->setData(TimeColumn, FailureRole, isFailure);
    m_list->addTopLevelItem(item);
    if (passes(*item))
        ++m_shown;
    else
        item->setHidden(true);
    showCount();
}

bool ConversationView::passes(const QTreeWidgetItem &item) const
{
    const int kind = m_kind->currentData().toInt();
    const bool isOfKind = kind == Everything || kind == item.data(TimeColumn, KindRole).toInt() ||
                          (kind == Failures && item.data(TimeColumn, FailureRole).toBool());
    const QString text = item.text(TextColumn) + '\n' + item.text(AnswerColumn);
    const QStringList words = m_words->text().split(QLatin1Char(' '), Qt::SkipEmptyParts);
    return isOfKind && std::all_of(words.cbegin(), words.cend(), [&text](const QString &word) {
               return text.contains(word, Qt::CaseInsensitive);
           });
}

void ConversationView::applyFilter()
{
    m_shown = 0;
    for (int row = 0; row < m_list->topLevelItemCount(); ++row) {
        QTreeWidgetItem *item = m_list->topLevelItem(row);
        item->setHidden(!passes(*item));
        m_shown += item->isHidden() ? 0 : 1;
    }
    showCount();
}

void ConversationView::showCount()
{
    const int all = m_list->topLevelItemCount();
    m_count->setText(m_shown == all ? tr("%1 lines").arg(all) : tr("%1 of %2 lines").arg(m_shown).arg(all));
}

/// Copies the lines that pass the filter, with their columns separated by tabs.
void ConversationView::copyLines(bool onlySelected) const
{
    QString text;
    for (int row = 0; row < m_list->topLevelItemCount(); ++row) {
        const QTreeWidgetItem *item = m_list->topLevelItem(row);
        if (item->isHidden() || (onlySelected && !item->isSelected()))
            continue;
        for (int column = 0; column < ColumnCount; ++column)
            text += item->text(column) + (column == AnswerColumn ? '\n' : '\t');
    }
    QGuiApplication::clipboard()->setText(text);
}

void ConversationView::focusFilter()
{
    m_words->setFocus(Qt::ShortcutFocusReason);
    m_words->selectAll();
}

/// Keeps the latest line visible unless the user has scrolled back. The range changes while the view lays out
/// its rows, within the handling of an event, and the view must not scroll before that event has been
/// handled.
void ConversationView::followEnd()
{
    QScrollBar *bar = m_list->verticalScrollBar();
    connect(bar, &QScrollBar::valueChanged, this, [this, bar] { m_atEnd = bar->value() == bar->maximum(); });
    const auto follow = [this, bar] {
        if (m_atEnd)
            bar->setValue(bar->maximum());
    };
    connect(bar, &QScrollBar::rangeChanged, this, follow, Qt::QueuedConnection);
}

} // namespace simulation
