#pragma once

#include <QLabel>

class QAbstractItemView;

/// Tells in the midst of a view without rows why there are none. Needs the view's model to be set.
class EmptyHint : public QLabel
{
    Q_OBJECT

public:
    EmptyHint(const QString &text, QAbstractItemView *view);

private:
    void follow();

    QAbstractItemView *m_view;
};
