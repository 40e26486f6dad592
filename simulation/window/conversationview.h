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

/// Shows the conversation with the Controller and the host's log as they arrive, with a filter and copying.
class ConversationView : public QWidget
{
    Q_OBJECT

public:
    explicit ConversationView(QWidget *parent = nullptr);

    ConversationModel &model() { return *m_model; }

    /// Moves the keyboard focus to the filter field.
    void focusFilter();

private:
    QLayout *createHeader();
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
    bool m_atEnd = true;
};

} // namespace simulation
