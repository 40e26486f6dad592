#pragma once

#include <QWidget>

class QComboBox;
class QLabel;
class QLayout;
class QLineEdit;
class QTreeView;

namespace simulation {

class ConversationFilter;
class ConversationModel;

/// Shows the queries and commands to the Controller and the lines of the host's log as they arrive. The user
/// can filter and copy them.
class ConversationView : public QWidget
{
    Q_OBJECT

public:
    explicit ConversationView(QWidget *parent = nullptr);

    ConversationModel &model() { return *m_model; }

    /// Moves the keyboard focus to the filter field.
    void focusFilter();

private:
    QLayout *makeHeader();
    void makeTable();
    void makeCopyActions();
    void showCount();
    void followEnd();

    ConversationModel *m_model;
    ConversationFilter *m_filter;
    QComboBox *m_kind;
    QLineEdit *m_words;
    QLabel *m_count;
    QTreeView *m_view;
    bool m_atEnd = true; ///< whether the latest line is visible
};

} // namespace simulation
