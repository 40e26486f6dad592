#pragma once

#include <QAbstractTableModel>
#include <QVector>

#include <array>

namespace simulation {

struct Exchange;
struct LogLine;

/// The latest queries, commands and log lines of the module.
class ConversationModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column
    {
        TimeColumn,
        KindColumn,
        TextColumn,
        AnswerColumn,
        ColumnCount
    };

    enum class EntryKind
    {
        Query,
        Command,
        Log
    };
    Q_ENUM(EntryKind)

    enum Role
    {
        KindRole = Qt::UserRole, ///< an EntryKind
        FailureRole ///< true for failed queries and commands, and for log lines: only failures are logged
    };

    /// The maximum number of entries. When it is reached, the next entry replaces the oldest tenth.
    static constexpr int Limit = 5000;

    explicit ConversationModel(QObject *parent = nullptr);

    /// Appends \a exchange with the current time.
    void addExchange(const Exchange &exchange);

    /// Appends \a line with the current time.
    void addLogLine(const LogLine &line);

    void clear();

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    struct Entry
    {
        std::array<QString, ColumnCount> texts;
        EntryKind kind = EntryKind::Log;
        bool isFailure = false;
    };

    void append(Entry entry);

    QVector<Entry> m_entries;
};

} // namespace simulation
