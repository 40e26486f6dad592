#pragma once

#include <QAbstractTableModel>
#include <QVector>

#include <array>

struct Exchange;
struct LogLine;

/// The latest of what was said between the module, the Controller and the host's log.
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

    /// Entries that are kept; the oldest go.
    static constexpr int limit = 5000;

    explicit ConversationModel(QObject *parent = nullptr);

    void addExchange(const Exchange &exchange);
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
        bool isFailure = false;
        bool isChange = false; ///< a command, which may change something
    };

    void append(Entry entry);

    QVector<Entry> m_entries;
};
