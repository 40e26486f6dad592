#include "conversationview.h"

#include "conversationfilter.h"
#include "conversationmodel.h"
#include "emptyhint.h"

#include <QAction>
#include <QClipboard>
#include <QComboBox>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QTreeView>
#include <QVBoxLayout>

namespace simulation {

namespace {

void copy(const QString &text)
{
    QGuiApplication::clipboard()->setText(text);
}

} // namespace

ConversationView::ConversationView(QWidget *parent)
    : QWidget(parent)
    , m_model(new ConversationModel(this))
    , m_filter(new ConversationFilter(this))
    , m_kind(new QComboBox)
    , m_words(new QLineEdit)
    , m_count(new QLabel)
    , m_view(new QTreeView)
{
    m_filter->setSourceModel(m_model);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(makeHeader());
    layout->addWidget(m_view);
    makeTable();
    makeCopyActions();
    followEnd();
    connect(m_model, &QAbstractItemModel::rowsInserted, this, &ConversationView::showCount);
    connect(m_model, &QAbstractItemModel::rowsRemoved, this, &ConversationView::showCount);
    connect(m_filter, &QAbstractItemModel::rowsInserted, this, &ConversationView::showCount);
    connect(m_filter, &QAbstractItemModel::rowsRemoved, this, &ConversationView::showCount);
    connect(m_model, &QAbstractItemModel::modelReset, this, &ConversationView::showCount);
    showCount();
}

QLayout *ConversationView::makeHeader()
{
    using Kind = ConversationFilter::Kind;
    const std::pair<QString, Kind> kinds[] = {{tr("Everything"), Kind::All},
                                              {tr("Queries"), Kind::Queries},
                                              {tr("Commands"), Kind::Commands},
                                              {tr("Failures"), Kind::Failures},
                                              {tr("Log"), Kind::Log}};
    for (const auto &[title, kind] : kinds)
        m_kind->addItem(title, int(kind));
    m_kind->setToolTip(tr("Shows only lines of this kind"));
    connect(m_kind, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            [this] { m_filter->setKind(Kind(m_kind->currentData().toInt())); });

    m_words->setPlaceholderText(tr("Filter by words"));
    m_words->setClearButtonEnabled(true);
    m_words->setMinimumWidth(9 * fontMetrics().averageCharWidth() + 60);
    m_words->setToolTip(tr("Shows only lines that contain all of these words (Ctrl+F)"));
    connect(m_words, &QLineEdit::textChanged, m_filter, &ConversationFilter::setWords);

    auto *copyAll = new QPushButton(tr("Copy &all"));
    copyAll->setToolTip(tr("Copies all lines that pass the filter"));
    connect(copyAll, &QPushButton::clicked, this, [this] { copy(m_filter->allText()); });
    auto *clear = new QPushButton(tr("&Clear"));
    connect(clear, &QPushButton::clicked, m_model, &ConversationModel::clear);

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

void ConversationView::makeTable()
{
    const QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    m_view->setFont(font);
    m_view->setModel(m_filter);
    m_view->setRootIsDecorated(false);
    m_view->setUniformRowHeights(true);
    m_view->setAlternatingRowColors(true);
    m_view->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_view->setMinimumHeight(80);
    new EmptyHint(tr("Nothing to show."), m_view);
    const QFontMetrics metrics(font);
    const auto widthOf = [&metrics](int characters) {
        return metrics.horizontalAdvance(QString(characters, QLatin1Char('0')));
    };
    m_view->setColumnWidth(ConversationModel::TimeColumn, widthOf(14));
    m_view->setColumnWidth(ConversationModel::KindColumn, widthOf(6));
    m_view->setColumnWidth(ConversationModel::TextColumn, widthOf(46));
}

void ConversationView::makeCopyActions()
{
    auto *copySelected = new QAction(tr("Copy"), m_view);
    copySelected->setShortcut(QKeySequence::Copy);
    copySelected->setShortcutContext(Qt::WidgetShortcut);
    connect(copySelected, &QAction::triggered, this,
            [this] { copy(m_filter->textOf(m_view->selectionModel()->selectedRows())); });
    m_view->addAction(copySelected);
    m_view->setContextMenuPolicy(Qt::ActionsContextMenu);
}

void ConversationView::focusFilter()
{
    m_words->setFocus(Qt::ShortcutFocusReason);
    m_words->selectAll();
}

void ConversationView::showCount()
{
    const int shown = m_filter->rowCount();
    const int all = m_model->rowCount();
    m_count->setText(shown == all ? tr("%1 lines").arg(all) : tr("%1 of %2 lines").arg(shown).arg(all));
}

/// Keeps the latest line visible unless the user has scrolled back. The range changes while the view lays out
/// its rows, within the handling of an event, and the view must not scroll before that event has been
/// handled.
void ConversationView::followEnd()
{
    QScrollBar *bar = m_view->verticalScrollBar();
    connect(bar, &QScrollBar::valueChanged, this, [this, bar] { m_atEnd = bar->value() == bar->maximum(); });
    const auto follow = [this, bar] {
        if (m_atEnd)
            bar->setValue(bar->maximum());
    };
    connect(bar, &QScrollBar::rangeChanged, this, follow, Qt::QueuedConnection);
}

} // namespace simulation
