#pragma once

#include <QWidget>

class ConversationModel;
class QTreeView;

/// The conversation with the Controller and the host's log, as they come.
class ConversationView : public QWidget
{
    Q_OBJECT

public:
    explicit ConversationView(QWidget *parent = nullptr);

    ConversationModel &model() { return *m_model; }

private:
    void noteScrollPosition();
    void followEnd();

    ConversationModel *m_model;
    QTreeView *m_view;
    bool m_atEnd = true;
};
