#pragma once

#include <QStringList>
#include <QWidget>

class QComboBox;
class QLabel;
class QLayout;
class QLineEdit;
class QTreeWidget;
class QTreeWidgetItem;

namespace simulation {

struct Exchange;
struct LogLine;

/// Lists the latest queries and commands to the Controller and the lines of the host's log as they arrive.
/// The user can filter and copy them.
class ConversationView : public QWidget
{
    Q_OBJECT

public:
    /// The maximum number of lines. When it is reached, the next line replaces the oldest tenth.
    static constexpr int Limit = 5000;

    explicit ConversationView(QWidget *parent = nullptr);

    /// Appends \a exchange with the current time.
    void addExchange(const Exchange &exchange);

    /// Appends \a line with the current time.
    void addLogLine(const LogLine &line);

    /// Moves the keyboard focus to the filter field.
    void focusFilter();

private:
    void makeFilter();
    QLayout *makeHeader();
    void makeList();
    void append(int kind, bool isFailure, const QStringList &texts);
    bool passes(const QTreeWidgetItem &item) const;
    void applyFilter();
    void showCount();
    void copyLines(bool onlySelected) const;
    void followEnd();

    QComboBox *m_kind;
    QLineEdit *m_words;
    QLabel *m_count;
    QTreeWidget *m_list;
    int m_shown = 0;     ///< number of lines that pass the filter
    bool m_atEnd = true; ///< whether the latest line is visible
};

} // namespace simulation
