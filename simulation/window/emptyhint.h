#pragma once

#include <QLabel>

class QAbstractItemView;

namespace simulation {

/// A text in the middle of a view, shown only while the view has no rows. The view owns the hint. The view
/// must have its model before the hint is created, and must keep it.
class EmptyHint : public QLabel
{
    Q_OBJECT

public:
    EmptyHint(const QString &text, QAbstractItemView *view);

private:
    void updateVisibility();

    QAbstractItemView *m_view;
};

} // namespace simulation
