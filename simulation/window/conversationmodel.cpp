#include "conversationmodel.h"

#include "appearance.h"
#include "controllerlink.h"
#include "simulatedcontroller.h"

#include <QFontDatabase>
#include <QGuiApplication>
#include <QPalette>
#include <QTime>

namespace simulation {

namespace {

QString outcome(const Exchange &exchange)
{
    switch (exchange.result) {
    case Accepted:
        return exchange.kind == Exchange::Kind::Query ? QString::fromLatin1(exchange.answer)
                                                      : ConversationModel::tr("accepted");
    case NotUnderstood:
        return ConversationModel::tr("refused: not understood");
    case OutOfRange:
        return ConversationModel::tr("refused: out of range");
    case Locked:
        return ConversationModel::tr("refused: locked");
    default:
        return ConversationModel::tr("failed: %1").arg(exchange.result);
    }
}

} // namespace

ConversationModel::ConversationModel(QObject *parent)
    : QAbstractTableModel(parent)
{
}

void ConversationModel::addExchange(const Exchange &exchange)
{
    const bool isCommand = exchange.kind == Exchange::Kind::Command;
    append({{{QString(), isCommand ? tr("set") : tr("get"), QString::fromLatin1(exchange.text),
              outcome(exchange)}},
            isCommand ? EntryKind::Command : EntryKind::Query,
            exchange.result != Accepted});
}

void ConversationModel::addLogLine(const LogLine &line)
{
    append({{{QString(), tr("log"), QString::fromLatin1(line.message),
              QString::fromLatin1(line.level + ", " + line.component)}},
            EntryKind::Log,
            true});
}

void ConversationModel::clear()
{
    beginResetModel();
    m_entries.clear();
    endResetModel();
}

void ConversationModel::append(Entry entry)
{
    if (m_entries.size() >= Limit) {
        // Remove a tenth at a time: each removal is expensive for a view.
        constexpr int portion = Limit / 10;
        beginRemoveRows({}, 0, portion - 1);
        m_entries.remove(0, portion);
        endRemoveRows();
    }
    entry.texts[TimeColumn] = QTime::currentTime().toString(QLatin1String("HH:mm:ss.zzz"));
    beginInsertRows({}, m_entries.size(), m_entries.size());
    m_entries.append(entry);
    endInsertRows();
}

int ConversationModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_entries.size();
}

int ConversationModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant ConversationModel::data(const QModelIndex &index, int role) const
{
    const Entry &entry = m_entries.at(index.row());
    if (role == Qt::DisplayRole)
        return entry.texts[index.column()];
    if (role == Qt::ForegroundRole && entry.isFailure)
        return failureColor(QGuiApplication::palette());
    if (role == KindRole)
        return QVariant::fromValue(entry.kind);
    if (role == FailureRole)
        return entry.isFailure;
    // Commands are bold, because they may change the Controller's state.
    if (role == Qt::FontRole && entry.kind == EntryKind::Command && index.column() != TimeColumn) {
        QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
        font.setBold(true);
        return font;
    }
    return {};
}

QVariant ConversationModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (role != Qt::DisplayRole || orientation != Qt::Horizontal)
        return QAbstractTableModel::headerData(section, orientation, role);
    static const char *const titles[ColumnCount] = {QT_TR_NOOP("Time"), QT_TR_NOOP("Kind"),
                                                    QT_TR_NOOP("Text"), QT_TR_NOOP("Answer")};
    return tr(titles[section]);
}

} // namespace simulation
