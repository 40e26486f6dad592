#include "conversationview.h"

#include "conversationmodel.h"

#include <QFontDatabase>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QScrollBar>
#include <QTreeView>
#include <QVBoxLayout>

ConversationView::ConversationView(QWidget *parent)
    : QWidget(parent)
    , m_model(new ConversationModel(this))
    , m_view(new QTreeView(this))
{
    auto *title = new QLabel(tr("<b>Conversation with the Controller</b>"), this);
    auto *clear = new QPushButton(tr("&Clear"), this);
    connect(clear, &QPushButton::clicked, m_model, &ConversationModel::clear);

    auto *head = new QHBoxLayout;
    head->addWidget(title);
    head->addStretch();
    head->addWidget(clear);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(head);
    layout->addWidget(m_view);

    const QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    m_view->setFont(font);
    m_view->setModel(m_model);
    m_view->setRootIsDecorated(false);
    m_view->setUniformRowHeights(true);
    m_view->setAlternatingRowColors(true);
    m_view->setSelectionMode(QAbstractItemView::ExtendedSelection);
    const QFontMetrics metrics(font);
    const auto widthOf = [&metrics](int characters) {
        return metrics.horizontalAdvance(QString(characters, QLatin1Char('0')));
    };
    m_view->setColumnWidth(ConversationModel::TimeColumn, widthOf(16));
    m_view->setColumnWidth(ConversationModel::KindColumn, widthOf(7));
    m_view->setColumnWidth(ConversationModel::TextColumn, widthOf(52));

    connect(m_model, &ConversationModel::rowsAboutToBeInserted, this, &ConversationView::noteScrollPosition);
    connect(m_model, &ConversationModel::rowsInserted, this, &ConversationView::followEnd,
            Qt::QueuedConnection);
}

/// A user who has scrolled back reads on undisturbed.
void ConversationView::noteScrollPosition()
{
    const QScrollBar *bar = m_view->verticalScrollBar();
    m_atEnd = m_atEnd || bar->value() == bar->maximum();
}

void ConversationView::followEnd()
{
    if (m_atEnd)
        m_view->scrollToBottom();
}
