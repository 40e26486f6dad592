#pragma once

#include <QSortFilterProxyModel>

/// The part of a conversation that the user wants to see.
class ConversationFilter : public QSortFilterProxyModel
{
    Q_OBJECT

public:
    enum class Kind
    {
        All,
        Questions,
        Commands,
        Failures,
        Log
    };

    explicit ConversationFilter(QObject *parent = nullptr);

    /// Lets pass what is of \a kind only.
    void setKind(Kind kind);

    /// Lets pass only what has every word of \a words in its text or answer, in any case.
    void setWords(const QString &words);

    /// The rows of \a rows as lines with the columns separated by tabs, in the order of the conversation.
    QString textOf(QModelIndexList rows) const;

    /// All rows that pass, in the same form.
    QString allText() const;

protected:
    bool filterAcceptsRow(int row, const QModelIndex &parent) const override;

private:
    QString lineOf(int row) const;

    Kind m_kind = Kind::All;
    QStringList m_words;
};
