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

    enum class Speaker
    {
        Question,
        Command,
        Log
    };
    Q_ENUM(Speaker)

    enum Role
    {
        SpeakerRole = Qt::UserRole,
        FailureRole ///< whether it was refused or tells of a failure
    };

    /// Entries that are kept; the oldest go.
    static constexpr int Limit = 5000;

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
        Speaker speaker = Speaker::Log;
        bool isFailure = false;
    };

    void append(Entry entry);

    QVector<Entry> m_entries;
};
