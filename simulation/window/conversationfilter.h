#pragma once

#include <QSortFilterProxyModel>

namespace simulation {

/// Filters the entries of a ConversationModel by kind and words.
class ConversationFilter : public QSortFilterProxyModel
{
    Q_OBJECT

public:
    enum class Kind
    {
        All,
        Queries,
        Commands,
        Failures,
        Log
    };

    explicit ConversationFilter(QObject *parent = nullptr);

    /// Accepts only entries of \a kind. Failures are the entries whose FailureRole is true.
    void setKind(Kind kind);

    /// Accepts only entries in which every word of \a words occurs in the text or in the answer, ignoring
    /// case.
    void setWords(const QString &words);

    /// Returns \a rows, one index of this model per row, as lines of tab-separated columns in the order of
    /// the conversation.
    QString textOf(QModelIndexList rows) const;

    /// Returns all accepted rows in the same format.
    QString allText() const;

protected:
    bool filterAcceptsRow(int row, const QModelIndex &parent) const override;

private:
    QString lineOf(int row) const;

    Kind m_kind = Kind::All;
    QStringList m_words;
};

} // namespace simulation
