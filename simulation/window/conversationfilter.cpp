#include "conversationfilter.h"

#include "conversationmodel.h"

#include <algorithm>

namespace simulation {

namespace {

bool isOfKind(ConversationFilter::Kind kind, const QModelIndex &index)
{
    const auto entryKind = index.data(ConversationModel::KindRole).value<ConversationModel::EntryKind>();
    switch (kind) {
    case ConversationFilter::Kind::Queries:
        return entryKind == ConversationModel::EntryKind::Query;
    case ConversationFilter::Kind::Commands:
        return entryKind == ConversationModel::EntryKind::Command;
    case ConversationFilter::Kind::Log:
        return entryKind == ConversationModel::EntryKind::Log;
    case ConversationFilter::Kind::Failures:
        return index.data(ConversationModel::FailureRole).toBool();
    case ConversationFilter::Kind::All:
        break;
    }
    return true;
}

} // namespace

ConversationFilter::ConversationFilter(QObject *parent)
    : QSortFilterProxyModel(parent)
{
}

void ConversationFilter::setKind(Kind kind)
{
    m_kind = kind;
    invalidateFilter();
}

void ConversationFilter::setWords(const QString &words)
{
    m_words = words.simplified().split(QLatin1Char(' '), Qt::SkipEmptyParts);
    invalidateFilter();
}

bool ConversationFilter::filterAcceptsRow(int row, const QModelIndex &parent) const
{
    const auto cell = [&](int column) { return sourceModel()->index(row, column, parent); };
    if (!isOfKind(m_kind, cell(ConversationModel::TextColumn)))
        return false;
    const QString text = cell(ConversationModel::TextColumn).data().toString() + '\n' +
                         cell(ConversationModel::AnswerColumn).data().toString();
    return std::all_of(m_words.cbegin(), m_words.cend(),
                       [&text](const QString &word) { return text.contains(word, Qt::CaseInsensitive); });
}

QString ConversationFilter::textOf(QModelIndexList rows) const
{
    std::sort(rows.begin(), rows.end(),
              [](const QModelIndex &one, const QModelIndex &other) { return one.row() < other.row(); });
    QString text;
    for (const QModelIndex &index : qAsConst(rows))
        text += lineOf(index.row());
    return text;
}

QString ConversationFilter::allText() const
{
    QString text;
    for (int row = 0; row < rowCount(); ++row)
        text += lineOf(row);
    return text;
}

QString ConversationFilter::lineOf(int row) const
{
    QStringList cells;
    for (int column = 0; column < columnCount(); ++column)
        cells.append(index(row, column).data().toString());
    return cells.join('\t') + '\n';
}

} // namespace simulation
