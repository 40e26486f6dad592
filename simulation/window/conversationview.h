#pragma once

#include <QWidget>

class ConversationFilter;
class ConversationModel;
class QComboBox;
class QLabel;
class QLayout;
class QLineEdit;
class QTreeView;

/// The conversation with the Controller and the host's log, as they come, to be filtered and copied.
class ConversationView : public QWidget
{
    Q_OBJECT

public:
    explicit ConversationView(QWidget *parent = nullptr);

    ConversationModel &model() { return *m_model; }

    /// Gives the keyboard to the filter field.
    void focusFilter();

private:
    QLayout *makeHead();
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
